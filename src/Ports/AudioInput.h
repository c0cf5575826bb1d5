#pragma once

#include "Async/Completion.h"
#include "Audio/PCMBuffer.h"

#include <cstdint>
#include <functional>
#include <string>

namespace vorlin {

/// The default microphone, in its own rate and channels as float32. One capture at a time.
/// Main loop, except for `Tap`.
class AudioInput {
public:
    /// Receives each captured buffer, in order, on the capture thread; must not block. Buffers
    /// hold `bufferFrames` frames; only the last ones of a capture may differ.
    using Tap = std::function<void(const PCMBuffer&)>;
    /// Receives the one-line text of a failure that ended a running capture; main loop.
    using OnFailure = std::function<void(const std::string&)>;

    static constexpr std::uint32_t bufferFrames = 2048;

    virtual ~AudioInput() = default;

    /// Starts capturing into `tap`. Completes when the device is running; fails with a
    /// `std::runtime_error` whose text a person can read. A capture that breaks later calls
    /// `onFailure` once and delivers no more buffers.
    virtual Completion<Done> start(Tap tap, OnFailure onFailure) = 0;

    /// Ends the capture. Before it completes, `tap` receives everything recorded until this call
    /// (the last buffer may be short) and then enough silence for a converter to give up the
    /// tail it withholds. After it `tap` is never called. Without a capture it completes at once.
    virtual Completion<Done> stop() = 0;

    /// Ends the capture, or a start still under way, and drops what it holds. `tap` is not
    /// called after this returns; a pending start is abandoned.
    virtual void drop() = 0;
};

} // namespace vorlin
