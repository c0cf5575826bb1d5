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

TEST(MacSessionTest, listensToTheWorkspaceAndNotToTheProgramForSleepAndForAnotherPersonsSession)
{
    const MacSession session([] {});
    const std::string listens =
        "-[StandInWorkspaceCenter addObserverForName:object:queue:usingBlock:] ";
    EXPECT_EQ(standins::taken(),
              (Calls{listens + "NSWorkspaceWillSleepNotification nil nil",
                     listens + "NSWorkspaceSessionDidResignActiveNotification nil nil"}));
}

TEST(MacSessionTest, tellsOfSleepAndOfAnotherPersonsSessionWithinTheNotification)
{
    int aways = 0;
    const MacSession session([&aways] { ++aways; });
    standins::post(ofTheMachine(), NSWorkspaceWillSleepNotification);
    EXPECT_EQ(aways, 1);
    standins::post(ofTheMachine(), NSWorkspaceSessionDidResignActiveNotification);
    EXPECT_EQ(aways, 2);
    standins::post(ofTheMachine(), NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification);
    EXPECT_EQ(aways, 2);
}

TEST(MacSessionTest, nobodyIsToldOnceItIsGone)
{
    const NSUInteger before = standins::observers(ofTheMachine());
    int aways = 0;
    {
        const MacSession session([&aways] { ++aways; });
        EXPECT_EQ(standins::observers(ofTheMachine()), before + 2);
        standins::taken();
    }
    const std::string leaves = "-[StandInWorkspaceCenter removeObserver:] ";
    EXPECT_EQ(standins::taken(), (Calls{leaves + "NSWorkspaceSessionDidResignActiveNotification",
                                        leaves + "NSWorkspaceWillSleepNotification"}));
    EXPECT_EQ(standins::observers(ofTheMachine()), before);
    standins::post(ofTheMachine(), NSWorkspaceWillSleepNotification);
    EXPECT_EQ(aways, 0);
}

} // namespace
} // namespace vorlin
