#pragma once

#include "Platform/Linux/Pasteboard/SelectionConnection.h"

#include <chrono>
#include <cstdint>

namespace vorlin {

/// Tells a program that pastes from one that reads whatever is offered anywhere.
///
/// To take a clipboard manager for the paste means to take the text away before a slow program
/// has read it; to miss a paste only means to wait longer. So a reader counts when it is the
/// focused program: the client of the window that had the keyboard focus when the contents were
/// written or when they are read, another client of the same process, a window within that one,
/// another process of the same executable, one that the program has begun since the contents were
/// written, or, where both are Windows programs, the one that reads for all of them. Where no
/// window has the focus, or for as long as a program has taken the keyboard from the one that has,
/// as launchers do, every reader counts. A known clipboard manager, and the client that owns
/// CLIPBOARD_MANAGER, never counts, focused or not; unless it is the compositor of a Wayland
/// session, which reads for each of its programs: once for the clipboard that it keeps itself,
/// which it is refused, and what it reads beyond that, while one of those has the focus, counts.
class PasteReaders {
public:
    explicit PasteReaders(const SelectionConnection& connection);

    /// New contents are about to be written, for whatever has the focus now.
    void rememberFocus();

    /// Whether a request made from `window` counts. Once for each request, of text that is given. A
    /// few round trips.
    bool counts(xcb_window_t window);

    /// Whether a request made from `window`, of text that is only there to be pasted, is the one by
    /// which the compositor of a Wayland session would keep the text beyond our end: its first, and
    /// soon after the writing. Once for each request. A round trip or two.
    bool isForKeeping(xcb_window_t window);

    /// Whether `window` asks for other programs, as the compositor of a Wayland session does. A
    /// round trip or two.
    bool isBridge(xcb_window_t window) const;

    /// Whether `window` may have a text that is only there to be pasted: whoever counts, a manager
    /// that has the focus itself, and in a Wayland session the compositor, which asks for others. A
    /// few round trips.
    bool mayRead(xcb_window_t window) const;

private:
    xcb_window_t focus() const;
    bool isKeyboardTaken() const;
    bool isAnyKeyDown() const;
    std::uint32_t process(xcb_window_t window) const;
    bool isManager(xcb_window_t window) const;
    bool sameProgram(xcb_window_t reader, xcb_window_t focused) const;
    bool worksFor(xcb_window_t reader, xcb_window_t focused) const;
    bool isWithin(xcb_window_t window, xcb_window_t outer) const;
    bool isNobodyKnown(xcb_window_t focused) const;
    bool isFocused(xcb_window_t reader, xcb_window_t focused) const;

    const SelectionConnection& connection;
    const xcb_atom_t managerSelection;
    const xcb_atom_t windowManagerSelection;
    const bool inWayland;
    /// Never shown.
    const xcb_window_t probe;
    xcb_window_t remembered = XCB_NONE;
    std::chrono::steady_clock::time_point written;
    /// The same time, as `processTime` has it.
    std::uint64_t offered = 0;
    /// The compositor has had the latest contents for itself, or was refused them.
    bool keptByCompositor = false;
};

} // namespace vorlin
