#pragma once

#include "Platform/Linux/Audio/PulseContext.h"
#include "Ports/Sounds.h"

#include <memory>

namespace vorlin {

/// The program's own sounds, through the sound server's default sink. Sounds overlap.
///
/// To wake a loudspeaker can hold a server up for a while. So a sound lets a capture go first
/// that starts within 50 ms.
class PulseSounds final : public Sounds {
public:
    /// `context` outlives it.
    explicit PulseSounds(PulseContext& context);
    PulseSounds(const PulseSounds&) = delete;
    PulseSounds& operator=(const PulseSounds&) = delete;
    /// Sounds that are still playing are cut.
    ~PulseSounds() override;

    void play(const std::string& name) override;

private:
    class Player;
    PulseContext& context;
    /// Used and destroyed on the sound thread.
    std::shared_ptr<Player> player;
};

} // namespace vorlin
