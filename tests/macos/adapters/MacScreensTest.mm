#include "Platform/macOS/MacScreens.h"

#include "NSEvent.h"
#include "NSNotificationCenter.h"
#include "NSWindow.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

TEST(MacScreensTest, tellsTheScreensInTheSystemsOrderWithBothFramesAndMarksTheMainOne)
{
    standins::setScreens({{7, {{0, 0}, {1440, 900}}, {{0, 70}, {1440, 805}}},
                          {9, {{1440, -100}, {2560, 1440}}, {{1440, -100}, {2560, 1415}}, true}});
    const std::vector<Screen> expected = {
        {"7", {0, 0, 1440, 900}, {0, 70, 1440, 805}, false},
        {"9", {1440, -100, 2560, 1440}, {1440, -100, 2560, 1415}, true},
    };
    EXPECT_EQ(MacScreens().all(), expected);
}

TEST(MacScreensTest, withoutAMainScreenNoneIsMarkedAndWithoutScreensThereAreNone)
{
    standins::setScreens({{7, {{0, 0}, {1440, 900}}, {{0, 0}, {1440, 900}}}});
    ASSERT_EQ(MacScreens().all().size(), 1U);
    EXPECT_FALSE(MacScreens().all().front().isMain);
    standins::setScreens({});
    EXPECT_TRUE(MacScreens().all().empty());
}

TEST(MacScreensTest, thePointerIsWhereTheSystemSaysInTheScreensOwnPoints)
{
    standins::pointer() = {12.5, 880};
    EXPECT_EQ(MacScreens().pointer(), (Point{12.5, 880}));
}

TEST(MacScreensTest, tellsThatScreensChangedUntilNobodyListens)
{
    NSNotificationCenter* const center = NSNotificationCenter.defaultCenter;
    const NSUInteger before = standins::observers(center);
    int changes = 0;
    MacScreens screens;
    Subscription subscription = screens.observe([&changes] { ++changes; });
    EXPECT_EQ(standins::observers(center), before + 1);
    standins::post(center, NSApplicationDidChangeScreenParametersNotification);
    EXPECT_EQ(changes, 1);
    standins::post(center, NSWindowDidResignKeyNotification);
    EXPECT_EQ(changes, 1);
    subscription.reset();
    EXPECT_EQ(standins::observers(center), before);
    standins::post(center, NSApplicationDidChangeScreenParametersNotification);
    EXPECT_EQ(changes, 1);
}

} // namespace
} // namespace vorlin
