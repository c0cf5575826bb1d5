#pragma once

#include "Ports/Random.h"

namespace vorlin {

/// Chance that counts upwards.
class FakeRandom final : public Random {
public:
    std::uint64_t next = 0xFFFFFFFF00000001;
    std::uint64_t bits() override { return next++; }
};

} // namespace vorlin
