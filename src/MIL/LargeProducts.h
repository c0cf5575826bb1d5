#pragma once

#include <cstdint>
#include <string>

namespace vorlin::mil {

/// What products of constant weights with several columns are computed in: the linear operations
/// and convolutions of an encoder, but not a step of an LSTM.
enum class LargeProducts : std::uint8_t {
    singlePrecision,
    /// 8 bits, exactly summed: weights and each frame's activations rounded to 255 steps. Faster
    /// where the processor multiplies such numbers, and less exact.
    integers,
};

/// What multiplies such integers in this process, for people: "AVX-512 VNNI".
std::string describeIntegers();

} // namespace vorlin::mil
