#include "Platform/macOS/MacApplication.h"

#include "NSApplication.h"
#include "NSNotificationCenter.h"
#include "Recorder.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using standins::taken;
using Calls = std::vector<std::string>;

NSNotificationCenter* others()
{
    return NSDistributedNotificationCenter.defaultCenter;
}

class MacApplicationTest : public testing::Test {
protected:
    MacApplicationTest() { standins::program() = {}; }
    ~MacApplicationTest() override { standins::program() = {}; }

    bool become()
    {
        return application->becomeOnlyInstance([this] { ++activations; });
    }

    std::unique_ptr<MacApplication> application = std::make_unique<MacApplication>();
    int activations = 0;
};

const std::string asks =
    "+[NSRunningApplication runningApplicationsWithBundleIdentifier:] net.vorlin.test";
const std::string setsHandler = "-[NSAppleEventManager "
                                "setEventHandler:andSelector:forEventClass:andEventID:] "
                                "VorlinReopenTarget reopen:reply: 1634039412 1918988400";

TEST_F(MacApplicationTest, theOnlyOneListensForLaterStartsAndForBeingOpenedOnceMore)
{
    EXPECT_TRUE(become());
    EXPECT_EQ(taken(),
              (Calls{asks,
                     "-[NSDistributedNotificationCenter "
                     "addObserverForName:object:queue:usingBlock:] VorlinStartedAgain nil nil",
                     setsHandler,
                     "-[NSNotificationCenter addObserverForName:object:queue:usingBlock:] "
                     "NSApplicationDidFinishLaunchingNotification nil nil"}));
    standins::post(others(), @"VorlinStartedAgain");
    EXPECT_EQ(activations, 1);
    standins::openOnceMore();
    EXPECT_EQ(activations, 2);
}

TEST_F(MacApplicationTest, isToldOfBeingOpenedOnceMoreThoughTheFrameworkReplacesHandlersAtTheStart)
{
    EXPECT_TRUE(become());
    standins::finishLaunching();
    standins::openOnceMore();
    EXPECT_EQ(activations, 1);
}

TEST_F(MacApplicationTest, aSecondOneTellsTheFirstAtOnceAndListensToNothing)
{
    standins::program().running = {100, 57};
    EXPECT_FALSE(become());
    EXPECT_EQ(taken(), (Calls{asks, "-[NSDistributedNotificationCenter "
                                    "postNotificationName:object:userInfo:deliverImmediately:] "
                                    "VorlinStartedAgain nil nil YES"}));
    standins::post(others(), @"VorlinStartedAgain");
    standins::openOnceMore();
    EXPECT_EQ(activations, 0);
}

TEST_F(MacApplicationTest, ofTwoThatStartAtOnceTheElderStays)
{
    standins::program().running = {100, 57};
    standins::program().launched = {{100, 20.0}, {57, 20.5}};
    EXPECT_TRUE(become()) << "the other one ends";
    standins::program().launched = {{100, 20.0}, {57, 19.5}};
    EXPECT_FALSE(become());
    standins::program().launched = {{100, 20.0}, {57, 20.0}};
    EXPECT_FALSE(become()) << "their numbers decide";
    standins::program().running = {100, 157};
    standins::program().launched = {{100, 20.0}, {157, 20.0}};
    EXPECT_TRUE(become());
    standins::program().launched = {{100, 20.0}};
    EXPECT_FALSE(become()) << "nobody knows when the other one was started";
}

TEST_F(MacApplicationTest, aProgramWithoutABundleIsTheOnlyOne)
{
    standins::program().identifier = nil;
    standins::program().running = {100, 57};
    EXPECT_TRUE(become());
}

TEST_F(MacApplicationTest, onceItIsGoneNobodyIsTold)
{
    const NSUInteger listeners = standins::observers(others());
    const NSUInteger own = standins::observers(NSNotificationCenter.defaultCenter);
    EXPECT_TRUE(become());
    taken();
    application.reset();
    const Calls calls = taken();
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.front(), "-[NSAppleEventManager removeEventHandlerForEventClass:andEventID:] "
                             "1634039412 1918988400");
    EXPECT_EQ(standins::eventHandlers(), 0U);
    EXPECT_EQ(standins::observers(others()), listeners);
    EXPECT_EQ(standins::observers(NSNotificationCenter.defaultCenter), own);
    standins::post(others(), @"VorlinStartedAgain");
    standins::finishLaunching();
    standins::openOnceMore();
    EXPECT_EQ(activations, 0);
}

TEST_F(MacApplicationTest, anEventThatIsUnderWayWhenItGoesIsToldToNobody)
{
    EXPECT_TRUE(become());
    id target = standins::eventTarget();
    application.reset();
    standins::openOnceMore(target);
    EXPECT_EQ(activations, 0);
}

TEST_F(MacApplicationTest, quitsByTerminatingAndActivatesWithoutPushingOthersAside)
{
    application->quit();
    application->activate();
    EXPECT_EQ(taken(), (Calls{"-[NSApplication terminate:] nil", "-[NSApplication activate]"}));
}

} // namespace
} // namespace vorlin
