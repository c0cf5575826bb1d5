#pragma once

#include "Ports/Screens.h"

#include <functional>
#include <optional>
#include <utility>

namespace vorlin {

/// The screens of a desktop that does not tell where the pointer is: the middle of the focused
/// window stands for it. Main thread.
class FocusScreens final : public Screens {
public:
    /// Where the focused window is, in points as those of `screens`; nothing where it is not known.
    using FocusedFrame = std::function<std::optional<Rect>()>;

    /// `screens` must outlive it.
    FocusScreens(Screens& screens, FocusedFrame focused)
        : screens(screens), focused(std::move(focused))
    {
    }

    std::vector<Screen> all() const override { return screens.all(); }

    std::optional<Point> pointer() const override
    {
        const auto frame = focused();
        if (!frame) {
            return std::nullopt;
        }
        return Point{frame->x + frame->width / 2, frame->y + frame->height / 2};
    }

    [[nodiscard]] Subscription observe(std::function<void()> observer) override
    {
        return screens.observe(std::move(observer));
    }

private:
    Screens& screens;
    FocusedFrame focused;
};

} // namespace vorlin
