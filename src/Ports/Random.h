#pragma once

#include <cstdint>

namespace vorlin {

/// Chance.
class Random {
public:
    virtual ~Random() = default;

    /// 64 bits, each as likely 0 as 1. Any thread.
    virtual std::uint64_t bits() = 0;
};

} // namespace vorlin
