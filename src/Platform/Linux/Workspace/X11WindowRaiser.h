#pragma once

#include "Platform/Linux/X11/X11Atoms.h"
#include "Platform/Linux/X11/X11Connection.h"

#include <array>
#include <cstdint>
#include <optional>

namespace vorlin {

/// Brings windows to the person, wherever the window manager has them. Main loop.
class X11WindowRaiser {
public:
    /// Moves the window to the workspace that is seen, unless it is on all, and gives it the
    /// focus, above the others. Without a window manager too. Of an unknown window nothing comes.
    void raise(xcb_window_t window);

private:
    std::optional<std::uint32_t> cardinal(xcb_window_t window, const char* name,
                                          xcb_atom_t type = XCB_ATOM_CARDINAL);
    xcb_timestamp_t time();
    void tellManager(xcb_window_t window, const char* what,
                     const std::array<std::uint32_t, 2>& values);

    X11Connection server{{.readable = [this] { drop(); }, .lost = [] {}}};
    X11Atoms atoms{server};

    void drop();
};

} // namespace vorlin
