#include "Platform/Linux/Overlay/X11OverlayPanel.h"

#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;

/// A panel whose content is one colour, and which counts its pictures.
class X11OverlayPanelTest : public testing::Test {
protected:
    X11Screens screens{processEnvironment()};
    X11OverlayPanel panel{screens};
    QImage content;
    std::vector<QSize> pictures;

    void SetUp() override
    {
        ASSERT_FALSE(screens.all().empty());
        panel.setContent([this](const QSize& size, double /*scale*/) -> const QImage& {
            pictures.push_back(size);
            content = QImage(size, QImage::Format_ARGB32_Premultiplied);
            content.fill(Qt::white);
            return content;
        });
        panel.setFrame({100, -300, 200, 80});
    }

    void settle()
    {
        QElapsedTimer still;
        still.start();
        auto seen = pictures.size();
        ASSERT_TRUE(runUntil([&] {
            if (std::exchange(seen, pictures.size()) != pictures.size()) {
                still.restart();
            }
            return still.elapsed() > 200;
        }));
    }
};

TEST_F(X11OverlayPanelTest, asksForNoPictureWhileItIsOrderedOut)
{
    panel.contentChanged();
    panel.animateAlpha(1, 50ms, {});
    settle();
    EXPECT_TRUE(pictures.empty());
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(X11OverlayPanelTest, showsAPictureOfTheFramesSizeInAnotherTurn)
{
    panel.animateAlpha(1, 0ms, {});
    panel.order(OverlayPanel::Order::front);
    EXPECT_TRUE(pictures.empty());
    ASSERT_TRUE(runUntil([this] { return !pictures.empty(); }));
    EXPECT_EQ(pictures.front(), QSize(200, 80));
}

TEST_F(X11OverlayPanelTest, manyChangesMakeLessThanSixtyFramesASecond)
{
    panel.order(OverlayPanel::Order::front);
    settle();
    pictures.clear();
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(runUntil([&] {
        panel.contentChanged();
        return clock.elapsed() > 500;
    }));
    EXPECT_LE(static_cast<double>(pictures.size()),
              static_cast<double>(clock.elapsed()) * 60 / 1000 + 1);
    EXPECT_GT(pictures.size(), 3U);
}

TEST_F(X11OverlayPanelTest, aFadeEndsWithItsWorkAndReachesItsAlpha)
{
    panel.order(OverlayPanel::Order::front);
    bool done = false;
    panel.animateAlpha(1, 180ms, [&done] { done = true; });
    EXPECT_FALSE(done);
    ASSERT_TRUE(runUntil([&] { return panel.alpha() > 0.1; }));
    ASSERT_TRUE(runUntil([&] { return done; }));
    EXPECT_EQ(panel.alpha(), 1);
}

TEST_F(X11OverlayPanelTest, aFadeThatIsReplacedStartsFromWhereItIs)
{
    panel.order(OverlayPanel::Order::front);
    panel.animateAlpha(1, 0ms, {});
    panel.animateAlpha(0, 220ms, {});
    ASSERT_TRUE(runUntil([&] { return panel.alpha() < 0.7; }));
    const double before = panel.alpha();
    bool done = false;
    panel.animateAlpha(1, 180ms, [&done] { done = true; });
    EXPECT_NEAR(panel.alpha(), before, 0.35);
    EXPECT_GT(panel.alpha(), 0);
    double last = 0;
    ASSERT_TRUE(runUntil([&] {
        EXPECT_GE(panel.alpha(), last);
        last = panel.alpha();
        return done;
    }));
}

TEST_F(X11OverlayPanelTest, aFadeOfNoTimeIsDoneWithinTheCallAndItsWorkIsNot)
{
    bool done = false;
    panel.animateAlpha(1, 0ms, [&done] { done = true; });
    EXPECT_EQ(panel.alpha(), 1);
    EXPECT_FALSE(done);
    EXPECT_TRUE(runUntil([&] { return done; }));
}

TEST_F(X11OverlayPanelTest, whoWantsNoMotionGetsNoFade)
{
    panel.setReducedMotion(true);
    panel.order(OverlayPanel::Order::front);
    bool done = false;
    panel.animateAlpha(1, 180ms, [&done] { done = true; });
    EXPECT_EQ(panel.alpha(), 1);
    EXPECT_TRUE(runUntil([&] { return done; }));
}

TEST_F(X11OverlayPanelTest, theFrameFollowsWithoutAnOrderOfItsOwn)
{
    panel.order(OverlayPanel::Order::front);
    settle();
    panel.setFrame({10, -90, 300, 40});
    ASSERT_TRUE(runUntil([this] { return pictures.back() == QSize(300, 40); }));
}

TEST(X11OverlayWithoutADisplay, takesEveryCallAndEndsItsFadesAllTheSame)
{
    const std::string display = std::getenv("DISPLAY");
    qputenv("DISPLAY", ":4711");
    const X11Screens screens(processEnvironment());
    X11OverlayPanel panel(screens);
    qputenv("DISPLAY", display.c_str());
    EXPECT_TRUE(screens.all().empty());
    EXPECT_EQ(screens.pointer(), std::nullopt);
    const QImage white(100, 50, QImage::Format_ARGB32_Premultiplied);
    panel.setContent([&](const QSize&, double) -> const QImage& { return white; });
    panel.setFrame({0, -50, 100, 50});
    panel.order(OverlayPanel::Order::front);
    bool done = false;
    panel.animateAlpha(1, 50ms, [&done] { done = true; });
    EXPECT_TRUE(runUntil([&] { return done; }));
    panel.order(OverlayPanel::Order::out);
}

} // namespace
} // namespace vorlin
