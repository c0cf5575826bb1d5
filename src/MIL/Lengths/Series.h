#pragma once

#include "MIL/Extents.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vorlin::mil {

/// A number at each of the lengths that are solved for, in their order.
using Series = std::vector<std::int64_t>;

/// Which part of an axis is left at each length.
struct Window {
    Series starts;
    Series extents;

    friend bool operator==(const Window&, const Window&) = default;
};

/// The first elements of an axis.
Window prefixWindow(const Series& extents);

/// A tensor's shape at the full length and at each of the others.
struct ShapeSeries {
    Shape full;
    std::span<const Shape> shapes;

    bool varies(std::size_t axis) const;
    Series series(std::size_t axis) const;
};

/// What a number that a program states becomes at each length. Nothing: no rule fits, or two
/// that differ.
using Solution = std::optional<Series>;

/// The list of extents that a reshape gives to `x`: each stays, or follows an axis that varies or
/// a product of two, or a multiple or a whole part of that. An entry may be -1; zeros stand for
/// what `zeros` has there. The element counts decide; nothing unless exactly one list fits at every
/// length.
std::optional<std::vector<Series>> solveReshape(const ShapeSeries& x, const Extents& list,
                                                const std::vector<Series>& zeros);

/// A bound or size within an axis that varies, in [0, extent]: it stays, keeps its distance from
/// the end, is the extent of another axis that varies, or lies in the middle.
Solution solveBound(const ShapeSeries& x, std::size_t axis, std::int64_t bound);

} // namespace vorlin::mil
