#pragma once

#include "Ports/Screens.h"
#include "Preferences.h"

#include <optional>
#include <span>

namespace vorlin {

/// Width and height in points.
struct Size {
    double width = 0;
    double height = 0;

    bool operator==(const Size&) const = default;
};

enum class HorizontalAlignment { leading, center, trailing };
enum class VerticalAlignment { top, center, bottom };

/// The column and the row of the nine positions.
HorizontalAlignment horizontalAlignment(HUDPosition position);
VerticalAlignment verticalAlignment(HUDPosition position);

/// The panel's size: 520 × 300 points times `scale` in full text mode, else 430 × 76.
Size panelSize(double scale, HUDTextMode textMode);

/// The panel's frame on a screen: `margin` points from the edges that `position` names, centred
/// along the axes on which it names none. A margin of more than half the visible frame counts as
/// half of it, so that no stored value puts the overlay out of sight.
Rect panelFrame(const Rect& visibleFrame, const Size& size, HUDPosition position, double margin);

/// The first screen whose frame contains the pointer if `display` is `cursor`; otherwise, or when
/// there is none, the main screen, else the first, else nothing.
std::optional<Screen> chosenScreen(std::span<const Screen> screens, HUDDisplay display,
                                   const std::optional<Point>& pointer);

/// Whether a pointer at `point` is on `frame`: left and upper edge inside, right and lower not.
bool contains(const Rect& frame, const Point& point);

} // namespace vorlin
