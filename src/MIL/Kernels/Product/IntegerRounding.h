#pragma once

#include <cstdint>

namespace vorlin::mil {

// Numbers rounded to 255 steps of a scale: q = x / scale to the nearest integer, ties to even, with
// scale = the largest magnitude / 127.

/// The scale of some numbers.
struct StepSize {
    float scale = 0;
    /// What numbers are multiplied with to be rounded; 0 where nothing is left of them.
    float inverse = 0;
};

/// Of numbers whose largest magnitude this is: nothing is left of those below 2^-100, and what is
/// not finite makes the scale not-a-number.
StepSize stepSize(float largest);

/// The largest magnitude; infinity, or not-a-number, where there is one. 0 of none.
float largestMagnitude(const float* values, std::int64_t count);

/// largest[j] = the largest magnitude of rows[k * stride + j] over k < rows, for j < columns.
void largestOfColumns(const float* rows, std::int64_t stride, std::int64_t count,
                      std::int64_t columns, float* largest);

/// The sum of at most 2^24 integers.
std::int32_t sumOfBytes(const std::int8_t* numbers, std::int64_t count);

/// out[i] = values[i] * inverse to the nearest integer, plus `zero`, in 8 bits. Returns the sum of
/// the integers, without the zeros.
std::int32_t roundToBytes(const float* values, std::int64_t count, float inverse, std::int32_t zero,
                          std::uint8_t* out);

/// The same of columns, each with its own inverse, in fours: out[k / 4 * width * 4 + j * 4 + k % 4]
/// is that of rows[k * stride + j], for k < count, j < columns. Zeros fill the last four.
/// `out` is aligned to fours. sums[j] becomes the sum of the integers of a column.
void roundToFours(const float* rows, std::int64_t stride, std::int64_t count, std::int64_t columns,
                  const float* inverses, std::int32_t zero, std::uint8_t* out, std::int64_t width,
                  std::int32_t* sums);

/// What has to be known of a row of integer sums to make numbers of it.
struct SummedRow {
    std::int32_t excess = 0; // of each sum
    std::int32_t offset = 0; // of the row's integers
    float scale = 0;
};

/// out[j] = (sums[j] - excess - offset * columnSums[j]) * columnScales[j] * scale, rounded after
/// each of the last two products.
void scaleSums(const std::int32_t* sums, std::int64_t count, const SummedRow& row,
               const std::int32_t* columnSums, const float* columnScales, float* out);

} // namespace vorlin::mil
