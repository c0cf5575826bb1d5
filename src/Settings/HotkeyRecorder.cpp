#include "Settings/HotkeyRecorder.h"

#include <limits>

namespace vorlin {

using eventFlags::maskHotkeyModifiers;

HotkeyRecorder::HotkeyRecorder(AppModel& model, LocalKeyMonitor& keys, const Session& session)
    : model(model), keys(keys), sessionChanges(session.isAway().observe([this](bool away) {
          if (away) {
              stop();
          }
      }))
{
}

HotkeyRecorder::~HotkeyRecorder()
{
    stop();
}

void HotkeyRecorder::click()
{
    if (recording.get()) {
        stop();
    } else {
        start();
    }
}

void HotkeyRecorder::start()
{
    if (recording.get()) {
        return;
    }
    hint.set({});
    pendingModifier.reset();
    // First: a dictation that runs by the held key ends, and the key is seen here alone.
    model.setRecordingHotkey(true);
    const auto refusal =
        keys.start([this](KeyEventType type, const KeyEvent& event) { return handle(type, event); },
                   [this] { stop(); });
    if (refusal) {
        model.setRecordingHotkey(false);
        hint.set(*refusal);
        return;
    }
    recording.set(true);
}

void HotkeyRecorder::stop()
{
    if (!recording.get()) {
        return;
    }
    keys.stop();
    pendingModifier.reset();
    recording.set(false);
    model.setRecordingHotkey(false);
}

bool HotkeyRecorder::handle(KeyEventType type, const KeyEvent& event)
{
    if (event.keyCode < 0 || event.keyCode > std::numeric_limits<std::uint16_t>::max()) {
        return false; // no key that could be stored
    }
    const auto keyCode = static_cast<std::uint16_t>(event.keyCode);
    if (type == KeyEventType::flagsChanged) {
        modifierChanged(keyCode, event.flags);
    } else if (type == KeyEventType::keyDown && !event.autorepeat) {
        keyPressed(keyCode, event.flags);
    }
    return !recording.get();
}

void HotkeyRecorder::modifierChanged(std::uint16_t keyCode, std::uint64_t flags)
{
    const auto flag = Hotkey::flag(keyCode);
    if (!flag) {
        return;
    }
    if ((flags & *flag) == 0) {
        if (pendingModifier == keyCode) {
            choose({keyCode, 0, true});
        }
        return;
    }
    // A chord of modifiers is no lone modifier.
    const bool alone = (flags & maskHotkeyModifiers & ~*flag) == 0;
    pendingModifier = alone ? std::optional(keyCode) : std::nullopt;
}

void HotkeyRecorder::keyPressed(std::uint16_t keyCode, std::uint64_t flags)
{
    if (keyCode == keyCodes::escape) {
        stop();
        return;
    }
    const Hotkey pressed{keyCode, flags & maskHotkeyModifiers, false};
    if (pressed.modifiers == 0 && !pressed.isStandalone()) {
        hint.set("Add ⌘, ⌥, ⌃ or ⇧ — or use a function key.");
        return;
    }
    choose(pressed);
}

void HotkeyRecorder::choose(const Hotkey& chosen)
{
    hint.set({});
    model.setHotkey(chosen);
    stop();
}

} // namespace vorlin
