#pragma once

#include "MIL/Graph/Call.h"

#include <array>
#include <cstddef>

namespace vorlin::mil {

/// Strides in elements of a dense row-major tensor.
Extents denseStrides(const Shape& shape);

/// A block of elements to copy from one layout to another: for every index in `extents`,
/// out[sum(index * outStrides)] = in[sum(index * inStrides)]. Strides may be zero or negative on
/// the reading side.
struct StridedCopy {
    Extents extents;
    const std::byte* in = nullptr;
    Extents inStrides;
    std::byte* out = nullptr;
    Extents outStrides;
    std::size_t elementBytes = 1; // 1, 2, 4 or 8
};

/// Copies on the call's threads. Axes that both sides cross evenly are merged, and a pair of
/// axes that changes order is copied in tiles that fit the cache.
void copyStrided(const Call& call, const StridedCopy& copy);

namespace reference {
/// The same, element by element.
void copyStrided(const StridedCopy& copy);
} // namespace reference

} // namespace vorlin::mil
