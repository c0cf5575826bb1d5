#pragma once

#include "Ports/Geometry.h"

namespace vorlin {

/// A rectangle in an area of this height, whose y grows downwards from the upper edge to its own
/// upper edge, as one whose y grows upwards from the lower edge.
constexpr Rect flipped(const Rect& downwards, double height)
{
    return {downwards.x, height - downwards.y - downwards.height, downwards.width,
            downwards.height};
}

} // namespace vorlin
