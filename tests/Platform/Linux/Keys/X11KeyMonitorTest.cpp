#include "Platform/Linux/Keys/X11KeyMonitor.h"

#include "Platform/Linux/Keys/KeyboardFixture.h"
#include "simulation/SimulatedLoop.h"

#include <QProcess>
#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace vorlin {
namespace {

using namespace eventFlags;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned alt = XCB_MOD_MASK_1;
constexpr Hotkey f8{100, 0, false};

class X11KeyMonitorTest : public KeyboardFixture {
protected:
    using Told = MonitorImitation::Told;

    std::optional<std::string> start()
    {
        return monitor.start(
            [this](KeyEventType type, const KeyEvent& event) {
                told.push_back({type, event.keyCode, event.flags});
                onKey();
                return false; // they are swallowed all the same
            },
            [this] { ++ends; });
    }

    SimulatedLoop loop;
    X11KeyMonitor monitor{keyboard, loop};
    std::vector<Told> told;
    std::function<void()> onKey = [] {};
    int ends = 0;
};

TEST_F(X11KeyMonitorTest, everyKeyIsToldAsATapTellsItAndReachesNoProgram)
{
    ASSERT_EQ(start(), std::nullopt);
    tap(keys::f8);
    press(keys::rightAlt);
    tap(keys::space);
    release(keys::rightAlt);
    EXPECT_THAT(told, ElementsAre(keyDown(100), flagsChanged(61, maskAlternate),
                                  keyDown(keyCodes::space, maskAlternate), flagsChanged(61, 0)));
    monitor.stop();
    EXPECT_THAT(window.takeSeen(typist), IsEmpty());
    EXPECT_EQ(told.size(), 4U) << "nothing after the stop";
}

TEST_F(X11KeyMonitorTest, shortcutsOfOtherProgramsReachTheMonitorInstead)
{
    TestClient manager;
    ASSERT_TRUE(manager.grabKey(keys::space, alt));
    ASSERT_EQ(start(), std::nullopt);
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_THAT(told, Contains(keyDown(keyCodes::space, maskAlternate)));
    EXPECT_EQ(manager.grabbedPresses(), 0);
    monitor.stop();
    press(keys::leftAlt);
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_EQ(manager.grabbedPresses(), 1) << "theirs again afterwards";
}

TEST_F(X11KeyMonitorTest, aWindowManagersOwnBindingsReachTheMonitor)
{
    QProcess manager;
    manager.start("openbox", {"--sm-disable"}); // with the bindings it comes with
    ASSERT_TRUE(manager.waitForStarted());
    // It manages windows once it has its keys. To look for a grab before would take it from it.
    ASSERT_TRUE(waitUntil([&] { return window.isManaged(); }));
    ASSERT_FALSE(typist.couldGrabCoreKey(keys::f4, alt));
    TestWindow managed;
    ASSERT_TRUE(waitUntil([&] {
        managed.focus(managed.id()); // a manager that has just started gives it to some only
        return managed.hasFocus();
    }));
    ASSERT_EQ(start(), std::nullopt);
    press(keys::leftAlt);
    tap(keys::f4); // closes the window
    tap(keys::space);
    release(keys::leftAlt);
    EXPECT_THAT(told, ElementsAre(flagsChanged(58, maskAlternate), keyDown(118, maskAlternate),
                                  keyDown(keyCodes::space, maskAlternate), flagsChanged(58, 0)));
    EXPECT_EQ(ends, 0);
    EXPECT_TRUE(managed.hasFocus());
    monitor.stop();
    manager.kill();
    manager.waitForFinished(-1);
}

TEST_F(X11KeyMonitorTest, whatTheWindowSeesOfTheGrabIsTakenBackAtOnce)
{
    window.watchFocus();
    ASSERT_EQ(start(), std::nullopt);
    // Programs wait for the second before they believe the first.
    EXPECT_THAT(window.focusSeen(), ElementsAre(false, true));
    tap(keys::f8);
    monitor.stop();
    EXPECT_THAT(window.focusSeen(), ElementsAre(false, true, false, true));
}

TEST_F(X11KeyMonitorTest, theKeyThatStartedItCountsOnlyAfterItsRelease)
{
    PrivateDisplay::repeatSoon();
    press(keys::space);
    press(keys::rightControl);
    ASSERT_EQ(start(), std::nullopt);
    release(keys::rightControl);
    release(keys::space);
    EXPECT_THAT(told, IsEmpty());
    tap(keys::space);
    EXPECT_THAT(told, ElementsAre(keyDown(keyCodes::space)));
}

TEST_F(X11KeyMonitorTest, aModifierHeldSinceBeforeCountsForOtherKeys)
{
    press(keys::rightControl);
    ASSERT_EQ(start(), std::nullopt);
    tap(keys::f8);
    EXPECT_THAT(told, ElementsAre(keyDown(100, maskControl)));
    release(keys::rightControl);
}

TEST_F(X11KeyMonitorTest, aKeyThatTheLayoutMakesAModifierCounts)
{
    PrivateDisplay::setLayout("us -option ctrl:nocaps");
    ASSERT_EQ(start(), std::nullopt);
    press(keys::capsLock);
    tap(keys::space);
    release(keys::capsLock);
    tap(keys::f8);
    EXPECT_THAT(told, ElementsAre(flagsChanged(57, 0), keyDown(keyCodes::space, maskControl),
                                  flagsChanged(57, 0), keyDown(100)));
}

TEST_F(X11KeyMonitorTest, aLatchedModifierCountsForTheNextKey)
{
    typist.useStickyKeys();
    ASSERT_EQ(start(), std::nullopt);
    tap(keys::leftControl);
    tap(keys::space);
    tap(keys::f8);
    // Still in effect when it is let go: it was not pressed for itself.
    EXPECT_THAT(told, ElementsAre(flagsChanged(59, maskControl), flagsChanged(59, maskControl),
                                  keyDown(keyCodes::space, maskControl), keyDown(100)));
}

TEST_F(X11KeyMonitorTest, eachOfSeveralKeysTypedAtOnceHasItsOwnModifiers)
{
    typist.useStickyKeys();
    ASSERT_EQ(start(), std::nullopt);
    tap(keys::leftControl);
    told.clear();
    for (const auto key : {keys::space, keys::f8, keys::a}) { // faster than the loop
        typist.press(key);
        typist.release(key);
    }
    settle();
    EXPECT_THAT(told, ElementsAre(keyDown(keyCodes::space, maskControl), keyDown(100), keyDown(0)));
}

TEST_F(X11KeyMonitorTest, theRecordedKeyStartsNothingUntilItIsPressedAnew)
{
    X11EventTap eventTap(keyboard, loop);
    MonitorImitation hotkeys(f8);
    onKey = [&] {
        monitor.stop();
        eventTap.start(hotkeys.handler());
        eventTap.setInterest(hotkeys.interest());
    };
    ASSERT_EQ(start(), std::nullopt);
    press(keys::f8);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_FALSE(typist.couldGrabKeyboard()) << "until the key is up";
    release(keys::f8);
    EXPECT_TRUE(typist.couldGrabKeyboard());
    EXPECT_THAT(hotkeys.told, IsEmpty());
    EXPECT_THAT(window.takeSeen(typist), IsEmpty()) << "nor does a program see its release";
    tap(keys::f8);
    EXPECT_EQ(hotkeys.presses, 1);
    EXPECT_EQ(hotkeys.releases, 1);
}

TEST_F(X11KeyMonitorTest, stoppingWithNoKeyHeldGivesTheKeyboardBackAtOnce)
{
    ASSERT_EQ(start(), std::nullopt);
    EXPECT_FALSE(typist.couldGrabKeyboard());
    monitor.stop();
    EXPECT_TRUE(typist.couldGrabKeyboard());
    monitor.stop();
}

TEST_F(X11KeyMonitorTest, aKeyboardThatAnotherProgramHasIsRefusedInALine)
{
    TestClient rival;
    ASSERT_TRUE(rival.grabKeyboard());
    EXPECT_EQ(start(), "Another program has the keyboard to itself.");
    rival.ungrabKeyboard();
    tap(keys::f8);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(start(), std::nullopt);
}

TEST_F(X11KeyMonitorTest, losingTheFocusEndsIt)
{
    const TestWindow other;
    window.focus(window.id());
    ASSERT_EQ(start(), std::nullopt);
    window.focus(other.id());
    ASSERT_TRUE(waitUntil([&] { return ends > 0; }));
    EXPECT_EQ(ends, 1);
    EXPECT_TRUE(typist.couldGrabKeyboard());
    tap(keys::f8);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(X11KeyMonitorTest, theWindowsGoingEndsIt)
{
    ASSERT_EQ(start(), std::nullopt);
    window.unmap();
    ASSERT_TRUE(waitUntil([&] { return ends > 0; }));
    EXPECT_EQ(ends, 1);
    EXPECT_TRUE(typist.couldGrabKeyboard());
}

TEST_F(X11KeyMonitorTest, halfAMinuteEndsItAlsoWhileAKeyIsHeld)
{
    ASSERT_EQ(start(), std::nullopt);
    loop.advance(X11KeyMonitor::limit - std::chrono::milliseconds(1));
    EXPECT_EQ(ends, 0);
    loop.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(ends, 1);
    EXPECT_TRUE(typist.couldGrabKeyboard());
    onKey = [&] { monitor.stop(); };
    ASSERT_EQ(start(), std::nullopt);
    press(keys::f8);
    EXPECT_FALSE(typist.couldGrabKeyboard()) << "until the key is up";
    loop.advance(X11KeyMonitor::limit);
    EXPECT_TRUE(typist.couldGrabKeyboard());
    EXPECT_EQ(ends, 1) << "it was stopped";
}

TEST_F(X11KeyMonitorTest, theServersDeathEndsIt)
{
    ASSERT_EQ(start(), std::nullopt);
    display.kill();
    ASSERT_TRUE(waitUntil([&] { return ends > 0; }));
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(start(), "The keyboard cannot be watched.");
}

TEST_F(X11KeyMonitorTest, stoppingItAfterTheTapStartedLeavesTheTapItsKeys)
{
    X11EventTap eventTap(keyboard, loop);
    MonitorImitation hotkeys(f8);
    ASSERT_EQ(start(), std::nullopt);
    eventTap.start(hotkeys.handler());
    eventTap.setInterest(hotkeys.interest());
    monitor.stop();
    tap(keys::f8);
    EXPECT_EQ(hotkeys.presses, 1);
    EXPECT_EQ(hotkeys.releases, 1);
}

} // namespace
} // namespace vorlin
