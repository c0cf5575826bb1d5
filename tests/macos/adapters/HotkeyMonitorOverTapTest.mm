#include "HotkeyMonitor.h"

#include "CGEvent.h"
#include "Platform/macOS/MacEventTap.h"

namespace vorlin {
namespace {

using namespace eventFlags;
using standins::Fate;

constexpr Hotkey optionSpace{keyCodes::space, maskAlternate, false};

/// What the core's monitor makes of keys that come the way of this system.
class HotkeyMonitorOverTapTest : public testing::Test {
protected:
    HotkeyMonitorOverTapTest()
    {
        standins::events() = {};
        monitor.onPress = [this] { ++presses; };
        monitor.onRelease = [this] { ++releases; };
        monitor.onEscape = [this] { ++escapes; };
        monitor.escapeActive = [this] { return dictating; };
    }
    ~HotkeyMonitorOverTapTest() override { standins::events() = {}; }

    static Fate send(CGEventType type, std::int64_t keyCode, std::uint64_t flags = 0,
                     bool autorepeat = false)
    {
        CGEventRef event = standins::keyEvent(keyCode, flags, autorepeat);
        const Fate fate = standins::send(type, event);
        CFRelease(event);
        return fate;
    }
    static Fate down(std::int64_t keyCode, std::uint64_t flags = 0, bool autorepeat = false)
    {
        return send(kCGEventKeyDown, keyCode, flags, autorepeat);
    }
    static Fate up(std::int64_t keyCode, std::uint64_t flags = 0)
    {
        return send(kCGEventKeyUp, keyCode, flags);
    }
    static Fate flagsChanged(std::int64_t keyCode, std::uint64_t flags)
    {
        return send(kCGEventFlagsChanged, keyCode, flags);
    }

    MacEventTap tap;
    HotkeyMonitor monitor{tap};
    int presses = 0;
    int releases = 0;
    int escapes = 0;
    bool dictating = false;
};

TEST_F(HotkeyMonitorOverTapTest, optionSpaceFiresOnceAndIsSwallowedWithItsRepeats)
{
    ASSERT_TRUE(monitor.start(optionSpace));
    EXPECT_EQ(down(49, maskAlternate | 0x20), Fate::swallowed);
    EXPECT_EQ(down(49, maskAlternate | 0x20, true), Fate::swallowed);
    EXPECT_EQ(up(49, maskAlternate | 0x20), Fate::swallowed);
    EXPECT_EQ(presses, 1);
    EXPECT_EQ(releases, 1);
}

TEST_F(HotkeyMonitorOverTapTest, extraOrMissingModifiersPassThrough)
{
    monitor.start(optionSpace);
    EXPECT_EQ(down(49, maskAlternate | maskShift), Fate::passedOn);
    EXPECT_EQ(down(49), Fate::passedOn);
    EXPECT_EQ(up(49), Fate::passedOn);
    EXPECT_EQ(down(50, maskAlternate), Fate::passedOn);
    EXPECT_EQ(presses, 0);
}

TEST_F(HotkeyMonitorOverTapTest, aLoneModifierIsSeenAndNeverSwallowed)
{
    monitor.start(Hotkey{});
    EXPECT_EQ(flagsChanged(61, maskAlternate | 0x40), Fate::passedOn);
    EXPECT_EQ(presses, 1);
    EXPECT_EQ(down(0, maskAlternate), Fate::passedOn);
    EXPECT_EQ(flagsChanged(61, 0), Fate::passedOn);
    EXPECT_EQ(releases, 1);
}

TEST_F(HotkeyMonitorOverTapTest, escapeIsSwallowedOnlyWhileItIsActive)
{
    monitor.start(Hotkey{});
    EXPECT_EQ(down(53), Fate::passedOn);
    EXPECT_EQ(escapes, 0);
    dictating = true;
    EXPECT_EQ(down(53), Fate::swallowed);
    EXPECT_EQ(escapes, 1);
}

TEST_F(HotkeyMonitorOverTapTest, aTapThatTheSystemTurnsOffIsOnAgain)
{
    monitor.start(optionSpace);
    for (const auto type : {kCGEventTapDisabledByTimeout, kCGEventTapDisabledByUserInput}) {
        EXPECT_EQ(standins::send(type, nullptr), Fate::passedOn);
        EXPECT_EQ(down(49, maskAlternate), Fate::swallowed);
        EXPECT_EQ(up(49, maskAlternate), Fate::swallowed);
    }
    EXPECT_EQ(presses, 2);
}

TEST_F(HotkeyMonitorOverTapTest, whereTheSystemAllowsNoTapItIsStoppedUntilItDoes)
{
    standins::events().refusesTaps = true;
    EXPECT_FALSE(monitor.start(optionSpace));
    EXPECT_FALSE(monitor.isRunning());
    standins::events().refusesTaps = false;
    EXPECT_TRUE(monitor.start(optionSpace));
    monitor.stop();
    EXPECT_EQ(down(49, maskAlternate), Fate::unseen);
}

} // namespace
} // namespace vorlin
