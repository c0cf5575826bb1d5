#pragma once

#include <cstdint>
#include <string>

namespace vorlin::mil {

/// What products of constant weights with several columns are computed in: the linear operations
/// and convolutions of an encoder, but not a step of an LSTM.
enum class LargeProducts : std::uint8_t {
    singlePrecision,
    /// 8 bits, exactly summed: weights and each frame's activations rounded to 255 steps. Faster,
    /// and less exact; in single precision where the processor does not multiply such integers.
    integers,
};

/// What multiplies such integers in this process, for people: "AVX-512 VNNI"; empty where nothing
/// does.
std::string describeIntegers();

} // namespace vorlin::mil
