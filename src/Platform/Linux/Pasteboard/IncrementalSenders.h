#pragma once

#include "Platform/Linux/Pasteboard/Offering.h"
#include "Platform/Linux/Pasteboard/SelectionConnection.h"

#include <functional>
#include <list>
#include <optional>

namespace vorlin {

/// Sends data that are too large for one request, piece by piece, each when the reader has taken
/// the one before. A reader that takes nothing for ten seconds, or vanishes, is forgotten; the
/// data are those of the beginning, whatever becomes of the selection meanwhile.
class IncrementalSenders {
public:
    explicit IncrementalSenders(const SelectionConnection& connection);

    /// Whether data of this size must be sent so.
    bool needed(std::size_t size) const { return size > connection.largestPiece(); }

    /// Announces `data` in `property` of `reader`, sends them when the reader agrees, and calls
    /// `given` when it has taken them all. False if the reader is not there.
    bool start(xcb_window_t reader, xcb_atom_t property, xcb_atom_t type, std::uint8_t format,
               SharedBytes data, std::function<void()> given);

    void propertyTaken(xcb_window_t reader, xcb_atom_t property);
    void windowGone(xcb_window_t reader);

    bool idle() const { return transfers.empty(); }

    void advance(Deadline now);
    std::optional<Deadline> nextDeadline() const;

private:
    struct Transfer {
        xcb_window_t reader;
        xcb_atom_t property;
        xcb_atom_t type;
        std::uint8_t format;
        SharedBytes data;
        std::function<void()> given;
        std::size_t sent = 0;
        bool endSent = false;
        Deadline patientUntil;
    };
    using Transfers = std::list<Transfer>;

    void watch(xcb_window_t reader, bool on) const;
    Transfers::iterator forget(Transfers::iterator transfer);

    const SelectionConnection& connection;
    const xcb_atom_t incremental;
    Transfers transfers;
};

} // namespace vorlin
