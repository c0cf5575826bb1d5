#pragma once

#include "Platform/Linux/Keys/KeyboardFixture.h"
#include "Platform/Linux/Keys/X11EventTap.h"

#include "simulation/SimulatedLoop.h"

#include <gmock/gmock.h>

#include <optional>
#include <vector>

namespace vorlin {

/// A tap on the keyboard.
class TapFixture : public KeyboardFixture {
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

    /// What the window saw of everything typed so far.
    std::vector<SeenKey> seen()
    {
        keyboard.server().sync();
        auto result = window.takeSeen(typist);
        settle();
        return result;
    }

    SimulatedLoop loop;
    X11EventTap eventTap{keyboard, loop};
    std::optional<MonitorImitation> monitor;
};

} // namespace vorlin
