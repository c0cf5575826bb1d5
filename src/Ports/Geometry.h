#pragma once

namespace vorlin {

/// A place on the desktop in points: x grows to the right, y grows upwards.
struct Point {
    double x = 0;
    double y = 0;

    bool operator==(const Point&) const = default;
};

/// A rectangle in points; (x, y) is its bottom left corner.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double midX() const { return x + width / 2; }
    double maxX() const { return x + width; }
    double minY() const { return y; }
    double midY() const { return y + height / 2; }
    double maxY() const { return y + height; }

    bool operator==(const Rect&) const = default;
};

} // namespace vorlin
