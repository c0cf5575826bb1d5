#include "Platform/Linux/Overlay/VisibleArea.h"

#include <algorithm>

namespace vorlin {

namespace {

/// `value` as an offset from `from`, not beyond `to`.
int offset(int from, std::uint32_t value, int to)
{
    const auto room = static_cast<std::uint32_t>(std::max(to - from, 0));
    return from + static_cast<int>(std::min(value, room));
}

/// The pixels of the root window that a strut reserves.
PixelArea reserved(const Strut& strut, const PixelArea& root)
{
    const bool upright = strut.edge == Strut::Edge::left || strut.edge == Strut::Edge::right;
    const int start = upright ? root.y : root.x;
    const int end = upright ? root.bottom() : root.right();
    const int first = offset(start, strut.first, end);
    const int last = offset(start, strut.last, end - 1);
    const int length = std::max(last - first + 1, 0);
    const int thickness = offset(0, strut.thickness, upright ? root.width : root.height);
    switch (strut.edge) {
    case Strut::Edge::left: return {root.x, first, thickness, length};
    case Strut::Edge::right: return {root.right() - thickness, first, thickness, length};
    case Strut::Edge::top: return {first, root.y, length, thickness};
    case Strut::Edge::bottom: break;
    }
    return {first, root.bottom() - thickness, length, thickness};
}

} // namespace

PixelArea PixelArea::intersected(const PixelArea& other) const
{
    const int left = std::max(x, other.x);
    const int top = std::max(y, other.y);
    return {left, top, std::max(std::min(right(), other.right()) - left, 0),
            std::max(std::min(bottom(), other.bottom()) - top, 0)};
}

PixelArea visibleArea(const PixelArea& monitor, const PixelArea& root,
                      std::span<const Strut> struts)
{
    int left = monitor.x;
    int right = monitor.right();
    int top = monitor.y;
    int bottom = monitor.bottom();
    for (const auto& strut : struts) {
        const auto taken = reserved(strut, root);
        const auto here = taken.intersected(monitor);
        if (here.isEmpty()) {
            continue;
        }
        switch (strut.edge) {
        case Strut::Edge::left:
            left = taken.right() < monitor.right() ? std::max(left, taken.right()) : left;
            break;
        case Strut::Edge::right:
            right = taken.x > monitor.x ? std::min(right, taken.x) : right;
            break;
        case Strut::Edge::top:
            top = taken.bottom() < monitor.bottom() ? std::max(top, taken.bottom()) : top;
            break;
        case Strut::Edge::bottom:
            bottom = taken.y > monitor.y ? std::min(bottom, taken.y) : bottom;
            break;
        }
    }
    const PixelArea area{left, top, right - left, bottom - top};
    return area.isEmpty() ? monitor : area;
}

} // namespace vorlin
