#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace vorlin {

/// Where a program takes the text it pastes from.
enum class PasteSource {
    /// What the person copied.
    clipboard,
    /// What the person selected last; X11 only.
    primarySelection,
};

/// What makes a program paste.
struct PasteChord {
    /// As in `Hotkey`.
    std::uint16_t keyCode = 0;
    /// As in `Hotkey`.
    std::uint64_t modifiers = 0;
    PasteSource source = PasteSource::clipboard;
    /// Whether what is pasted is typed into a terminal, where a line break may run a command and
    /// other control characters are keys.
    bool typesIntoTerminal = false;
    /// Whether it pastes only once it has looked what there is to be pasted, which it does as soon
    /// as something is copied.
    bool looksFirst = false;
    /// Whether its windows are mostly such that take no text, so that one that was not read at once
    /// was read by nobody.
    bool takesRarely = false;

    bool operator==(const PasteChord&) const = default;
};

/// The program that has the keyboard focus.
class FocusedProgram {
public:
    virtual ~FocusedProgram() = default;

    /// The chord that pastes there; the desktop's usual one when the program is not known.
    /// Main loop; returns within a few milliseconds.
    virtual PasteChord pasteChord() = 0;

    /// Whether `pasteChord` knows the program wherever the focus is now. Where it does not, what it
    /// gives may be another chord than the program's own. Main loop.
    virtual bool isKnown() const { return true; }

    /// A number of the focused window, its own for as long as it exists; nothing where no window
    /// has the focus, or the desktop does not tell. Main loop; as quick.
    virtual std::optional<std::uint64_t> window() { return std::nullopt; }

    /// Finds out anew what the others say, where the desktop does not keep that current, and calls
    /// `found` once: inside the call where it does, else from the loop, within 100 ms or so. Main
    /// loop.
    virtual void look(std::function<void()> found) { found(); }
};

} // namespace vorlin
