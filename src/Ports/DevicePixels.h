#pragma once

#include "Ports/Geometry.h"

namespace vorlin {

/// How points become device pixels: y grows downwards there.
struct DeviceSpace {
    /// The y, in points, of the upper edge of the device's first row.
    double top = 0;
    /// Device pixels per point.
    double scale = 1;
};

/// A rectangle of whole device pixels; (x, y) is its top left corner.
struct DeviceRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const DeviceRect&) const = default;
};

/// Each edge of `frame` flipped once to y-down, scaled, then rounded to the nearest pixel, half
/// up (towards larger device coordinates). Width and height are the differences of the rounded
/// edges. What no int can hold becomes the nearest that one can.
DeviceRect devicePixels(const Rect& frame, const DeviceSpace& space);

} // namespace vorlin
