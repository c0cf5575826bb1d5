#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>

namespace standins {

/// What the system refuses.
struct Events {
    bool refusesTaps = false;
    /// Calls back without the data that a tap was made with.
    bool forgetsUserInfo = false;
    bool refusesPortSources = false;
    bool refusesSources = false;
    bool refusesKeysDown = false;
    bool refusesKeysUp = false;
    /// How many sources were made.
    long sources = 0;
};
Events& events();

/// An event as the keyboard makes it; CFRelease() it.
CGEventRef _Nonnull keyEvent(std::int64_t keyCode, CGEventFlags flags,
                             bool autorepeat = false) CF_RETURNS_RETAINED;

/// What becomes of an event that reaches the taps of the session.
enum class Fate {
    /// No tap saw it: none is enabled, valid, and watched by the main run loop.
    unseen,
    passedOn,
    swallowed,
    /// The tap answered with an event that it was not given.
    exchanged,
};

/// Sends `event` to the tap that was made last, on the thread that calls.
Fate send(CGEventType type, CGEventRef _Nullable event);

} // namespace standins
