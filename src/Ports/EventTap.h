#pragma once

#include "Async/Published.h"
#include "Hotkey.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace vorlin {

/// The numbers are those of Quartz event types.
enum class KeyEventType : std::uint32_t {
    keyDown = 10,
    keyUp = 11,
    flagsChanged = 12,
    tapDisabledByTimeout = 0xFFFFFFFE,
    tapDisabledByUserInput = 0xFFFFFFFF,
};

/// One key event. Codes and flags are those of `Hotkey` on every desktop.
struct KeyEvent {
    /// Virtual key code; a modifier key's own code for `flagsChanged`.
    std::int64_t keyCode = 0;
    /// The modifiers held after the event, as event flags.
    std::uint64_t flags = 0;
    bool autorepeat = false;
    /// When it happened, by the desktop's clock, of which nothing else is known; none where that is
    /// not told.
    std::optional<std::chrono::milliseconds> time = {};
};

/// What a tap will be asked to swallow, for display servers that must know beforehand.
struct KeyInterest {
    /// The dictation key, while the tap is watched.
    std::optional<Hotkey> hotkey;
    /// Escape, with any modifiers, while a dictation runs.
    bool escape = false;

    bool operator==(const KeyInterest&) const = default;
};

/// What of the keys of interest cannot be had.
enum class KeyConflict {
    none,
    /// Another program has taken the hotkey's key.
    hotkeyTaken,
    /// Another program uses the hotkey, too; it is ours all the same.
    hotkeyShared,
    /// No key of this keyboard is the hotkey's.
    hotkeyMissing,
    /// The desktop would have to ask the person for the hotkey first, or was told no.
    hotkeyUnasked,
    /// Another program has taken Escape.
    escapeTaken,
    /// As `hotkeyUnasked`, of Escape.
    escapeUnasked,
    /// The desktop does not let Escape be watched.
    escapeUnwatched,
    /// The desktop shows its keys to no program, Escape neither.
    unwatched,
};

/// What a tap can tell of a key.
enum class KeyWatch { nothing, presses, pressesAndReleases };

/// The keyboard of the whole desktop, before any program sees it. Main loop.
class EventTap {
public:
    /// Answers whether to swallow the event. Called on the main loop; must be quick: the keyboard
    /// may wait for it.
    using Handler = std::function<bool(KeyEventType, const KeyEvent&)>;

    EventTap() = default;
    EventTap(const EventTap&) = delete;
    EventTap& operator=(const EventTap&) = delete;
    virtual ~EventTap() = default;

    /// Starts watching. Returns false when the platform does not allow it.
    virtual bool start(Handler handler) = 0;

    /// Stops watching and gives back whatever was grabbed. Safe when not running.
    virtual void stop() = 0;

    /// Goes on after the platform switched the tap off.
    virtual void enable() = 0;

    /// Which key is the dictation key, also while nothing is watched: what keeps it from being of
    /// use is told from now on.
    virtual void choose(const Hotkey& /*hotkey*/) {}

    /// Tells what may be swallowed from now on. Lone modifiers are only ever watched.
    virtual void setInterest(const KeyInterest& interest) = 0;

    /// Whether a modifier key is one that types other characters while it is held (AltGr) in a
    /// layout that the person has set up.
    virtual bool typesCharacters(std::uint16_t keyCode) = 0;

    /// What is told of `hotkey` while it is watched, also before that.
    virtual KeyWatch watchable(const Hotkey& /*hotkey*/) const
    {
        return KeyWatch::pressesAndReleases;
    }

    /// Whether the release of a key that is held may never be told, so that a hold needs limits.
    virtual bool losesReleases() const { return false; }

    /// None while the tap is stopped, but for what keeps it from being of use.
    const Published<KeyConflict, EventTap>& conflict() const { return refusal; }

    /// What triggers the hotkey, in the words of a desktop that may have been told to take another
    /// key; else empty.
    const Published<std::string, EventTap>& trigger() const { return triggered; }

    /// How often the layout may have become another one, or the keyboard, while the tap ran, or
    /// what the desktop tells of keys: what `typesCharacters` and `watchable` answer may differ
    /// from then on.
    const Published<std::size_t, EventTap>& layoutChanges() const { return changes; }

protected:
    void setConflict(KeyConflict next) { refusal.set(next); }
    void setTrigger(std::string next) { triggered.set(std::move(next)); }
    void noteLayoutChange() { changes.set(changes.get() + 1); }

private:
    Published<KeyConflict, EventTap> refusal{KeyConflict::none};
    Published<std::string, EventTap> triggered;
    Published<std::size_t, EventTap> changes;
};

} // namespace vorlin
