#pragma once

#include "Ports/Screens.h"

namespace vorlin {

/// The system's screens, whose points are the port's: y grows upwards from the first one's lower
/// edge.
class MacScreens final : public Screens {
public:
    std::vector<Screen> all() const override;
    std::optional<Point> pointer() const override;
    [[nodiscard]] Subscription observe(std::function<void()> observer) override;
};

} // namespace vorlin
