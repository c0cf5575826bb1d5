#pragma once

#include "Platform/Linux/Keys/X11EventTap.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin {

/// What the program's monitor does with a tap's events, and a record of them.
class MonitorImitation {
public:
    explicit MonitorImitation(Hotkey hotkey) : hotkey(hotkey) {}

    EventTap::Handler handler()
    {
        return [this](KeyEventType type, const KeyEvent& event) { return handle(type, event); };
    }

    /// The interest of a monitor in its present state.
    KeyInterest interest() const { return {hotkey, escapeActive}; }

    Hotkey hotkey;
    bool escapeActive = false;
    bool isDown = false;
    int presses = 0;
    int releases = 0;
    int escapes = 0;
    int repeats = 0;
    /// Called at the end of each press, release and Escape.
    std::function<void()> onAction = [] {};

    struct Told {
        KeyEventType type;
        std::int64_t keyCode;
        std::uint64_t flags;
        bool operator==(const Told&) const = default;
    };
    /// Everything told but autorepeats.
    std::vector<Told> told;

private:
    bool handle(KeyEventType type, const KeyEvent& event);
    bool keyDown(const KeyEvent& event);
    void transition(bool down);
};

std::ostream& operator<<(std::ostream& out, const MonitorImitation::Told& told);

/// Started with this option and a way to behave, the test program is a tap on F8 that gets
/// killed: "holds" returns from the press, "hangs" does not. It says "pressed" when F8 goes down.
inline constexpr std::string_view victimOption = "--victim";
int runVictim(std::string_view behaviour);

} // namespace vorlin
