#pragma once

#include "Ports/Sounds.h"

namespace vorlin {

/// The system's own sounds.
class MacSounds final : public Sounds {
public:
    void play(const std::string& name) override;
};

} // namespace vorlin
