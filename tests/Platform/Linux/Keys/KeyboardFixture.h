#pragma once

#include "Platform/Linux/Keys/MonitorImitation.h"
#include "Platform/Linux/Keys/PrivateDisplay.h"
#include "Platform/Linux/Keys/TestClient.h"
#include "Platform/Linux/Keys/X11Keyboard.h"

#include <gtest/gtest.h>

namespace vorlin {

/// A display and its keyboard, a program's window with the focus, and somebody who types.
class KeyboardFixture : public testing::Test {
protected:
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
    TestWindow window;
    TestClient typist;
};

} // namespace vorlin
