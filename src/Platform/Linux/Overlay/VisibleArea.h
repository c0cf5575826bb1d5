#pragma once

#include <cstdint>
#include <span>

namespace vorlin {

/// A rectangle of device pixels on the root window; y grows downwards.
struct PixelArea {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    int right() const { return x + width; }
    int bottom() const { return y + height; }
    bool isEmpty() const { return width <= 0 || height <= 0; }
    PixelArea intersected(const PixelArea& other) const;

    bool operator==(const PixelArea&) const = default;
};

/// What a panel of the desktop reserves along one edge of the root window.
struct Strut {
    enum class Edge { left, right, top, bottom };

    Edge edge = Edge::left;
    /// How far it reaches in from that edge of the root window.
    std::uint32_t thickness = 0;
    /// Its first and last pixel along the edge.
    std::uint32_t first = 0;
    std::uint32_t last = UINT32_MAX;
};

/// `monitor` without what panels reserve of it. A strut that reaches across a whole monitor is
/// meant for the monitor behind it, and takes nothing from this one.
PixelArea visibleArea(const PixelArea& monitor, const PixelArea& root,
                      std::span<const Strut> struts);

} // namespace vorlin
