#pragma once

#include "Platform/macOS/Plain/MainLoopDoor.h"
#include "Ports/AudioInput.h"

#include <memory>

namespace vorlin {

/// The system's input, through one audio engine for the object's life. Buffers come as the system
/// delivers them, and a stop adds nothing to them. A capture follows the system's choice of the
/// microphone: buffers in the new one's format follow.
class MacAudioInput final : public AudioInput {
public:
    /// `loop` must outlive this object.
    explicit MacAudioInput(MainLoop& loop);
    MacAudioInput(const MacAudioInput&) = delete;
    MacAudioInput& operator=(const MacAudioInput&) = delete;
    ~MacAudioInput() override;

    /// The tap may take no lock that the main loop holds while it calls `start`, `stop`, `drop`.
    Completion<Done> start(Tap tap, OnFailure onFailure) override;
    Completion<Done> stop() override;
    void drop() override;

private:
    struct Engine;

    /// The system chose another microphone, or gave this one another format, during this run.
    void configurationChanged(unsigned run);

    std::unique_ptr<Engine> engine;
    OnFailure onFailure;
    OwnedDoor door;
};

} // namespace vorlin
