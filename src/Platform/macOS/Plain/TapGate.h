#pragma once

#include "Ports/AudioInput.h"

#include <mutex>
#include <utility>

namespace vorlin {

/// Lets a capture thread call a tap, until it is closed on the main loop.
class TapGate {
public:
    explicit TapGate(AudioInput::Tap tap) : tap(std::move(tap)) {}

    /// Calls the tap, unless it is closed. Capture thread.
    void deliver(const PCMBuffer& buffer)
    {
        const std::scoped_lock guard(lock);
        if (tap) {
            tap(buffer);
        }
    }

    /// Destroys the tap, which is not called after this returns. Waits for the end of a call that
    /// is under way. Not from inside the tap.
    void close()
    {
        AudioInput::Tap closed;
        const std::scoped_lock guard(lock);
        closed.swap(tap);
    }

private:
    /// Held while the tap is called: `close` must wait for it.
    std::mutex lock;
    AudioInput::Tap tap;
};

} // namespace vorlin
