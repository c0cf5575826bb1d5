#pragma once

#include <QImage>

namespace vorlin {

/// A window that shows pictures above all others, and that takes neither the focus nor a click.
/// Main thread. Where it cannot be shown every call does nothing.
class OverlayWindow {
public:
    OverlayWindow() = default;
    OverlayWindow(const OverlayWindow&) = delete;
    OverlayWindow& operator=(const OverlayWindow&) = delete;
    virtual ~OverlayWindow() = default;

    /// Shows `picture` (premultiplied) at `alpha` (0 to 1) with its top left corner at (x, y) of
    /// the X11 display, and the window if it is hidden.
    virtual void show(const QImage& picture, double alpha, int x, int y) = 0;

    virtual void hide() = 0;

    /// Above every other window.
    virtual void raise() = 0;
};

} // namespace vorlin
