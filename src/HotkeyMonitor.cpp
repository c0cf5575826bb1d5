#include "HotkeyMonitor.h"

#include "Async/Fatal.h"

#include <limits>
#include <utility>

namespace vorlin {

namespace {

void call(const std::function<void()>& callback)
{
    if (callback) {
        callback();
    }
}

} // namespace

HotkeyMonitor::HotkeyMonitor(EventTap& tap) : tap(tap) {}

HotkeyMonitor::~HotkeyMonitor()
{
    stop();
}

bool HotkeyMonitor::start(const Hotkey& watched)
{
    stop();
    hotkey = watched;
    if (!tap.start(
            [this](KeyEventType type, const KeyEvent& event) { return handle(type, event); })) {
        return false;
    }
    running = true;
    updateInterest();
    return true;
}

void HotkeyMonitor::stop()
{
    if (running) {
        interest = {};
        tap.setInterest(interest);
        tap.stop();
    }
    running = false;
    isDown = false;
}

bool HotkeyMonitor::hasEscape() const
{
    switch (tap.conflict().get()) {
    case KeyConflict::escapeTaken:
    case KeyConflict::escapeUnasked:
    case KeyConflict::escapeUnwatched:
    case KeyConflict::unwatched: return false;
    default: return running;
    }
}

void HotkeyMonitor::updateInterest()
{
    if (!running) {
        return;
    }
    const KeyInterest wanted{hotkey, escapeActive()};
    if (wanted != interest) {
        interest = wanted;
        tap.setInterest(interest);
    }
}

bool HotkeyMonitor::handle(KeyEventType type, const KeyEvent& event)
{
    if (type == KeyEventType::tapDisabledByTimeout ||
        type == KeyEventType::tapDisabledByUserInput) {
        tap.enable();
        return false;
    }
    if (event.keyCode < 0 || event.keyCode > std::numeric_limits<std::uint16_t>::max()) {
        fatal("a key event carries a key code that does not exist");
    }
    const auto keyCode = static_cast<std::uint16_t>(event.keyCode);
    time = event.time;
    switch (type) {
    case KeyEventType::keyDown: return handleKeyDown(keyCode, event);
    case KeyEventType::keyUp: return handleKeyUp(keyCode);
    case KeyEventType::flagsChanged: handleFlagsChanged(keyCode, event); return false;
    default: return false;
    }
}

bool HotkeyMonitor::handleKeyDown(std::uint16_t keyCode, const KeyEvent& event)
{
    if (keyCode == keyCodes::escape && escapeActive()) {
        if (tap.losesReleases()) {
            isDown = false; // whatever was held, its next press is a new one
        }
        call(onEscape);
        return true;
    }
    if (hotkey.modifierOnly || keyCode != hotkey.keyCode) {
        return false;
    }
    if ((event.flags & eventFlags::maskHotkeyModifiers) != hotkey.modifiers) {
        return false;
    }
    if (!event.autorepeat) {
        pressed();
    } else if (isDown) {
        call(onRepeat);
    }
    return true;
}

bool HotkeyMonitor::handleKeyUp(std::uint16_t keyCode)
{
    // The modifiers are not looked at: releasing them before the key still ends the press.
    if (hotkey.modifierOnly || keyCode != hotkey.keyCode || !isDown) {
        return false;
    }
    released();
    return true;
}

void HotkeyMonitor::handleFlagsChanged(std::uint16_t keyCode, const KeyEvent& event)
{
    if (!hotkey.modifierOnly || keyCode != hotkey.keyCode) {
        return;
    }
    if (const auto flag = Hotkey::flag(keyCode)) {
        if ((event.flags & *flag) != 0) {
            pressed();
        } else if (isDown) {
            released();
        }
    }
}

void HotkeyMonitor::pressed()
{
    call(std::exchange(isDown, true) ? onAgain : onPress);
}

void HotkeyMonitor::released()
{
    isDown = false;
    call(onRelease);
}

} // namespace vorlin
