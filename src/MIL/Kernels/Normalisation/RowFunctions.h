#pragma once

#include <cstdint>

namespace vorlin::mil {

/// Replaces a row by its softmax: e^(x - max) / sum e^(x - max). Width at least 1. The fast one
/// subtracts in single precision: an element differs from the reference by at most
/// 8 + width / 16 + |x - max| units in the last place.
void softmaxRow(float* row, std::int64_t width);

/// Replaces a row by (x - mean) / sqrt(variance + epsilon), the variance over `width`, times
/// gamma plus beta where they are not null.
void normaliseRow(float* row, std::int64_t width, double epsilon, const float* gamma,
                  const float* beta);

namespace reference {
void softmaxRow(float* row, std::int64_t width);
void normaliseRow(float* row, std::int64_t width, double epsilon, const float* gamma,
                  const float* beta);
} // namespace reference

} // namespace vorlin::mil
