#include "Platform/Linux/Accessibility/AccessibleFocus.h"

#include <functional>
#include <utility>

namespace vorlin {

AccessibleFocus::AccessibleFocus(const AccessibilityBus& bus, ChordFor chordFor,
                                 FocusedProgram& unknown, std::chrono::milliseconds patience)
    : bus(bus), chordFor(std::move(chordFor)), unknown(unknown), patience(patience)
{
}

PasteChord AccessibleFocus::pasteChord()
{
    return focused ? chordFor(focused->executable, focused->programName) : unknown.pasteChord();
}

std::optional<std::uint64_t> AccessibleFocus::window()
{
    if (!focused) {
        return std::nullopt;
    }
    return std::hash<std::string>()(focused->id);
}

void AccessibleFocus::look(std::function<void()> found)
{
    waiting.push_back(std::move(found));
    if (!bus.get()) {
        take(std::nullopt);
        return;
    }
    search = std::make_unique<ActiveWindowSearch>(
        *bus.get(), patience, [this](const std::optional<ActiveWindow>& window) { take(window); });
}

void AccessibleFocus::take(const std::optional<ActiveWindow>& found)
{
    focused = found;
    if (search) {
        search->abandon();
        search.release()->deleteLater(); // it may be the one that tells
    }
    for (const auto& each : std::exchange(waiting, {})) {
        each();
    }
}

} // namespace vorlin
