#pragma once

#include "Platform/Linux/X11/X11Connection.h"
#include "Ports/FocusedProgram.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorlin {

/// The program that has the keyboard, by the class of its window. Where the server does not tell
/// in time, or the window is gone meanwhile, it is an unknown one. `server` must outlive this.
class X11FocusedProgram final : public FocusedProgram {
public:
    /// Whose programs the server knows.
    enum class Reach {
        /// Every program's.
        session,
        /// Those on XWayland: of another window that has the keyboard it knows nothing, or
        /// yesterday's.
        xwayland
    };

    explicit X11FocusedProgram(X11Connection& server, Reach reach = Reach::session)
        : server(server), reach(reach)
    {
    }

    /// On XWayland the compositor looks first, at whatever comes on the clipboard.
    PasteChord pasteChord() override;
    bool isKnown() const override { return reach == Reach::session; }
    /// The window below the root that holds the focused one: a window manager's frame, if it has
    /// one. Nothing on XWayland.
    std::optional<std::uint64_t> window() override;

    /// The chord that pastes in the program of these names, were it the focused one.
    PasteChord chordFor(std::string_view instanceName, std::string_view className) const;

private:
    using Deadline = std::chrono::steady_clock::time_point;
    struct WindowClass {
        std::string instanceName;
        std::string className;
    };

    std::optional<WindowClass> classOf(xcb_window_t window, Deadline deadline);
    std::optional<xcb_window_t> focusedWindow(Deadline deadline);
    std::optional<xcb_window_t> activeWindow(Deadline deadline);

    X11Connection& server;
    const Reach reach;
    xcb_atom_t activeWindowAtom = XCB_NONE;
};

} // namespace vorlin
