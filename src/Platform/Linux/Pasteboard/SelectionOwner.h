#pragma once

#include "Platform/Linux/Pasteboard/IncrementalSenders.h"
#include "Platform/Linux/Pasteboard/Offering.h"
#include "Platform/Linux/Pasteboard/PasteReaders.h"
#include "Platform/Linux/Pasteboard/PasteboardStatus.h"
#include "Platform/Linux/Pasteboard/SelectionConnection.h"

#include <memory>
#include <vector>

#include <xcb/xfixes.h>

namespace vorlin {

/// Whose contents a writing may displace.
enum class Displace {
    whatever,
    /// What we wrote before: if another program has put something there since, that stays, as if
    /// it had come after the writing.
    ownOnly,
};

/// This client as the owner of one selection: takes it, and answers whoever asks, as the
/// inter-client conventions want it.
class SelectionOwner {
public:
    /// All must outlive it. `index` is the selection's in `status`.
    SelectionOwner(const SelectionConnection& connection, xcb_window_t window, xcb_atom_t selection,
                   std::size_t index, PasteboardStatus& status, PasteReaders& readers,
                   IncrementalSenders& senders);

    /// Offers `contents`, or empties the selection if they have no entry. Done when it returns,
    /// but for the event that tells of it, which is then among those received.
    void write(Offering contents, std::uint64_t number, Displace displace);

    /// What the selection holds if it is ours; null if not.
    const Offering* contents() const { return owned ? &owned->offering : nullptr; }

    void ownerChanged(const xcb_xfixes_selection_notify_event_t& event, std::uint32_t sequence);
    void answer(const xcb_selection_request_event_t& request);

    /// The targets that a clipboard manager should take over.
    std::vector<xcb_atom_t> savedTargets() const;

private:
    struct Content {
        xcb_atom_t target;
        xcb_atom_t type;
        std::uint8_t format;
        SharedBytes bytes;
        bool tracked;
    };
    struct Owned {
        Offering offering;
        std::vector<Content> content;
    };

    std::shared_ptr<const Owned> prepare(Offering contents) const;
    void lost();
    void noteLook(const xcb_selection_request_event_t& request);
    bool isStale(xcb_timestamp_t requested) const;
    bool convert(xcb_window_t reader, xcb_atom_t target, xcb_atom_t property);
    bool convertSeveral(xcb_window_t reader, xcb_atom_t property);
    bool give(xcb_window_t reader, const Content& content, xcb_atom_t property);

    const SelectionConnection& connection;
    const xcb_window_t window;
    const xcb_atom_t selection;
    const std::size_t index;
    PasteboardStatus& status;
    PasteReaders& readers;
    IncrementalSenders& senders;
    const xcb_atom_t targetsAtom;
    const xcb_atom_t timestampAtom;
    const xcb_atom_t multipleAtom;
    const xcb_atom_t pairAtom;

    std::shared_ptr<const Owned> owned;
    std::uint64_t number = 0;
    /// The request by which the selection was written last; earlier news is about earlier owners.
    std::uint32_t writtenBy = 0;
    bool written = false;
    /// When the selection became ours by the server's clock: what it goes by, and in truth.
    xcb_timestamp_t officialTime = XCB_CURRENT_TIME;
    xcb_timestamp_t ownedSince = XCB_CURRENT_TIME;
};

} // namespace vorlin
