#pragma once

#include "Ports/Random.h"

namespace vorlin {

/// The system's own source of chance.
class SystemRandom final : public Random {
public:
    std::uint64_t bits() override;
};

} // namespace vorlin
