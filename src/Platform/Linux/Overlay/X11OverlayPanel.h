#pragma once

#include "Platform/Linux/Overlay/OverlayWindow.h"
#include "Platform/Linux/Overlay/X11Screens.h"
#include "Ports/DevicePixels.h"
#include "Ports/OverlayPanel.h"

#include <QElapsedTimer>
#include <QImage>
#include <QTimer>
#include <QVariantAnimation>

#include <functional>
#include <memory>

namespace vorlin {

/// The overlay's panel on an X11 display: asks for a picture whenever there is something new to
/// show, less than 60 times a second, and never while it is ordered out. Main thread; create it
/// after the Qt application.
class X11OverlayPanel final : public OverlayPanel {
public:
    /// The picture of the panel's content: premultiplied, of a size in pixels, at a scale in
    /// pixels to a point.
    using Draw = std::function<const QImage&(const QSize&, double)>;

    /// Makes the window, which calls what it is given when its picture must be shown again.
    using MakeWindow = std::function<std::unique_ptr<OverlayWindow>(std::function<void()>)>;

    /// Makes one of the X11 display.
    static std::unique_ptr<OverlayWindow> inDisplay(std::function<void()> showAgain);

    /// Shows a window of the X11 display. `screens` must outlive this object.
    explicit X11OverlayPanel(const X11Screens& screens);
    /// Shows another window, which stands where one of the X11 display would.
    X11OverlayPanel(const X11Screens& screens, const MakeWindow& makeWindow);

    /// Until there is one, nothing is shown.
    void setContent(Draw draw);

    /// The content has something new to show.
    void contentChanged() { frameSoon(); }

    /// The person wants no motion: fades then take no time.
    void setReducedMotion(bool reduced) { withoutMotion = reduced; }

    bool isVisible() const override { return visible; }
    double alpha() const override;
    void setFrame(const Rect& frame) override;
    void order(Order order) override;
    void animateAlpha(double to, Duration duration, Work whenDone) override;

private:
    void frameSoon();
    void showFrame();
    double alphaAfter(std::int64_t milliseconds) const;

    const X11Screens& screens;
    const std::unique_ptr<OverlayWindow> window;
    Draw draw;
    DeviceRect place;
    double scale = 1;
    bool visible = false;
    bool withoutMotion = false;
    /// Gives the beat and the end; the alpha follows the clock.
    QVariantAnimation fade;
    QElapsedTimer sinceFadeBegan;
    Work whenFaded;
    QTimer nextFrame;
    QElapsedTimer sinceLastFrame;
};

} // namespace vorlin
