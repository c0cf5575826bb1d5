#pragma once

#include "Platform/Linux/Audio/CaptureBuffers.h"
#include "Platform/Linux/Audio/PulseContext.h"
#include "Platform/Linux/Audio/PulseStream.h"
#include "Ports/AudioInput.h"

#include <pulse/sample.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace vorlin {

/// A tap that can be closed from another thread than the one that it is called on.
class TapGate {
public:
    explicit TapGate(AudioInput::Tap tap) : tap(std::move(tap)) {}

    /// Calls the tap, unless it is closed. Capture thread.
    void deliver(const PCMBuffer& buffer);

    /// Destroys the tap, which is not called after this returns. Waits for the end of a call that
    /// is under way. Not from inside the tap.
    void close();

private:
    /// Held while the tap is called: `close` must wait for it. So the tap may take no lock that
    /// the caller of `close` holds.
    std::mutex lock;
    AudioInput::Tap tap;
};

/// One capture from the default source, from its start to its end. Sound thread.
///
/// It keeps itself alive between `begin` and the last of its events or `end`.
class PulseCapture : public std::enable_shared_from_this<PulseCapture> {
public:
    /// What became of the capture; called on the sound thread. After `failed` or `stopped`
    /// nothing else comes.
    struct Events {
        std::function<void()> started;
        std::function<void(const std::string& reason)> failed;
        std::function<void()> stopped;
    };

    PulseCapture(PulseContext& context, std::shared_ptr<TapGate> tap, Events events);

    /// Starts as soon as the default source is known.
    void begin();

    /// Ends with everything recorded until now, and then silence for a converter's tail.
    void stop();

    /// Ends at once; no event comes any more.
    void end();

private:
    enum class Phase { waiting, opening, recording, stopping, ended };

    void sourceChanged();
    void open(const DefaultSource& source);
    void streamChanged();
    void suspensionChanged();
    void read();
    void targetAnswered(bool success);
    /// Fails after `time`, unless the phase ends before.
    void failAfter(Duration time, const std::string& reason);
    void watchForStall();
    void fail(const std::string& reason);
    void finish();
    /// Delivers what waits in the last buffer, and the silence.
    void deliverRest();
    void close();

    PulseContext& context;
    std::shared_ptr<TapGate> tap;
    Events events;
    std::shared_ptr<PulseCapture> self;
    Phase phase = Phase::waiting;
    /// How long the phase may last.
    Timer limit;
    Timer suspended;
    Subscription sourceWatch;
    Subscription removalWatch;
    std::shared_ptr<const void> othersHeld;
    PulseStream stream;
    std::optional<CaptureBuffers> buffers;
    pa_sample_spec format = {};
    std::uint64_t bytesRead = 0;
    /// When the last of them came.
    TimePoint lastRead;
    /// How far to read after a stop: at least, and once the server has answered the question.
    std::uint64_t leastTarget = 0;
    std::optional<std::uint64_t> target;
    PulseOperation targetQuestion;
};

} // namespace vorlin
