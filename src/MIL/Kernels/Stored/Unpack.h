#pragma once

#include "MIL/Tensor.h"

#include <cstdint>

namespace vorlin::mil
{

/// Elements [first, first + count) of a tensor of integers of at most 8 bits.
void unpackNumbers(const TensorView& tensor, std::int64_t first, std::int64_t count, float* out);

/// out[i] = palette[index first + i of a stream of `bits`-wide ones]. Every index of that width
/// must have an entry.
void lookUp(const std::byte* stream, std::size_t bits, std::int64_t first, std::int64_t count,
            const float* palette, std::int64_t entries, float* out);

} // namespace vorlin::mil
