#include "Platform/Linux/Tray/PointerPlace.h"

#include <algorithm>
#include <cmath>

namespace vorlin {

namespace {

/// How far beyond the monitor a place lies; 0 on it.
int distance(const QPoint& pixels, const ScaledScreen& screen)
{
    const auto beyond = [](int place, int first, int length) {
        return std::max({first - place, place - (first + length - 1), 0});
    };
    const auto& frame = screen.geometry;
    const auto inPixels = [&](int length) {
        return static_cast<int>(std::lround(length * screen.ratio));
    };
    return beyond(pixels.x(), frame.x(), inPixels(frame.width())) +
           beyond(pixels.y(), frame.y(), inPixels(frame.height()));
}

} // namespace

QPoint placeFromPixels(const QPoint& pixels, const QList<ScaledScreen>& screens)
{
    const auto nearest = std::ranges::min_element(
        screens, {}, [&](const ScaledScreen& screen) { return distance(pixels, screen); });
    if (nearest == screens.end()) {
        return pixels;
    }
    const auto corner = nearest->geometry.topLeft();
    return corner + (pixels - corner) / nearest->ratio;
}

} // namespace vorlin
