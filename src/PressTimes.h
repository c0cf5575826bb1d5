#pragma once

#include "Async/MainLoop.h"

#include <chrono>
#include <optional>

namespace vorlin {

/// When the events of one key came, of which a release may never be told. Tells a press of a key
/// that still counts as down, so that its release was lost, from a bounce and from a repeat.
class PressTimes {
public:
    /// When something happened by the desktop's clock, where it tells.
    using Told = std::optional<std::chrono::milliseconds>;

    /// An event of the key came now. Returns whether it is 1 s or more after the one before, or
    /// the first: by the desktop's clock where both were told by it, since events that this program
    /// was too busy for come all at once.
    bool note(TimePoint now, Told told = {});

private:
    struct Event {
        TimePoint came;
        Told told;
    };

    std::optional<Event> latest;
};

/// A key that the person bound in the desktop: each of its events is told by a process of its own,
/// and the one of a short tap's release may overtake that of its press.
class BoundKey {
public:
    /// What a press means.
    enum class Press {
        /// The key goes down.
        begins,
        /// It counts as down, and this is the person again.
        again,
        /// It counts as down: a bounce, or a repeat.
        repeats,
        /// It is up: its release was told before it.
        tap,
    };

    Press press(TimePoint now);
    /// Returns whether it counted as down.
    bool release(TimePoint now);
    /// Whether a press that only toggles is the person's, and no bounce or repeat.
    bool toggle(TimePoint now) { return times.note(now); }
    /// It does not count as down any more. Returns whether it did.
    bool letGo();

private:
    PressTimes times;
    bool isDown = false;
    /// A release that no press came before.
    std::optional<TimePoint> early;
};

} // namespace vorlin
