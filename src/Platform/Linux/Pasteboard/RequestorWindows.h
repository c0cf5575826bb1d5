#pragma once

#include "Platform/Linux/Pasteboard/SelectionConnection.h"

#include <deque>
#include <optional>

namespace vorlin {

/// The windows on which data are received, one for each conversion: an answer that comes too
/// late then lands where nobody takes it for another one. For the same reason a window rests for
/// a while before it is used again: what its last owner still has to say is then over.
///
/// An owner that is still sending when it is given up finds its window there for a while, and
/// its pieces taken: one whose window vanishes is told so by an error that many do not survive,
/// and one that is left hanging may serve nobody else.
class RequestorWindows {
public:
    explicit RequestorWindows(const SelectionConnection& connection);

    /// The property in which data arrive, on each window.
    xcb_atom_t property() const { return receiving; }

    /// A window that nobody writes to.
    xcb_window_t acquire(Deadline now);
    /// Its conversion has come to its end.
    void release(xcb_window_t window, Deadline now);
    /// Its conversion has been given up.
    void abandon(xcb_window_t window, Deadline now);

    /// Something has arrived on `window`; says whether it was one given up.
    bool arrivedOnAbandoned(xcb_window_t window, Deadline now);

    /// Destroys windows no longer needed.
    void advance(Deadline now);
    std::optional<Deadline> nextDeadline() const;

private:
    struct Used {
        xcb_window_t window;
        Deadline since;
    };

    const SelectionConnection& connection;
    xcb_atom_t receiving;
    std::deque<Used> resting;
    std::deque<Used> abandoned;
};

} // namespace vorlin
