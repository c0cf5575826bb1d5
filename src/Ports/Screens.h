#pragma once

#include "Async/Published.h"
#include "Ports/Geometry.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// One screen of the desktop, in points.
struct Screen {
    /// Names the screen for as long as it is connected.
    std::string id;
    Rect frame;
    /// The frame without the desktop's own panels and docks.
    Rect visibleFrame;
    /// The one the desktop calls its main screen; none or one of all.
    bool isMain = false;

    bool operator==(const Screen&) const = default;
};

/// The screens of the desktop, as they are now. Main loop. Nothing fails: a desktop that cannot
/// tell has no screens, or no pointer.
class Screens {
public:
    virtual ~Screens() = default;

    /// All screens in the desktop's order. Cheap: asked at every show.
    virtual std::vector<Screen> all() const = 0;

    /// Where the pointer's hot spot is. The upper edge of a screen belongs to it, the lower one
    /// to the screen below: a pointer in device row r is at `top − r / scale`.
    virtual std::optional<Point> pointer() const = 0;

    /// Calls `observer` after screens came, went, moved, were rescaled, or had their visible
    /// frame changed, for as long as the result is kept; not for the pointer.
    [[nodiscard]] virtual Subscription observe(std::function<void()> observer) = 0;
};

} // namespace vorlin
