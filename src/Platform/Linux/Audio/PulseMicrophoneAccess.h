#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Published.h"
#include "Platform/Linux/Audio/PulseContext.h"

namespace vorlin {

/// Whether there is a microphone that this process may record from: a default source of a sound
/// server that accepts it. Kept by the server's events: asking costs nothing. Main loop.
class PulseMicrophoneAccess {
public:
    /// Both outlive it; `loop` also outlives `context`.
    PulseMicrophoneAccess(PulseContext& context, MainLoop& loop);
    PulseMicrophoneAccess(const PulseMicrophoneAccess&) = delete;
    PulseMicrophoneAccess& operator=(const PulseMicrophoneAccess&) = delete;
    ~PulseMicrophoneAccess();

    /// False until the server has answered.
    const Published<bool, PulseMicrophoneAccess>& granted() const { return isGranted; }

    /// Whether the server has answered.
    bool answered() const { return hasAnswered; }

private:
    PulseContext& context;
    Published<bool, PulseMicrophoneAccess> isGranted;
    bool hasAnswered = false;
    /// Of the sound thread; its content is.
    std::shared_ptr<Subscription> sourceWatch;
    Lifetime lifetime;
};

} // namespace vorlin
