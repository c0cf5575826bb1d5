#pragma once

#include "Async/Executor.h"
#include "Async/MainLoop.h"
#include "Ports/Geometry.h"

namespace vorlin {

/// The window of the overlay: translucent, borderless, on every workspace and above full-screen
/// windows; never focused, never listed, deaf to the pointer. Its content never resizes it. Main
/// loop. Nothing fails: a panel that cannot be shown (the display is gone) takes every call, and
/// its animations end in time all the same.
class OverlayPanel {
public:
    enum class Order { front, out };

    virtual ~OverlayPanel() = default;

    /// Whether it was last ordered front. It starts ordered out.
    virtual bool isVisible() const = 0;

    /// The alpha at this moment, 0 to 1, also in the middle of an animation.
    virtual double alpha() const = 0;

    /// Places the panel, at once and without flicker when it is visible. A screen may have been
    /// rescaled since: the same frame again is placed anew.
    virtual void setFrame(const Rect& frame) = 0;

    /// Puts it above all windows without activating it, or takes it off the screen.
    virtual void order(Order order) = 0;

    /// Changes the alpha from what it is now to `to` over `duration`, taking the place of an
    /// animation under way; with a duration of 0 at once, within the call. `whenDone`, if given,
    /// is called once on the main loop, never within the call, when `to` is reached. That of an
    /// animation that was replaced is called or not, but only after the call that replaced it.
    virtual void animateAlpha(double to, Duration duration, Work whenDone) = 0;
};

} // namespace vorlin
