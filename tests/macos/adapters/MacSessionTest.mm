#include "Platform/macOS/MacSession.h"

#include "NSNotificationCenter.h"
#include "Recorder.h"

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using Calls = std::vector<std::string>;

NSNotificationCenter* ofTheMachine()
{
    return NSWorkspace.sharedWorkspace.notificationCenter;
}

void tell(NSNotificationName name)
{
    standins::post(ofTheMachine(), name);
}

TEST(MacSessionTest, listensToTheWorkspaceAndNotToTheProgram)
{
    const MacSession session;
    const std::string listens =
        "-[StandInWorkspaceCenter addObserverForName:object:queue:usingBlock:] ";
    EXPECT_EQ(standins::taken(),
              (Calls{listens + "NSWorkspaceWillSleepNotification nil nil",
                     listens + "NSWorkspaceDidWakeNotification nil nil",
                     listens + "NSWorkspaceSessionDidResignActiveNotification nil nil",
                     listens + "NSWorkspaceSessionDidBecomeActiveNotification nil nil"}));
    EXPECT_FALSE(session.isAway().get());
}

TEST(MacSessionTest, isAwayFromSleepToWakingWithinTheNotifications)
{
    const MacSession session;
    std::vector<bool> told;
    const auto watch = session.isAway().observe([&told](bool away) { told.push_back(away); });
    tell(NSWorkspaceWillSleepNotification);
    EXPECT_EQ(told, std::vector{true});
    tell(NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification);
    tell(NSWorkspaceSessionDidBecomeActiveNotification);
    EXPECT_EQ(told, std::vector{true}) << "it still sleeps";
    tell(NSWorkspaceDidWakeNotification);
    EXPECT_EQ(told, (std::vector{true, false}));
}

TEST(MacSessionTest, isAwayWhileAnotherPersonsSessionIsInFront)
{
    const MacSession session;
    tell(NSWorkspaceSessionDidResignActiveNotification);
    EXPECT_TRUE(session.isAway().get());
    tell(NSWorkspaceDidWakeNotification);
    EXPECT_TRUE(session.isAway().get()) << "that person has woken it";
    tell(NSWorkspaceSessionDidBecomeActiveNotification);
    EXPECT_FALSE(session.isAway().get());
}

TEST(MacSessionTest, comesBackOnlyOnceItIsAwakeAndInFront)
{
    const MacSession session;
    tell(NSWorkspaceSessionDidResignActiveNotification);
    tell(NSWorkspaceWillSleepNotification);
    tell(NSWorkspaceSessionDidBecomeActiveNotification);
    EXPECT_TRUE(session.isAway().get());
    tell(NSWorkspaceDidWakeNotification);
    EXPECT_FALSE(session.isAway().get());
}

TEST(MacSessionTest, leavesNothingBehind)
{
    const NSUInteger before = standins::observers(ofTheMachine());
    {
        const MacSession session;
        EXPECT_EQ(standins::observers(ofTheMachine()), before + 4);
        standins::taken();
    }
    const std::string leaves = "-[StandInWorkspaceCenter removeObserver:] ";
    EXPECT_EQ(standins::taken(), (Calls{leaves + "NSWorkspaceSessionDidBecomeActiveNotification",
                                        leaves + "NSWorkspaceSessionDidResignActiveNotification",
                                        leaves + "NSWorkspaceDidWakeNotification",
                                        leaves + "NSWorkspaceWillSleepNotification"}));
    EXPECT_EQ(standins::observers(ofTheMachine()), before);
    tell(NSWorkspaceWillSleepNotification);
}

} // namespace
} // namespace vorlin
