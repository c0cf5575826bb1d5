#pragma once

#include "Platform/Linux/Keys/MonitorImitation.h"
#include "Platform/Linux/Keys/PrivateDisplay.h"
#include "Platform/Linux/Keys/TestClient.h"
#include "Platform/Linux/Keys/X11EventTap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace vorlin {

/// A display, a tap on it, a program's window with the focus, and somebody who types.
class TapFixture : public testing::Test {
protected:
    static constexpr unsigned shift = XCB_MOD_MASK_SHIFT, lock = XCB_MOD_MASK_LOCK,
                              control = XCB_MOD_MASK_CONTROL, alt = XCB_MOD_MASK_1,
                              numLock = XCB_MOD_MASK_2, super = XCB_MOD_MASK_4,
                              level3 = XCB_MOD_MASK_5;
    static constexpr Hotkey f8{100, 0, false};
    static constexpr Hotkey optionSpace{keyCodes::space, eventFlags::maskAlternate, false};
    static constexpr Hotkey rightOption{};

    /// Starts the tap for `hotkey`, as the program's monitor does.
    void start(const Hotkey& hotkey)
    {
        monitor.emplace(hotkey);
        ASSERT_TRUE(eventTap.start(monitor->handler()));
        eventTap.setInterest(monitor->interest());
    }

    void setEscapeActive(bool active)
    {
        monitor->escapeActive = active;
        eventTap.setInterest(monitor->interest());
    }

    /// Serves the loop until everything typed so far was dealt with.
    void settle()
    {
        for (int round = 0; round < 4; ++round) {
            typist.sync();
            keyboard.server().sync();
            serveLoop();
        }
    }

    /// Type at a person's pace: each key is dealt with before the next.
    void press(HardwareKey key)
    {
        typist.press(key);
        settle();
    }
    void release(HardwareKey key)
    {
        typist.release(key);
        settle();
    }
    void tap(HardwareKey key)
    {
        press(key);
        release(key);
    }

    /// What the window saw of everything typed so far.
    std::vector<SeenKey> seen()
    {
        keyboard.server().sync();
        auto result = window.takeSeen(typist);
        settle();
        return result;
    }

    static MonitorImitation::Told flagsChanged(std::int64_t code, std::uint64_t flags)
    {
        return {KeyEventType::flagsChanged, code, flags};
    }
    static MonitorImitation::Told keyDown(std::int64_t code, std::uint64_t flags = 0)
    {
        return {KeyEventType::keyDown, code, flags};
    }
    static MonitorImitation::Told keyUp(std::int64_t code, std::uint64_t flags = 0)
    {
        return {KeyEventType::keyUp, code, flags};
    }

    PrivateDisplay display;
    X11Keyboard keyboard;
    X11EventTap eventTap{keyboard};
    TestWindow window;
    TestClient typist;
    std::optional<MonitorImitation> monitor;
};

} // namespace vorlin
