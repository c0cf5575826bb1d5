#pragma once

#include "Platform/Linux/X11/X11Atoms.h"
#include "Platform/Linux/X11/X11Connection.h"
#include "Ports/StatusItem.h"

#include <QPoint>

#include <functional>
#include <optional>
#include <string>

namespace vorlin {

/// The item in panels that take small windows of other programs: the X11 system tray. While shown
/// it goes to whichever panel owns the tray, as often as one comes. Main loop; nothing fails.
class X11TrayIcon {
public:
    enum class Click { primary, menu };

    struct Callbacks {
        /// Where on the screen, in device pixels. From the loop.
        std::function<void(Click click, const QPoint& place)> clicked;
        /// `isDocked` has changed.
        std::function<void()> changed;
    };

    explicit X11TrayIcon(Callbacks callbacks);
    X11TrayIcon(const X11TrayIcon&) = delete;
    X11TrayIcon& operator=(const X11TrayIcon&) = delete;

    void show(StatusSymbol symbol, const std::string& title);
    void hide();

    /// Whether a panel has taken the window in.
    bool isDocked() const { return docked; }

private:
    void findManager();
    void dock();
    void createWindow();
    void setSizeHints();
    void setTitle();
    void undock();
    void noteDocked(bool now);
    void read();
    void handle(const xcb_generic_event_t& event);
    void handleReparent(const xcb_reparent_notify_event_t& event);
    void draw();
    void put(const QImage& image);

    Callbacks callbacks;
    X11Connection server;
    X11Atoms atoms;
    const xcb_screen_t* screen = nullptr;
    xcb_atom_t selection = XCB_NONE;
    xcb_window_t manager = XCB_NONE;
    xcb_window_t window = XCB_NONE;
    xcb_gcontext_t graphics = XCB_NONE;
    xcb_colormap_t colours = XCB_NONE;
    std::uint8_t depth = 0;
    int width = 0;
    int height = 0;
    bool docked = false;
    struct Look {
        StatusSymbol symbol = StatusSymbol::idle;
        std::string title;
    };
    /// What is shown; nothing while hidden.
    std::optional<Look> look;
};

} // namespace vorlin
