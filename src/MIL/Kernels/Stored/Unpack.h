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

/// Indices looked up together: as many as the widest vector has bytes.
constexpr std::int64_t mostTogether = 64;

/// A palette of at most 64 numbers that half precision holds exactly, in the forms that vector
/// lookups take.
struct HalfPalette {
    std::array<std::uint16_t, 64> whole{};
    std::array<std::uint8_t, 64> low{}; // its low bytes
    std::array<std::uint8_t, 64> high{};
};

/// A palette of up to 256 numbers.
class PaletteTable {
public:
    /// `count` entries; the rest is never looked up.
    PaletteTable(const float* entries, std::int64_t count);

    const float* entries() const { return numbers.data(); }
    /// Null if the palette has no such form.
    const HalfPalette* asHalves() const { return exact ? &palette : nullptr; }

private:
    std::vector<float> numbers;
    HalfPalette palette;
    bool exact = false;
};

/// out[i] = entry index[first + i], where the indices are a little-endian stream of `bits`-wide
/// numbers, every one of which has an entry.
void lookUp(const std::byte* stream, std::size_t bits, std::int64_t first, std::int64_t count,
            const PaletteTable& palette, float* out);

/// out[i] = entries[index[first + i]], where indices have at most six bits and `entries` all of
/// `mostTogether`.
void lookUpBytes(const std::byte* stream, std::size_t bits, std::int64_t first, std::int64_t count,
                 const std::uint8_t* entries, std::uint8_t* out);

} // namespace vorlin::mil
