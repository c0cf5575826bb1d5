#pragma once

#include "AppModel.h"
#include "Async/Published.h"
#include "Ports/LocalKeyMonitor.h"
#include "Ports/Session.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vorlin {

/// Records a new dictation key from the keyboard: a lone modifier key, pressed and released on its
/// own; a key with at least one modifier; or a function key. While it records, the dictation key
/// does nothing. Main loop.
class HotkeyRecorder {
public:
    /// All must outlive this object.
    HotkeyRecorder(AppModel& model, LocalKeyMonitor& keys, const Session& session);
    HotkeyRecorder(const HotkeyRecorder&) = delete;
    HotkeyRecorder& operator=(const HotkeyRecorder&) = delete;
    /// Stops recording.
    ~HotkeyRecorder();

    Published<bool, HotkeyRecorder> recording{false};
    /// Why the latest key was not taken, or why none can be recorded; empty when there is nothing
    /// to say. Stands until the next recording, or until a key was taken.
    Published<std::string, HotkeyRecorder> hint;

    /// The button was clicked: starts, or stops.
    void click();

    /// Begins to record. Ends by itself with a recorded key, Escape, or when the monitoring ends;
    /// when the person turns away, too, for who locks the screen wants the keyboard.
    void start();

    /// Ends it without a change; safe when nothing is recorded.
    void stop();

    /// Takes a key that was not recorded but chosen: ends recording.
    void choose(const Hotkey& chosen);

    /// Takes one event of the keyboard while recording. Returns whether it is used up: a key was
    /// recorded by it, or Escape ended the recording.
    bool handle(KeyEventType type, const KeyEvent& event);

private:
    void modifierChanged(std::uint16_t keyCode, std::uint64_t flags);
    void keyPressed(std::uint16_t keyCode, std::uint64_t flags);

    AppModel& model;
    LocalKeyMonitor& keys;
    /// A modifier key that went down alone, and is the hotkey if it goes up alone.
    std::optional<std::uint16_t> pendingModifier;
    Subscription sessionChanges;
};

} // namespace vorlin
