#pragma once

#include "Hotkey.h"
#include "Ports/EventTap.h"

#include <chrono>
#include <functional>
#include <optional>

namespace vorlin {

/// Watches the keyboard system-wide and turns the configured hotkey into press and release,
/// and Escape into a callback while a dictation runs. Swallows the events that make up the
/// hotkey, except lone modifiers; lets every other event through. Main loop.
class HotkeyMonitor {
public:
    /// `tap` must outlive the monitor.
    explicit HotkeyMonitor(EventTap& tap);
    HotkeyMonitor(const HotkeyMonitor&) = delete;
    HotkeyMonitor& operator=(const HotkeyMonitor&) = delete;
    ~HotkeyMonitor();

    /// The callbacks run inside the delivery of a key event and must return quickly.
    std::function<void()> onPress;
    std::function<void()> onRelease;
    /// The hotkey, which is down, repeats.
    std::function<void()> onRepeat;
    /// The hotkey was pressed although it counts as down: it bounced, or its release was lost.
    std::function<void()> onAgain;
    std::function<void()> onEscape;
    /// Asked on every Escape whether to swallow it; never empty.
    std::function<bool()> escapeActive = [] { return false; };

    /// Watches `hotkey` from now on. Returns false when the platform does not allow it.
    bool start(const Hotkey& hotkey);

    /// Stops watching; no release is reported, even if the hotkey is held.
    void stop();

    bool isRunning() const { return running; }
    /// The hotkey is down: its press was reported, its release was not.
    bool isHeld() const { return isDown; }
    /// When the event happened whose callback runs, by the desktop's clock, where that is told.
    std::optional<std::chrono::milliseconds> eventTime() const { return time; }
    /// Escape is watched while it is active: the tap runs and sees keys, and Escape is no other
    /// program's.
    bool hasEscape() const;

    /// Tells the tap anew what it may swallow. Call when the answer of `escapeActive` changes.
    void updateInterest();

    /// What to do with one event: true swallows it.
    bool handle(KeyEventType type, const KeyEvent& event);

private:
    bool handleKeyDown(std::uint16_t keyCode, const KeyEvent& event);
    bool handleKeyUp(std::uint16_t keyCode);
    void handleFlagsChanged(std::uint16_t keyCode, const KeyEvent& event);
    void pressed();
    void released();

    EventTap& tap;
    bool running = false;
    Hotkey hotkey;
    bool isDown = false;
    std::optional<std::chrono::milliseconds> time;
    KeyInterest interest;
};

} // namespace vorlin
