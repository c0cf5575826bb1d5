#pragma once

#include "MIL/Tensor.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vorlin::mil {

/// Which elements of a dense tensor a sparse form stores: one bit each, the lowest first. Knows
/// how many are set before any place, at the cost of four bytes for every 512 bits.
class Mask {
public:
    Mask(const std::byte* bits, std::int64_t count);

    std::int64_t size() const { return count; }
    /// Whether the other one reads the same memory.
    bool sameBits(const Mask& other) const { return bits == other.bits && count == other.count; }
    /// Bits set in all, and before a place.
    std::int64_t ones() const { return static_cast<std::int64_t>(total); }
    std::int64_t onesBefore(std::int64_t place) const;
    bool at(std::int64_t place) const
    {
        return packedBits(bits, 1, static_cast<std::uint64_t>(place)) != 0;
    }
    /// Writes the places of the set bits number [first, first + count).
    void places(std::int64_t first, std::int64_t count, std::int64_t* out) const;

private:
    const std::byte* bits;
    std::int64_t count;
    std::vector<std::uint32_t> before; // each block
    std::uint32_t total = 0;
};

} // namespace vorlin::mil
