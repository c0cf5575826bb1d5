#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Platform/Linux/Audio/PulseContext.h"
#include "Ports/AudioInput.h"

#include <memory>

namespace vorlin {

class PulseCapture;
class TapGate;

/// The desktop's default source, through PulseAudio or PipeWire. The sound thread is the capture
/// thread. No stream exists but between a start and the end of its capture.
///
/// A start takes 7 s at most (2 s for the server, 5 s for the microphone), a stop 5 s, whatever the
/// server does. A capture that breaks still
/// delivers what it holds and the silence of a stop, before its failure is told. A start drops
/// the capture before it, and a stop before the start has completed drops that start. Rates
/// outside of 8 to 192 kHz are captured at the nearest within.
class PulseAudioInput final : public AudioInput {
public:
    /// Both outlive it; `loop` also outlives `context`.
    PulseAudioInput(PulseContext& context, MainLoop& loop);
    PulseAudioInput(const PulseAudioInput&) = delete;
    PulseAudioInput& operator=(const PulseAudioInput&) = delete;
    ~PulseAudioInput() override;

    /// The tap may take no lock that the main loop holds while it calls `start`, `drop`.
    Completion<Done> start(Tap tap, OnFailure onFailure) override;
    Completion<Done> stop() override;
    void drop() override;

private:
    /// The capture under way, as the main loop sees it.
    struct Current;
    enum class Event { started, failed, stopped };

    /// What the capture numbered `number` tells the main loop.
    void happened(std::uint64_t number, Event event, const std::string& reason);
    /// Forgets the capture, whose tap is not called any more.
    std::unique_ptr<Current> take();

    PulseContext& context;
    MainLoop& loop;
    std::unique_ptr<Current> current;
    std::uint64_t captures = 0;
    Lifetime lifetime;
};

} // namespace vorlin
