#pragma once

#include "Ports/OverlayPanel.h"
#include "Ports/Screens.h"
#include "simulation/SimulatedLoop.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace vorlin {

/// Two screens side by side; the right one is the main one and has a panel at its bottom.
class FakeScreens final : public Screens {
public:
    std::vector<Screen> screens = {
        {"left", {0, 0, 1280, 800}, {0, 0, 1280, 800}, false},
        {"right", {1280, 0, 1920, 1080}, {1280, 40, 1920, 1040}, true},
    };
    std::optional<Point> pointerAt = Point{100, 100};

    std::vector<Screen> all() const override { return screens; }
    std::optional<Point> pointer() const override { return pointerAt; }
    Subscription observe(std::function<void()> observer) override
    {
        auto entry = std::make_shared<const std::function<void()>>(std::move(observer));
        observers.push_back(entry);
        return entry;
    }

    /// The desktop has other screens now.
    void change(std::vector<Screen> now)
    {
        screens = std::move(now);
        const auto current = observers;
        for (const auto& weak : current) {
            if (const auto observer = weak.lock()) {
                (*observer)();
            }
        }
    }

private:
    std::vector<std::weak_ptr<const std::function<void()>>> observers;
};

/// A panel whose alpha moves evenly on the loop's clock.
class FakeOverlayPanel final : public OverlayPanel {
public:
    explicit FakeOverlayPanel(SimulatedLoop& loop) : loop(loop) {}

    /// Whether the end of an animation that was replaced is told too.
    bool tellsReplaced = true;
    Rect frame;
    int placed = 0;
    /// The alpha just after every change that took no time.
    std::vector<double> jumps;

    /// Whether a person sees it, or will within a fade.
    bool isShown() const { return visible && target > 0; }

    bool isVisible() const override { return visible; }
    double alpha() const override
    {
        if (length == Duration::zero()) {
            return target;
        }
        const double passed = std::chrono::duration<double>(loop.now() - start) /
                              std::chrono::duration<double>(length);
        return from + (target - from) * std::clamp(passed, 0.0, 1.0);
    }
    void setFrame(const Rect& now) override
    {
        frame = now;
        ++placed;
    }
    void order(Order order) override { visible = order == Order::front; }
    void animateAlpha(double to, Duration duration, Work whenDone) override
    {
        from = alpha();
        target = to;
        start = loop.now();
        length = duration;
        if (duration == Duration::zero()) {
            jumps.push_back(to);
        }
        ++animation;
        if (whenDone) {
            loop.postAfter(duration, [this, mine = animation, whenDone = std::move(whenDone)] {
                if (mine == animation || tellsReplaced) {
                    whenDone();
                }
            });
        }
    }

private:
    SimulatedLoop& loop;
    bool visible = false;
    double from = 0;
    double target = 0;
    TimePoint start;
    Duration length = Duration::zero();
    int animation = 0;
};

} // namespace vorlin
