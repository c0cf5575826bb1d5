#pragma once

#include "MIL/Tensor.h"

#include <array>
#include <cstdint>
#include <vector>

namespace vorlin::mil {

/// Elements [first, first + count) of a tensor of integers of at most 8 bits.
void unpackNumbers(const TensorView& tensor, std::int64_t first, std::int64_t count, float* out);

/// values[i] = (values[i] - offset) * scale, rounded to half precision if `toHalf`.
void shiftAndScale(float* values, std::int64_t count, float offset, float scale, bool toHalf);
/// The same with an offset (unless null) and a scale for each element.
void shiftAndScaleEach(float* values, std::int64_t count, const float* offsets, const float* scales,
                       bool toHalf);

/// A palette of up to 256 numbers, also in the form that vector lookups take: the low and the
/// high bytes of its entries in half precision, if all of them have one.
class PaletteTable {
public:
    /// `count` entries; the rest is never looked up.
    PaletteTable(const float* entries, std::int64_t count);

    const float* entries() const { return numbers.data(); }
    bool asHalves() const { return halves; }
    const std::uint8_t* lowBytes() const { return low.data(); }
    const std::uint8_t* highBytes() const { return high.data(); }

private:
    std::vector<float> numbers;
    static constexpr std::size_t mostHalves = 64;
    std::array<std::uint8_t, mostHalves> low{};
    std::array<std::uint8_t, mostHalves> high{};
    bool halves = false;
};

/// out[i] = entry index[first + i], where the indices are a little-endian stream of `bits`-wide
/// numbers, every one of which has an entry.
void lookUp(const std::byte* stream, std::size_t bits, std::int64_t first, std::int64_t count,
            const PaletteTable& palette, float* out);

} // namespace vorlin::mil
