#pragma once

#include <cstdint>

namespace vorlin::mil {

/// out[i * outStride + j] = in[j * inStride + i] for i < rows, j < columns, of two-byte elements.
void transposeShorts(const std::uint16_t* in, std::int64_t inStride, std::int64_t rows,
                     std::int64_t columns, std::uint16_t* out, std::int64_t outStride);

} // namespace vorlin::mil
