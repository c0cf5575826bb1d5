#include "Platform/macOS/MacLocalKeyMonitor.h"

#include "NSEvent.h"
#include "NSNotificationCenter.h"
#include "Recorder.h"
#include "Runtime.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

namespace vorlin {
namespace {

using namespace std::chrono_literals;
using standins::keyEvent;
using standins::send;
using standins::taken;
using Calls = std::vector<std::string>;

constexpr unsigned short rightOption = 61;
constexpr unsigned short space = 49;

class MacLocalKeyMonitorTest : public testing::Test {
protected:
    /// Type, code, flags, whether it is repeated.
    using Told = std::vector<std::tuple<KeyEventType, std::int64_t, std::uint64_t, bool>>;

    void start()
    {
        EXPECT_EQ(monitor.start(
                      [this](KeyEventType type, const KeyEvent& event) {
                          told.emplace_back(type, event.keyCode, event.flags, event.autorepeat);
                          return isUsedUp;
                      },
                      [this] {
                          ++ends;
                          EXPECT_EQ(standins::monitors(), 0U);
                      }),
                  std::nullopt);
    }

    static void loseFocus()
    {
        standins::post(NSNotificationCenter.defaultCenter, NSWindowDidResignKeyNotification);
    }

    SimulatedLoop loop;
    MacLocalKeyMonitor monitor{loop};
    Told told;
    int ends = 0;
    /// What the handler answers.
    bool isUsedUp = true;
};

TEST_F(MacLocalKeyMonitorTest, watchesKeysThatGoDownAndModifiersUntilItIsStopped)
{
    start();
    EXPECT_EQ(taken(), (Calls{"+[NSEvent addLocalMonitorForEventsMatchingMask:handler:] 5120",
                              "-[NSNotificationCenter addObserverForName:object:queue:usingBlock:] "
                              "NSWindowDidResignKeyNotification nil nil"}));
    monitor.stop();
    EXPECT_EQ(taken(), (Calls{"+[NSEvent removeMonitor:] StandInMonitor",
                              "-[NSNotificationCenter removeObserver:] "
                              "NSWindowDidResignKeyNotification"}));
    monitor.stop();
    EXPECT_EQ(taken(), Calls());
    EXPECT_EQ(ends, 0);
}

TEST_F(MacLocalKeyMonitorTest, whatIsNotUsedUpGoesOnToTheWindow)
{
    start();
    isUsedUp = false;
    NSEvent* flags = keyEvent(NSEventTypeFlagsChanged, rightOption, NSEventModifierFlagOption);
    EXPECT_EQ(send(flags), flags);
    NSEvent* down = keyEvent(NSEventTypeKeyDown, space, 0);
    EXPECT_EQ(send(down), down);
    EXPECT_EQ(told.size(), 2U);
}

TEST_F(MacLocalKeyMonitorTest, tellsWhatTheEventsSayAndLeavesTheWindowsNoneThatIsUsedUp)
{
    start();
    const NSUInteger option = NSEventModifierFlagOption | 0x40;
    EXPECT_EQ(send(keyEvent(NSEventTypeFlagsChanged, rightOption, option)), nil);
    EXPECT_EQ(send(keyEvent(NSEventTypeKeyDown, space, option)), nil);
    EXPECT_EQ(told, (Told{{KeyEventType::flagsChanged, rightOption, 0x80040, false},
                          {KeyEventType::keyDown, space, 0x80040, false}}));
}

TEST_F(MacLocalKeyMonitorTest, aKeyThatIsHeldIsToldOnceAndNothingElseOfItIsToldOrTaken)
{
    start();
    EXPECT_EQ(send(keyEvent(NSEventTypeKeyDown, space, 0)), nil);
    NSEvent* repeated = keyEvent(NSEventTypeKeyDown, space, 0, true);
    EXPECT_EQ(send(repeated), repeated);
    NSEvent* up = keyEvent(NSEventTypeKeyUp, space, 0);
    EXPECT_EQ(send(up), up);
    EXPECT_EQ(told, (Told{{KeyEventType::keyDown, space, 0, false}}));
}

TEST_F(MacLocalKeyMonitorTest, aHandlerMayStopItAndStartItAgain)
{
    int keys = 0;
    auto token = std::make_shared<int>();
    const std::weak_ptr<int> itsOwn = token;
    monitor.start(
        [test = this, &keys, &itsOwn, token = std::move(token)](KeyEventType, const KeyEvent&) {
            auto* const self = test;
            int& counted = keys;
            const auto& seen = itsOwn;
            self->monitor.stop();
            EXPECT_FALSE(seen.expired()) << "the handler went while it ran";
            ++counted;
            self->start();
            return true;
        },
        [] {});
    send(keyEvent(NSEventTypeKeyDown, space, 0));
    EXPECT_EQ(keys, 1);
    send(keyEvent(NSEventTypeKeyDown, space, 0));
    EXPECT_EQ(keys, 1);
    EXPECT_EQ(told.size(), 1U);
    EXPECT_EQ(standins::monitors(), 1U);
}

TEST_F(MacLocalKeyMonitorTest, aStartTakesThePlaceOfTheOneBefore)
{
    start();
    taken();
    start();
    EXPECT_EQ(taken().front(), "+[NSEvent removeMonitor:] StandInMonitor");
    EXPECT_EQ(standins::monitors(), 1U);
    send(keyEvent(NSEventTypeKeyDown, space, 0));
    EXPECT_EQ(told.size(), 1U);
}

TEST_F(MacLocalKeyMonitorTest, whenTheFocusIsLostItEndsOnceFromTheLoop)
{
    start();
    loseFocus();
    loseFocus();
    EXPECT_EQ(ends, 0);
    loop.runReady();
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(standins::monitors(), 0U);
    loseFocus();
    loop.advance(60s);
    EXPECT_EQ(ends, 1);
}

TEST_F(MacLocalKeyMonitorTest, itTakesTheKeyboardFromNobodyAndSoEndsAtNoTime)
{
    start();
    loop.advance(60min);
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(standins::monitors(), 1U);
}

TEST_F(MacLocalKeyMonitorTest, onceItIsStoppedNobodyIsToldOfItsEnd)
{
    start();
    loseFocus();
    monitor.stop();
    loop.advance(60s);
    EXPECT_EQ(ends, 0);
}

TEST(MacLocalKeyMonitorEndTest, leavesNeitherAMonitorNorAnythingElse)
{
    SimulatedLoop loop;
    (void)NSNotificationCenter.defaultCenter; // stays for good
    const long before = standins::alive();
    @autoreleasepool {
        MacLocalKeyMonitor monitor(loop);
        monitor.start([](KeyEventType, const KeyEvent&) { return false; }, [] {});
    }
    EXPECT_EQ(standins::monitors(), 0U);
    EXPECT_EQ(standins::alive(), before);
    loop.advance(60s);
}

} // namespace
} // namespace vorlin
