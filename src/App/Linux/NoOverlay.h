#pragma once

#include "Ports/MainLoop.h"
#include "Ports/OverlayPanel.h"
#include "Ports/Screens.h"

#include <optional>
#include <utility>
#include <vector>

namespace vorlin {

/// A desktop without screens, on which no overlay is ever shown.
class NoScreens final : public Screens {
public:
    std::vector<Screen> all() const override { return {}; }
    std::optional<Point> pointer() const override { return std::nullopt; }
    Subscription observe(std::function<void()> /*observer*/) override { return nullptr; }
};

/// The panel that is never shown.
class NoOverlayPanel final : public OverlayPanel {
public:
    explicit NoOverlayPanel(MainLoop& loop) : loop(loop) {}

    bool isVisible() const override { return false; }
    double alpha() const override { return 0; }
    void setFrame(const Rect& /*frame*/) override {}
    void order(Order /*order*/) override {}
    void animateAlpha(double /*to*/, Duration duration, Work whenDone) override
    {
        if (whenDone) {
            loop.postAfter(duration, std::move(whenDone));
        }
    }

private:
    MainLoop& loop;
};

} // namespace vorlin
