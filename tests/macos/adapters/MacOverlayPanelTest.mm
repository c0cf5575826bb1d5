#include "Platform/macOS/MacOverlayPanel.h"

#include "NSNotificationCenter.h"
#include "NSWindow.h"
#include "Recorder.h"
#include "Runtime.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using standins::taken;
using Calls = std::vector<std::string>;

/// Two pixels for each point of the panel would be many: what is drawn is a picture of its own.
class MacOverlayPanelTest : public testing::Test {
protected:
    MacOverlayPanelTest()
    {
        standins::isNewSystem() = true;
        standins::windowScale() = 2;
    }
    ~MacOverlayPanelTest() override
    {
        standins::endAnimations();
        standins::isNewSystem() = true;
    }

    OverlayPicture draw(double width, double height, double scale)
    {
        ++draws;
        size = {0, 0, width, height};
        drawnScale = scale;
        return {bytes.data(), 2, 1, 12, {20, 12, 390, 52}, 27};
    }

    void setContent()
    {
        panel.setContent([this](double width, double height, double scale) {
            return draw(width, height, scale);
        });
    }

    // Two pixels and what fills the row.
    const std::vector<std::uint8_t> bytes{1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0};
    SimulatedLoop loop;
    MacOverlayPanel panel{loop};
    const Calls made = taken();
    int draws = 0;
    Rect size;
    double drawnScale = 0;
};

const Calls shownInLayer = {
    "-[NSView setFrame:] {0 0 430 76}",
    "CGImageCreate 2x1 8 of 32 bits, 12 a row, sRGB 8194 0",
    "-[CALayer setContents:] StandInPicture",
    "-[CALayer setContentsScale:] 2",
    "-[NSGlassEffectView setFrame:] {20 12 390 52}",
    "-[NSGlassEffectView setCornerRadius:] 27",
};

Calls joined(Calls first, const Calls& then)
{
    first.insert(first.end(), then.begin(), then.end());
    return first;
}

TEST_F(MacOverlayPanelTest, thePanelIsMadeDeafAndNeverActiveOverAllSpacesWithGlassBelowThePicture)
{
    EXPECT_EQ(made,
              (Calls{
                  "-[NSView setWantsLayer:] YES",
                  "-[NSView setLayerContentsRedrawPolicy:] 0",
                  "-[NSView setWantsLayer:] YES",
                  "-[NSView setLayerContentsRedrawPolicy:] 0",
                  "-[NSPanel initWithContentRect:styleMask:backing:defer:] {0 0 0 0} 128 2 YES",
                  "-[NSPanel setContentView:] NSView",
                  "-[NSPanel setOpaque:] NO",
                  "+[NSColor clearColor]",
                  "-[NSPanel setBackgroundColor:] NSColor",
                  "-[NSPanel setHasShadow:] NO",
                  "-[NSPanel setHidesOnDeactivate:] NO",
                  "-[NSPanel setLevel:] 25",
                  "-[NSPanel setIgnoresMouseEvents:] YES",
                  "-[NSPanel setCollectionBehavior:] 273",
                  "-[NSView addSubview:] NSGlassEffectView",
                  "-[NSView addSubview:] NSView",
                  "-[NSNotificationCenter addObserverForName:object:queue:usingBlock:] "
                  "NSWindowDidChangeBackingPropertiesNotification NSPanel nil",
              }));
    EXPECT_FALSE(panel.isVisible());
}

TEST(MacOverlayPanelOnAnOlderSystemTest, aTranslucentMaterialWithRoundCornersStandsForTheGlass)
{
    standins::isNewSystem() = false;
    SimulatedLoop loop;
    MacOverlayPanel panel(loop);
    const Calls made = taken();
    const Calls material(made.begin() + 2, made.begin() + 8);
    EXPECT_EQ(material, (Calls{
                            "-[NSVisualEffectView setMaterial:] 13",
                            "-[NSVisualEffectView setBlendingMode:] 0",
                            "-[NSVisualEffectView setState:] 1",
                            "-[NSVisualEffectView setWantsLayer:] YES",
                            "-[CALayer setMasksToBounds:] YES",
                            "-[CALayer setCornerCurve:] continuous",
                        }));
    const std::uint8_t pixel[4] = {};
    panel.setContent([&pixel](double, double, double) {
        return OverlayPicture{pixel, 1, 1, 4, {20, 12, 390, 52}, 27};
    });
    panel.setFrame({0, 0, 430, 76});
    const Calls calls = taken();
    ASSERT_GE(calls.size(), 2U);
    EXPECT_EQ(calls[calls.size() - 2], "-[NSVisualEffectView setFrame:] {20 12 390 52}");
    EXPECT_EQ(calls.back(), "-[CALayer setCornerRadius:] 27");
    standins::isNewSystem() = true;
}

TEST_F(MacOverlayPanelTest, aFrameIsSetWithRedisplayAndThenThePictureOfThatSizeIsShown)
{
    setContent();
    EXPECT_EQ(draws, 0);
    panel.setFrame({505, 60, 430, 76});
    EXPECT_EQ(taken(), joined({"-[NSPanel setFrame:display:] {505 60 430 76} YES",
                               "-[NSView setFrame:] {0 0 430 76}"},
                              shownInLayer));
    EXPECT_EQ(size, (Rect{0, 0, 430, 76}));
    EXPECT_EQ(drawnScale, 2);
}

TEST_F(MacOverlayPanelTest, aPanelWithoutContentOrWithoutSizeDrawsNothing)
{
    panel.setFrame({505, 60, 430, 76});
    panel.order(OverlayPanel::Order::front);
    setContent();
    panel.setFrame({505, 60, 0, 76});
    panel.setFrame({505, 60, 430, 0});
    EXPECT_EQ(draws, 0);
}

TEST_F(MacOverlayPanelTest, orderingFrontShowsThePictureAndThenThePanelWithoutMakingItKey)
{
    setContent();
    panel.setFrame({505, 60, 430, 76});
    taken();
    panel.order(OverlayPanel::Order::front);
    EXPECT_EQ(taken(), joined(shownInLayer, {"-[NSPanel orderFrontRegardless]"}));
    EXPECT_TRUE(panel.isVisible());
    panel.order(OverlayPanel::Order::out);
    EXPECT_EQ(taken(), (Calls{"-[NSPanel orderOut:] nil"}));
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(MacOverlayPanelTest, onAScreenWithOtherPixelsThePictureIsDrawnAnew)
{
    setContent();
    panel.setFrame({505, 60, 430, 76});
    panel.order(OverlayPanel::Order::front);
    standins::windowScale() = 1;
    const int before = draws;
    NSWindow* own = standins::lastPanel();
    NSWindow* another = [[NSPanel alloc] initWithContentRect:NSZeroRect
                                                   styleMask:NSWindowStyleMaskBorderless
                                                     backing:NSBackingStoreBuffered
                                                       defer:NO];
    standins::post(NSNotificationCenter.defaultCenter,
                   NSWindowDidChangeBackingPropertiesNotification, another);
    EXPECT_EQ(draws, before);
    standins::post(NSNotificationCenter.defaultCenter,
                   NSWindowDidChangeBackingPropertiesNotification, own);
    EXPECT_EQ(draws, before + 1);
    EXPECT_EQ(drawnScale, 1);
}

TEST_F(MacOverlayPanelTest, whatChangedIsDrawnOnceAFrameAndOnlyWhileThePanelIsVisible)
{
    setContent();
    panel.setFrame({505, 60, 430, 76});
    panel.contentChanged();
    EXPECT_EQ(loop.pendingTimers(), 0U);
    panel.order(OverlayPanel::Order::front);
    const int before = draws;
    panel.contentChanged();
    panel.contentChanged();
    loop.advance(15ms);
    EXPECT_EQ(draws, before);
    loop.advance(1ms);
    EXPECT_EQ(draws, before + 1);
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(MacOverlayPanelTest, contentThatChangesAllTheTimeIsDrawnEveryFrame)
{
    setContent();
    panel.setFrame({505, 60, 430, 76});
    panel.order(OverlayPanel::Order::front);
    const int before = draws;
    for (int change = 0; change < 8; ++change) {
        panel.contentChanged();
        loop.advance(8ms);
    }
    EXPECT_EQ(draws, before + 4);
}

TEST_F(MacOverlayPanelTest, anAlphaSetAtOnceIsThereWithinTheCallAndItsEndIsToldFromTheLoop)
{
    int ends = 0;
    panel.animateAlpha(0.25, Duration::zero(), [&ends] { ++ends; });
    EXPECT_EQ(taken(), (Calls{"-[NSPanel setAlphaValue:] 0.25"}));
    EXPECT_EQ(panel.alpha(), 0.25);
    EXPECT_EQ(ends, 0);
    loop.runReady();
    EXPECT_EQ(ends, 1);
    panel.animateAlpha(0, Duration::zero(), {});
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(MacOverlayPanelTest, aFadeSetsItsDurationAndThenTheAlphaThroughTheAnimator)
{
    panel.animateAlpha(0.5, 180ms, {});
    EXPECT_EQ(taken(), (Calls{"+[NSAnimationContext runAnimationGroup:]",
                              "-[NSAnimationContext setDuration:] 0.18",
                              "-[StandInAnimator setAlphaValue:] 0.5"}));
    EXPECT_EQ(panel.alpha(), 1);
    standins::endAnimations();
    EXPECT_EQ(panel.alpha(), 0.5);
}

TEST_F(MacOverlayPanelTest, aFadeThatSomebodyWaitsForTellsOfItsEndOnceAndNotWithinTheCall)
{
    int ends = 0;
    panel.animateAlpha(0, 220ms, [&ends] { ++ends; });
    EXPECT_EQ(taken(), (Calls{"+[NSAnimationContext runAnimationGroup:completionHandler:]",
                              "-[NSAnimationContext setDuration:] 0.22",
                              "-[StandInAnimator setAlphaValue:] 0"}));
    EXPECT_EQ(ends, 0);
    standins::endAnimations();
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(panel.alpha(), 0);
}

TEST_F(MacOverlayPanelTest, theLayerShowsACopyOfThePixelsThatIsOverWithTheCall)
{
    setContent();
    panel.setFrame({505, 60, 430, 76});
    NSView* const content = standins::lastPanel().contentView;
    EXPECT_EQ(standins::pixelsOf(standins::subviews(content)[1].layer),
              std::string(bytes.begin(), bytes.end()));
}

TEST(MacOverlayPanelEndTest, aPanelThatGoesIsOrderedOutAndLeavesNothing)
{
    SimulatedLoop loop;
    const std::uint8_t pixel[4] = {};
    (void)NSColor.clearColor; // stays for good
    (void)NSNotificationCenter.defaultCenter;
    const NSUInteger observers = standins::observers(NSNotificationCenter.defaultCenter);
    const long before = standins::alive();
    @autoreleasepool {
        MacOverlayPanel panel(loop);
        panel.setContent([&pixel](double, double, double) {
            return OverlayPicture{pixel, 1, 1, 4, {0, 0, 1, 1}, 0};
        });
        panel.setFrame({0, 0, 430, 76});
        panel.order(OverlayPanel::Order::front);
        panel.contentChanged();
        taken();
    }
    EXPECT_EQ(taken(), (Calls{"-[NSPanel orderOut:] nil",
                              "-[NSNotificationCenter removeObserver:] "
                              "NSWindowDidChangeBackingPropertiesNotification"}));
    EXPECT_EQ(standins::alive(), before);
    EXPECT_EQ(standins::observers(NSNotificationCenter.defaultCenter), observers);
    loop.advance(1s);
}

} // namespace
} // namespace vorlin
