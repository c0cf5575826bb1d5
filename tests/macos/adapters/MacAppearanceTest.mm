#include "Platform/macOS/MacAppearance.h"

#include "NSApplication.h"
#include "NSNotificationCenter.h"
#include "NSWorkspace.h"
#include "Recorder.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;

NSNotificationCenter* ofTheMachine()
{
    return NSWorkspace.sharedWorkspace.notificationCenter;
}

TEST(MacAppearanceTest, isDarkWhereTheNearestOfTheTwoPlainLooksIsTheDarkOne)
{
    const std::pair<NSString*, bool> looks[] = {
        {@"NSAppearanceNameAqua", false},
        {@"NSAppearanceNameDarkAqua", true},
        {@"NSAppearanceNameAccessibilityHighContrastAqua", false},
        {@"NSAppearanceNameAccessibilityHighContrastDarkAqua", true},
    };
    for (const auto& [look, isDark] : looks) {
        standins::setAppearance(look);
        EXPECT_EQ(MacAppearance().isDark(), isDark) << look.UTF8String;
    }
    EXPECT_EQ(taken(), Calls(4, "-[NSAppearance bestMatchFromAppearancesWithNames:] "
                                "(NSAppearanceNameAqua, NSAppearanceNameDarkAqua)"));
}

TEST(MacAppearanceTest, motionIsReducedWhereThePersonSaysSo)
{
    standins::workspace().reducesMotion = true;
    EXPECT_TRUE(MacAppearance().hasReducedMotion());
    standins::workspace().reducesMotion = false;
    EXPECT_FALSE(MacAppearance().hasReducedMotion());
}

TEST(MacAppearanceTest, tellsOfAnotherLookAndOfOtherOptionsForAsLongAsSomebodyListens)
{
    const NSUInteger before = standins::observers(ofTheMachine());
    int changes = 0;
    MacAppearance appearance;
    auto subscription = appearance.observe([&changes] { ++changes; });
    EXPECT_EQ(taken(),
              (Calls{"-[StandInWorkspaceCenter addObserverForName:object:queue:usingBlock:] "
                     "NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification nil nil",
                     "-[NSApplication addObserver:forKeyPath:options:context:] "
                     "VorlinAppearanceObserver effectiveAppearance 1"}));
    standins::setAppearance(NSAppearanceNameDarkAqua);
    EXPECT_EQ(changes, 1);
    standins::post(ofTheMachine(), NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification);
    EXPECT_EQ(changes, 2);

    subscription.reset();
    EXPECT_EQ(taken(), (Calls{"-[NSApplication removeObserver:forKeyPath:] "
                              "VorlinAppearanceObserver effectiveAppearance",
                              "-[StandInWorkspaceCenter removeObserver:] "
                              "NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification"}));
    EXPECT_EQ(standins::observers(ofTheMachine()), before);
    EXPECT_EQ(standins::appearanceObservers(), 0U);
    standins::setAppearance(NSAppearanceNameAqua);
    EXPECT_EQ(changes, 2);
}

} // namespace
} // namespace vorlin
