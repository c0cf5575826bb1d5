#include "Platform/Linux/Keys/MonitorImitation.h"

#include "simulation/SimulatedLoop.h"

#include <QCoreApplication>

#include <unistd.h>

namespace vorlin {

bool MonitorImitation::handle(KeyEventType type, const KeyEvent& event)
{
    if (event.autorepeat) {
        ++repeats;
    } else {
        told.push_back({type, event.keyCode, event.flags});
    }
    switch (type) {
    case KeyEventType::keyDown: return keyDown(event);
    case KeyEventType::keyUp:
        if (hotkey.modifierOnly || event.keyCode != hotkey.keyCode || !isDown) {
            return false;
        }
        transition(false);
        return true;
    case KeyEventType::flagsChanged:
        if (hotkey.modifierOnly && event.keyCode == hotkey.keyCode) {
            if (const auto flag = Hotkey::flag(hotkey.keyCode)) {
                transition((event.flags & *flag) != 0);
            }
        }
        return false;
    default: return false;
    }
}

bool MonitorImitation::keyDown(const KeyEvent& event)
{
    if (event.keyCode == keyCodes::escape && escapeActive) {
        ++escapes;
        onAction();
        return true;
    }
    if (hotkey.modifierOnly || event.keyCode != hotkey.keyCode ||
        (event.flags & eventFlags::maskHotkeyModifiers) != hotkey.modifiers) {
        return false;
    }
    if (!event.autorepeat) {
        transition(true);
    }
    return true;
}

void MonitorImitation::transition(bool down)
{
    if (down == isDown) {
        return;
    }
    isDown = down;
    ++(down ? presses : releases);
    onAction();
}

std::ostream& operator<<(std::ostream& out, const MonitorImitation::Told& told)
{
    return out << "{" << static_cast<std::uint32_t>(told.type) << ", " << told.keyCode << ", 0x"
               << std::hex << told.flags << std::dec << "}";
}

int runVictim(std::string_view behaviour)
{
    X11Keyboard keyboard;
    SimulatedLoop loop;
    X11EventTap tap(keyboard, loop);
    const auto say = [](std::string_view text) {
        return write(STDOUT_FILENO, text.data(), text.size()) >= 0;
    };
    const bool started = tap.start([&](KeyEventType type, const KeyEvent& event) {
        if (type == KeyEventType::keyDown && !event.autorepeat) {
            say("pressed\n");
            while (behaviour == "hangs") {
                pause();
            }
        }
        return true;
    });
    tap.setInterest({Hotkey{100, 0, false}, true});
    say(started ? "ready\n" : "failed\n");
    return QCoreApplication::exec();
}

} // namespace vorlin
