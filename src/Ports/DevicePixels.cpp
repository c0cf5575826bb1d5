#include "Ports/DevicePixels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace vorlin {

namespace {

/// The nearest whole number, half up, that an int can hold.
int nearestPixel(double value)
{
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    const double below = std::floor(value);
    const double nearest = value - below >= 0.5 ? below + 1 : below;
    if (!(nearest > lowest)) {
        return std::isnan(nearest) ? 0 : std::numeric_limits<int>::min();
    }
    return static_cast<int>(std::min(nearest, highest));
}

int distance(int from, int to)
{
    const std::int64_t exact = std::int64_t{to} - from;
    return static_cast<int>(std::min<std::int64_t>(exact, std::numeric_limits<int>::max()));
}

} // namespace

DeviceRect devicePixels(const Rect& frame, const DeviceSpace& space)
{
    const int left = nearestPixel(frame.minX() * space.scale);
    const int right = nearestPixel(frame.maxX() * space.scale);
    const int upper = nearestPixel((space.top - frame.maxY()) * space.scale);
    const int lower = nearestPixel((space.top - frame.minY()) * space.scale);
    return {left, upper, distance(left, right), distance(upper, lower)};
}

} // namespace vorlin
