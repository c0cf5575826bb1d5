#include "HUDPlacement.h"

#include <algorithm>

namespace vorlin {

namespace {

/// The part of `margin` that counts along an axis of this extent.
double usableMargin(double margin, double extent)
{
    return margin > 0 ? std::min(margin, std::max(0.0, extent / 2)) : 0;
}

} // namespace

HorizontalAlignment horizontalAlignment(HUDPosition position)
{
    switch (position) {
    case HUDPosition::topLeft:
    case HUDPosition::middleLeft:
    case HUDPosition::bottomLeft: return HorizontalAlignment::leading;
    case HUDPosition::topRight:
    case HUDPosition::middleRight:
    case HUDPosition::bottomRight: return HorizontalAlignment::trailing;
    default: return HorizontalAlignment::center;
    }
}

VerticalAlignment verticalAlignment(HUDPosition position)
{
    switch (position) {
    case HUDPosition::topLeft:
    case HUDPosition::topCenter:
    case HUDPosition::topRight: return VerticalAlignment::top;
    case HUDPosition::bottomLeft:
    case HUDPosition::bottomCenter:
    case HUDPosition::bottomRight: return VerticalAlignment::bottom;
    default: return VerticalAlignment::center;
    }
}

Size panelSize(double scale, HUDTextMode textMode)
{
    const bool full = textMode == HUDTextMode::full;
    return {scale * (full ? 520 : 430), scale * (full ? 300 : 76)};
}

Rect panelFrame(const Rect& visibleFrame, const Size& size, HUDPosition position, double margin)
{
    const double sideways = usableMargin(margin, visibleFrame.width);
    const double upright = usableMargin(margin, visibleFrame.height);
    Rect frame{visibleFrame.midX() - size.width / 2, visibleFrame.midY() - size.height / 2,
               size.width, size.height};
    switch (horizontalAlignment(position)) {
    case HorizontalAlignment::leading: frame.x = visibleFrame.minX() + sideways; break;
    case HorizontalAlignment::center: break;
    case HorizontalAlignment::trailing: frame.x = visibleFrame.maxX() - sideways - size.width;
    }
    switch (verticalAlignment(position)) {
    case VerticalAlignment::top: frame.y = visibleFrame.maxY() - upright - size.height; break;
    case VerticalAlignment::center: break;
    case VerticalAlignment::bottom: frame.y = visibleFrame.minY() + upright;
    }
    return frame;
}

bool contains(const Rect& frame, const Point& point)
{
    return point.x >= frame.minX() && point.x < frame.maxX() && point.y > frame.minY() &&
           point.y <= frame.maxY();
}

std::optional<Screen> chosenScreen(std::span<const Screen> screens, HUDDisplay display,
                                   const std::optional<Point>& pointer)
{
    if (screens.empty()) {
        return std::nullopt;
    }
    if (display == HUDDisplay::cursor && pointer) {
        const auto under = std::ranges::find_if(
            screens, [&](const Screen& screen) { return contains(screen.frame, *pointer); });
        if (under != screens.end()) {
            return *under;
        }
    }
    const auto main = std::ranges::find_if(screens, &Screen::isMain);
    return main == screens.end() ? screens.front() : *main;
}

} // namespace vorlin
