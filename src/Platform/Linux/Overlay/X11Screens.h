#pragma once

#include "Async/Lifetime.h"
#include "Platform/Linux/Environment.h"
#include "Platform/Linux/Overlay/VisibleArea.h"
#include "Platform/Linux/X11/X11Atoms.h"
#include "Platform/Linux/X11/X11Connection.h"
#include "Ports/DevicePixels.h"
#include "Ports/Screens.h"

#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace vorlin {

/// The monitors of an X11 display without their panels, kept by events. Points are device pixels
/// divided by the desktop's scale; y is 0 at the display's upper edge, and negative below it.
/// Main thread; create it after the Qt application.
class X11Screens final : public Screens {
public:
    /// QT_SCALE_FACTOR multiplies the scale that the desktop's own setting (Xft.dpi) gives, as it
    /// does for every window of a Qt program.
    explicit X11Screens(const Environment& environment);
    X11Screens(const X11Screens&) = delete;
    X11Screens& operator=(const X11Screens&) = delete;
    ~X11Screens() override;

    std::vector<Screen> all() const override { return screens; }
    std::optional<Point> pointer() const override;
    [[nodiscard]] Subscription observe(std::function<void()> observer) override;

    /// How points become pixels of this display.
    DeviceSpace space() const { return {0, scale}; }

private:
    struct Monitor {
        std::string name;
        PixelArea area;
        bool primary = false;
    };

    void readEvents();
    bool concernsScreens(const xcb_generic_event_t& event);
    void refreshSoon();
    void refresh();
    std::vector<Monitor> monitors();
    std::vector<Strut> struts();
    std::vector<PixelArea> workAreas(std::size_t monitorCount);
    double desktopScale();
    template <class T>
    std::vector<T> property(xcb_window_t window, const char* name, xcb_atom_t type);
    Screen inPoints(const Monitor& monitor, const PixelArea& visible) const;

    const double factor;
    /// Asking the display where the pointer is changes nothing of ours.
    mutable X11Connection server;
    X11Atoms atoms;
    std::uint8_t firstRandrEvent = 0;
    bool randr = false;
    PixelArea root;
    double scale = 1;
    std::vector<Screen> screens;
    /// Windows whose panels' room is watched.
    std::set<xcb_window_t> watched;
    bool refreshing = false;
    Published<std::pair<std::vector<Screen>, double>, X11Screens> changes;
    Lifetime lifetime;
    QObject context;
};

} // namespace vorlin
