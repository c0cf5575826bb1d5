#include "HUDController.h"
#include "fakes/FakeAudioInput.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeOverlay.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;

class HUDControllerTest : public testing::Test {
protected:
    SimulatedLoop loop;
    FakeAudioInput microphone;
    FakeDefaults defaults;
    FakeLocale locale;
    Preferences preferences{defaults, locale};
    Dictation dictation{loop, microphone};
    FakeScreens screens;
    FakeOverlayPanel panel{loop};
    std::unique_ptr<HUDController> hud =
        std::make_unique<HUDController>(loop, screens, panel, preferences);

    /// Most tests begin with a controller that follows the dictation.
    void SetUp() override { hud->attach(dictation); }

    void showFully()
    {
        hud->show();
        loop.advance(180ms);
        ASSERT_EQ(panel.alpha(), 1);
    }
    /// The frame at the bottom centre of a visible frame, with the default settings.
    static Rect bottomOf(const Rect& visible)
    {
        return panelFrame(visible, {430, 76}, HUDPosition::bottomCenter, 56);
    }
};

TEST_F(HUDControllerTest, showFadesInOver180Milliseconds)
{
    EXPECT_FALSE(panel.isVisible());
    hud->show();
    EXPECT_TRUE(panel.isVisible());
    EXPECT_EQ(panel.alpha(), 0);
    loop.advance(90ms);
    EXPECT_DOUBLE_EQ(panel.alpha(), 0.5);
    loop.advance(90ms);
    EXPECT_EQ(panel.alpha(), 1);
}

TEST_F(HUDControllerTest, hideFadesOutOver220MillisecondsAndTakesThePanelOff)
{
    showFully();
    hud->hide(0s);
    EXPECT_EQ(panel.alpha(), 1) << "never within the call";
    loop.advance(110ms);
    EXPECT_DOUBLE_EQ(panel.alpha(), 0.5);
    EXPECT_TRUE(panel.isVisible());
    loop.advance(110ms);
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(HUDControllerTest, showBeforeAttachOnlyCountsTheToken)
{
    hud = std::make_unique<HUDController>(loop, screens, panel, preferences);
    EXPECT_EQ(hud->hideToken(), 0);
    EXPECT_EQ(hud->model(), nullptr);
    hud->show();
    EXPECT_EQ(hud->hideToken(), 1);
    hud->hide(0s);
    EXPECT_EQ(hud->hideToken(), 2);
    screens.change(screens.screens);
    defaults.set("hud.scale", 1.3);
    loop.advance(10s);
    EXPECT_FALSE(panel.isVisible());
    EXPECT_EQ(panel.placed, 0);
    hud->attach(dictation);
    loop.advance(10s);
    EXPECT_FALSE(panel.isVisible()) << "what was asked before is forgotten";
    EXPECT_NE(hud->model(), nullptr);
}

TEST_F(HUDControllerTest, everyShowAndHideCountsTheToken)
{
    hud->show();
    hud->hide(1s);
    hud->hide(1s);
    hud->show();
    EXPECT_EQ(hud->hideToken(), 4);
    loop.advance(10s);
    EXPECT_EQ(hud->hideToken(), 4);
}

TEST_F(HUDControllerTest, hideThenShowWithinTheDelayKeepsIt)
{
    showFully();
    hud->hide(700ms);
    loop.advance(600ms);
    hud->show();
    for (int i = 0; i < 100; ++i) {
        loop.advance(10ms);
        EXPECT_TRUE(panel.isVisible());
        EXPECT_EQ(panel.alpha(), 1);
    }
}

TEST_F(HUDControllerTest, ofTwoHidesOnlyTheLaterActs)
{
    showFully();
    hud->hide(700ms);
    hud->hide(1600ms);
    loop.advance(1600ms);
    EXPECT_EQ(panel.alpha(), 1);
    loop.advance(220ms);
    EXPECT_FALSE(panel.isVisible());
    hud->show();
    loop.advance(1s);
    hud->hide(1600ms);
    hud->hide(0s);
    loop.advance(220ms);
    EXPECT_FALSE(panel.isVisible()) << "the later one, not the longer one";
}

TEST_F(HUDControllerTest, aHideDuringTheFadeOutTakesItsPlace)
{
    showFully();
    hud->hide(0s);
    loop.advance(110ms);
    hud->hide(0s);
    loop.advance(1s);
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(HUDControllerTest, showDuringTheFadeOutReturnsFromWhereItIs)
{
    for (const bool tellsReplaced : {true, false}) {
        panel.tellsReplaced = tellsReplaced;
        showFully();
        hud->hide(0s);
        loop.advance(110ms);
        panel.jumps.clear();
        hud->show();
        EXPECT_DOUBLE_EQ(panel.alpha(), 0.5);
        loop.advance(90ms);
        EXPECT_DOUBLE_EQ(panel.alpha(), 0.75);
        loop.advance(10s);
        EXPECT_TRUE(panel.isVisible());
        EXPECT_EQ(panel.alpha(), 1);
        EXPECT_TRUE(panel.jumps.empty()) << "no flicker";
    }
}

TEST_F(HUDControllerTest, showWhileVisibleMovesItWithoutAFade)
{
    showFully();
    panel.jumps.clear();
    screens.pointerAt = Point{2000, 500};
    hud->show();
    EXPECT_EQ(panel.frame, bottomOf(screens.screens[1].visibleFrame));
    EXPECT_EQ(panel.alpha(), 1);
    EXPECT_TRUE(panel.jumps.empty());
}

TEST_F(HUDControllerTest, showOfAPanelThatIsVisibleButClearBeginsAtNothing)
{
    panel.order(OverlayPanel::Order::front);
    panel.animateAlpha(0, 0s, {});
    panel.jumps.clear();
    hud->show();
    EXPECT_EQ(panel.jumps, std::vector<double>{0});
    loop.advance(180ms);
    EXPECT_EQ(panel.alpha(), 1);
}

TEST_F(HUDControllerTest, aPanelLeftOpaqueWhenOrderedOutBeginsAtNothing)
{
    panel.animateAlpha(1, 0s, {});
    hud->show();
    EXPECT_EQ(panel.alpha(), 0);
}

TEST_F(HUDControllerTest, hideWithoutShowIsHarmless)
{
    hud->hide(0s);
    loop.advance(10s);
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(HUDControllerTest, withTheCursorDisplayItShowsOnThePointersScreen)
{
    hud->show();
    EXPECT_EQ(panel.frame, bottomOf(screens.screens[0].visibleFrame));
    screens.pointerAt = Point{2000, 500};
    hud->show();
    EXPECT_EQ(panel.frame, bottomOf(screens.screens[1].visibleFrame));
}

TEST_F(HUDControllerTest, withTheMainDisplayItShowsOnTheMainScreen)
{
    defaults.set("hud.display", "main");
    hud->show();
    EXPECT_EQ(panel.frame, bottomOf(screens.screens[1].visibleFrame));
}

TEST_F(HUDControllerTest, withThePointerNowhereItShowsOnTheMainScreen)
{
    screens.pointerAt = Point{-5000, 0};
    hud->show();
    EXPECT_EQ(panel.frame, bottomOf(screens.screens[1].visibleFrame));
    screens.pointerAt.reset();
    EXPECT_EQ(hud->targetScreen()->id, "right");
}

TEST_F(HUDControllerTest, withoutAnyScreenItShowsOnceOneComes)
{
    const auto all = screens.screens;
    screens.change({});
    hud->show();
    EXPECT_FALSE(hud->targetScreen());
    EXPECT_FALSE(panel.isVisible());
    loop.advance(1s);
    screens.change(all);
    EXPECT_TRUE(panel.isVisible());
    EXPECT_EQ(panel.alpha(), 0);
    EXPECT_EQ(panel.frame, bottomOf(all[0].visibleFrame));
    loop.advance(180ms);
    EXPECT_EQ(panel.alpha(), 1);
}

TEST_F(HUDControllerTest, aHideForgetsAShowThatFoundNoScreen)
{
    const auto all = screens.screens;
    screens.change({});
    hud->show();
    hud->hide(700ms);
    loop.advance(1s);
    screens.change(all);
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(HUDControllerTest, aScreenThatComesAfterEveryEndShowsNothing)
{
    showFully();
    hud->hide(0s);
    loop.advance(1s);
    screens.change({});
    screens.change(FakeScreens().screens);
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(HUDControllerTest, aRescaledScreenPlacesThePanelAnewWithoutAFade)
{
    showFully();
    panel.jumps.clear();
    const int placed = panel.placed;
    screens.change(screens.screens); // the same points, other pixels
    EXPECT_EQ(panel.placed, placed + 1);
    auto rescaled = screens.screens;
    rescaled[0].frame = rescaled[0].visibleFrame = {0, 0, 640, 400};
    screens.change(rescaled);
    EXPECT_EQ(panel.frame, bottomOf({0, 0, 640, 400}));
    EXPECT_EQ(panel.alpha(), 1);
    EXPECT_TRUE(panel.jumps.empty());
}

TEST_F(HUDControllerTest, anAddedScreenDoesNotMoveItAfterThePointer)
{
    showFully();
    screens.pointerAt = Point{2000, 500};
    auto more = screens.screens;
    more.push_back({"third", {-800, 0, 800, 600}, {-800, 0, 800, 600}, false});
    screens.change(more);
    EXPECT_EQ(panel.frame, bottomOf(screens.screens[0].visibleFrame));
}

TEST_F(HUDControllerTest, aRemovedScreenSendsItToTheOneThatIsLeft)
{
    showFully();
    screens.change({screens.screens[1]});
    EXPECT_EQ(panel.frame, bottomOf(screens.screens[0].visibleFrame));
    EXPECT_EQ(panel.alpha(), 1);
    screens.change({});
    EXPECT_TRUE(panel.isVisible());
    screens.change({{"new", {0, 0, 800, 600}, {0, 0, 800, 600}, true}});
    EXPECT_EQ(panel.frame, bottomOf({0, 0, 800, 600}));
}

TEST_F(HUDControllerTest, aHiddenPanelIsNotMoved)
{
    screens.change(screens.screens);
    defaults.set("hud.scale", 1.3);
    EXPECT_EQ(panel.placed, 0);
}

TEST_F(HUDControllerTest, aScreenFullOfPanelsIsUsedWhole)
{
    auto covered = screens.screens;
    covered[0].visibleFrame.height = 0;
    screens.change(covered);
    hud->show();
    EXPECT_EQ(panel.frame, bottomOf(covered[0].frame));
}

TEST_F(HUDControllerTest, aChangedSettingPlacesAVisiblePanelAnewWithoutAFade)
{
    showFully();
    panel.jumps.clear();
    defaults.set("hud.scale", 1.3);
    defaults.set("hud.textMode", "full");
    defaults.set("hud.margin", 200.0);
    defaults.set("hud.position", "topLeft");
    EXPECT_EQ(panel.frame, (Rect{200, 210, 676, 390}));
    EXPECT_EQ(panel.alpha(), 1);
    EXPECT_TRUE(panel.jumps.empty());
}

TEST_F(HUDControllerTest, damagedSettingsShowItWhereItCanBeSeen)
{
    defaults.set("hud.scale", -3.0);
    defaults.set("hud.margin", 1e308);
    hud->show();
    EXPECT_EQ(panel.frame, (Rect{425, 400, 430, 76}));
}

TEST_F(HUDControllerTest, showReadsWhatIsStoredNow)
{
    defaults.values["hud.position"] = "topRight"; // nobody was told
    hud->show();
    EXPECT_EQ(panel.frame, (Rect{794, 668, 430, 76}));
    EXPECT_EQ(hud->model()->view.get().vertical, VerticalAlignment::top);
}

TEST_F(HUDControllerTest, itsEndTakesThePanelOffAndDropsWhatWaits)
{
    showFully();
    hud->hide(700ms);
    hud.reset();
    EXPECT_FALSE(panel.isVisible());
    panel.order(OverlayPanel::Order::front);
    screens.change({});
    defaults.set("hud.scale", 1.3);
    loop.advance(10s);
    EXPECT_TRUE(panel.isVisible());
}

TEST_F(HUDControllerTest, itsEndDuringTheFadeOutIsHarmless)
{
    showFully();
    hud->hide(0s);
    loop.advance(110ms);
    hud.reset();
    loop.advance(10s);
    EXPECT_FALSE(panel.isVisible());
}

} // namespace
} // namespace vorlin
