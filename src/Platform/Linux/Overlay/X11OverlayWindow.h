#pragma once

#include "Platform/Linux/Overlay/OverlayWindow.h"
#include "Platform/Linux/Overlay/VisibleArea.h"
#include "Platform/Linux/X11/X11Atoms.h"
#include "Platform/Linux/X11/X11Connection.h"

#include <QImage>

#include <functional>

namespace vorlin {

/// A window that shows pictures above all others, and that window managers, task bars, switchers,
/// the focus and the pointer never get to see: it asks no window manager for anything, so none
/// can move, frame or focus it. Translucent where a compositor runs; where none does, an opaque
/// shape with clean edges. Main thread. Without a display every call does nothing.
class X11OverlayWindow final : public OverlayWindow {
public:
    /// `onCompositorChanged` is called when a compositor came or went: show the picture again.
    explicit X11OverlayWindow(std::function<void()> onCompositorChanged);
    ~X11OverlayWindow() override;

    /// Only what has changed is sent.
    void show(const QImage& picture, double alpha, int x, int y) override;
    void hide() override;
    void raise() override;

private:
    /// The display's format for windows with an alpha channel, else that of its root window.
    struct Format {
        std::uint8_t depth = 0;
        xcb_visualid_t visual = 0;
    };

    Format format() const;
    void create();
    void describe();
    void watchCompositor();
    void readEvents();
    void handle(const xcb_generic_event_t& event);
    bool compositorRuns();
    void replacePixmap(const QSize& size);
    void paint(const QImage& picture, const PixelArea& area);
    void setShape(const QImage& picture);
    void watchStacking(bool on);

    std::function<void()> onCompositorChanged;
    X11Connection server;
    X11Atoms atoms;
    xcb_window_t window = XCB_NONE;
    xcb_gcontext_t context = XCB_NONE;
    xcb_pixmap_t pixmap = XCB_NONE;
    std::uint8_t depth = 0;
    std::uint8_t firstFixesEvent = 0;
    bool composited = false;
    bool mapped = false;
    /// What the window shows, and where.
    QImage shown;
    int x = 0;
    int y = 0;
    bool shaped = false;
};

} // namespace vorlin
