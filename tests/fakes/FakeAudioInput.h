#pragma once

#include "Ports/AudioInput.h"

#include <optional>
#include <stdexcept>

namespace vorlin {

/// A microphone that the test plays. Starting and stopping complete when the test says so, or
/// at once.
class FakeAudioInput final : public AudioInput {
public:
    bool completesAtOnce = true;
    std::string startFailure;
    std::string stopFailure;
    int starts = 0;
    int stops = 0;
    int drops = 0;

    Completion<Done> start(Tap newTap, OnFailure newOnFailure) override
    {
        ++starts;
        stopping = false;
        Completion<Done> started;
        pending = started.completer();
        tap = std::move(newTap);
        onFailure = std::move(newOnFailure);
        if (completesAtOnce) {
            completeStart();
        }
        return started;
    }

    Completion<Done> stop() override
    {
        ++stops;
        stopping = true;
        Completion<Done> stopped;
        pending = stopped.completer();
        if (completesAtOnce) {
            completeStop();
        }
        return stopped;
    }

    void drop() override
    {
        ++drops;
        tap = nullptr;
        onFailure = nullptr;
        pending.reset();
    }

    void completeStart()
    {
        if (startFailure.empty()) {
            take().complete({});
        } else {
            take().failWith(startFailure);
        }
    }

    void completeStop()
    {
        if (tap && tailOnStop) {
            tap(*tailOnStop);
        }
        tap = nullptr;
        onFailure = nullptr;
        if (stopFailure.empty()) {
            take().complete({});
        } else {
            take().failWith(stopFailure);
        }
    }

    /// The capture breaks.
    void fail(const std::string& message)
    {
        tap = nullptr;
        if (const auto report = std::exchange(onFailure, nullptr)) {
            report(message);
        }
    }

    /// Delivers `frames` mono frames of a constant value.
    void deliver(float value, std::uint32_t frames = bufferFrames) const
    {
        deliver(buffer(value, frames));
    }
    void deliver(const PCMBuffer& captured) const
    {
        if (tap) {
            tap(captured);
        }
    }

    static PCMBuffer buffer(float value, std::uint32_t frames, double rate = 48000)
    {
        PCMBuffer made({SampleType::float32, rate, 1, false}, frames);
        made.setFrameLength(frames);
        auto* samples = reinterpret_cast<float*>(made.plane(0).data());
        std::fill(samples, samples + frames, value);
        return made;
    }

    /// Whether no start or stop is under way.
    bool idle() const { return !pending; }

    /// Completes a start or stop that is under way.
    void completeWhatWaits()
    {
        if (pending && stopping) {
            completeStop();
        } else if (pending) {
            completeStart();
        }
    }

    bool isCapturing() const { return static_cast<bool>(tap); }
    /// What a stop delivers last.
    std::optional<PCMBuffer> tailOnStop;

private:
    Completer<Done> take()
    {
        auto completer = *pending;
        pending.reset();
        return completer;
    }

    Tap tap;
    OnFailure onFailure;
    bool stopping = false;
    std::optional<Completer<Done>> pending;
};

} // namespace vorlin
