#pragma once

#include "MIL/Graph/Call.h"

#include <array>

namespace vorlin::mil {

/// One axis of a slice: `length` elements from `start` on, `step` apart.
struct SliceAxis {
    std::int64_t start = 0;
    std::int64_t step = 1;
    std::int64_t length = 0;
    bool squeezed = false;
};

/// What `begin`, `end`, `stride` and the three masks select from a tensor of shape `x`:
/// Python's slices, where a squeezed axis takes the one index at `begin` whatever `end` and
/// `stride` hold.
struct Slice {
    std::array<SliceAxis, Extents::maximumRank> axes{};
    std::size_t rank = 0;

    Slice(const Call& call, const Shape& x);

    /// The shape without squeezed axes, and the extents with them (as 1).
    Shape shape() const;
    Extents extents() const;
    /// The flat offset of the first element, and the strides, in a dense tensor of shape `x`.
    std::int64_t offset(const Extents& dense) const;
    Extents strides(const Extents& dense) const;
};

} // namespace vorlin::mil
