#pragma once

#include "MIL/Half.h"
#include "MIL/SumVectors.h"

#include <cstdint>

namespace vorlin::mil {

/// Rows that `DotKernels::rowsOfHalves` takes at once.
constexpr std::int64_t dotRows = 8;

/// Sums of x[k] y[k] for k < count, in single precision, in several partial sums: the products
/// with few columns. The error is at most (count + 2) 2^-24 times the sum of the terms'
/// magnitudes.
struct DotKernels {
    /// Of the vectors they sum in.
    std::int64_t bits;
    float (*floats)(const float* x, const float* y, std::int64_t count);
    float (*halves)(const Half* x, const float* y, std::int64_t count);
    /// The latter for `dotRows` rows of x, `rowStride` halves apart: sums[i * sumStride].
    void (*rowsOfHalves)(const Half* x, std::int64_t rowStride, const float* y, std::int64_t count,
                         float* sums, std::int64_t sumStride);
};

/// What a processor says of itself that decides on its sums.
struct ProcessorTraits {
    /// AMD's family 19h: Zen 3, and Zen 4.
    bool isFamily19h = false;
    /// It computes vectors of 512 bits.
    bool hasWidestVectors = false;
};

/// The vectors that fit such a processor, never `fitting`: narrow ones where the widest are
/// computed in two halves.
SumVectors fittingVectors(const ProcessorTraits& processor);

/// Those of this processor.
const DotKernels& dotKernels(SumVectors wanted);

} // namespace vorlin::mil
