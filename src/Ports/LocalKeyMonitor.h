#pragma once

#include "Ports/EventTap.h"

#include <functional>
#include <optional>
#include <string>

namespace vorlin {

/// The keys of our own window for one short while, so that a person can press the key to be used.
/// Where the desktop would otherwise see them first it has the whole keyboard: nobody else sees a
/// key then, whatever the handler answers. The event tap should be stopped. Main loop.
class LocalKeyMonitor {
public:
    /// Receives each key that goes down (`keyDown`, no autorepeat) and each modifier key that
    /// changes (`flagsChanged`), as an event tap tells them. Keys held at the start are told of
    /// only once they were let go; in `flags` they count. Answers whether the event is used up: one
    /// that is not goes on to the window, where others see keys at all. May call `stop`.
    using Handler = std::function<bool(KeyEventType, const KeyEvent&)>;

    virtual ~LocalKeyMonitor() = default;

    /// Begins; a monitoring that is under way is replaced. Returns nothing when it has begun, or
    /// one line for the person on why it cannot. `onEnd` is called once, from the loop, when it
    /// ends by itself: the window that had the focus loses it or goes, 30 s have passed where it
    /// takes the keyboard from others, or the desktop is gone. Neither is called after `stop`.
    virtual std::optional<std::string> start(Handler handler, std::function<void()> onEnd) = 0;

    /// Ends it; safe when nothing is under way. Keys still held that were told of stay swallowed
    /// until they are let go, and so start nothing.
    virtual void stop() = 0;
};

} // namespace vorlin
