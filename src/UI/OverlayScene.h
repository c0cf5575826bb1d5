#pragma once

#include "UI/FrameClock.h"
#include "UI/HUDBridge.h"

#include <QImage>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickRenderControl>
#include <QQuickWindow>
#include <QRectF>

#include <functional>
#include <memory>

namespace vorlin {

/// The overlay's view, drawn into a picture by the processor: a window without a platform's
/// window, so that whoever shows the picture decides how. Main thread, after the Qt application;
/// one a process.
class OverlayScene {
public:
    /// Loads the view and binds it to `model`, which must outlive this object. A view that does
    /// not load is a fault in the program, and ends it.
    explicit OverlayScene(const HUDModel& model);
    OverlayScene(const OverlayScene&) = delete;
    OverlayScene& operator=(const OverlayScene&) = delete;
    ~OverlayScene();

    /// Called when there is something new to draw; from within anything that changes the view.
    std::function<void()> onChanged;

    /// How the person has set up the desktop.
    void setAppearance(bool dark, bool reducedMotion) { hud.setAppearance(dark, reducedMotion); }

    /// Whether the desktop shows glass of its own under the picture, where `glass` says: then none
    /// is drawn.
    void setSystemGlass(bool hasGlass) { root->setProperty("systemGlass", hasGlass); }
    /// Where the glass is in the picture drawn last, in points, with y downwards from its top.
    QRectF glass() const { return root->property("glassArea").toRectF(); }
    double glassRadius() const { return root->property("glassRadius").toDouble(); }

    /// The picture as it is now, `size` pixels large, `scale` pixels to a point; premultiplied.
    const QImage& draw(const QSize& size, double scale);

private:
    void resize(const QSize& size, double scale);
    void changed();

    FrameClock clock;
    HUDBridge hud;
    QQmlEngine engine;
    QQuickRenderControl control;
    QQuickWindow window;
    std::unique_ptr<QQuickItem> root;
    QImage picture;
    /// The picture is not what the view shows now.
    bool stale = true;
};

} // namespace vorlin
