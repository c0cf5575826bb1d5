#pragma once

#include "Platform/Linux/Pasteboard/IncrementalSenders.h"
#include "Platform/Linux/Pasteboard/PasteReaders.h"
#include "Platform/Linux/Pasteboard/PasteboardStatus.h"
#include "Platform/Linux/Pasteboard/RequestorWindows.h"
#include "Platform/Linux/Pasteboard/SelectionConnection.h"
#include "Platform/Linux/Pasteboard/SelectionOwner.h"
#include "Platform/Linux/Pasteboard/SnapshotJob.h"

#include <array>
#include <memory>
#include <optional>
#include <string>

namespace vorlin {

/// The X11 client behind the pasteboard: reads and owns the two selections. For one thread, which
/// waits for `fileDescriptor` and `nextDeadline` and calls `handleEvents` and `advance`.
class SelectionClient {
public:
    /// Connects. `status` must outlive it.
    SelectionClient(const std::string& display, PasteboardStatus& status);

    /// Once false, it stays so: every reading is empty, every writing does nothing.
    bool alive() const { return started && connection.alive(); }
    int fileDescriptor() const { return connection.fileDescriptor(); }

    /// Reads the selection into `collector`, for `waiter`, who may get the result of a reading
    /// that is under way instead.
    void read(std::size_t selection, std::shared_ptr<SnapshotCollector> collector,
              const Completer<PasteboardSnapshot>& waiter, std::size_t mostBytes,
              Deadline deadline);

    /// Writes contents whose number in `status` is `number`. When it returns the selection holds
    /// them and `status` tells of it.
    void write(std::size_t selection, Offering contents, std::uint64_t number, Displace displace);

    /// Asks the clipboard manager, if there is one, to take over what would die with us. Secrets
    /// stay ours.
    void beginHandover();
    /// Whether there is nothing (more) to wait for.
    bool handoverEnded() const;

    /// Handles what has come, at most a few dozen events; says whether there may be more.
    bool handleEvents();
    void advance(Deadline now);
    std::optional<Deadline> nextDeadline(Deadline now) const;

private:
    void start();
    void settle();
    void handle(const xcb_generic_event_t& event);
    void ownerChanged(const xcb_xfixes_selection_notify_event_t& event, std::uint32_t sequence);
    void answered(const xcb_selection_notify_event_t& event);
    void propertyChanged(const xcb_property_notify_event_t& event);
    std::size_t indexOf(xcb_atom_t selection) const;

    SelectionConnection connection;
    PasteboardStatus& status;
    bool started = false;
    xcb_window_t window = XCB_NONE;
    std::array<xcb_atom_t, selectionCount> selections{};
    xcb_atom_t managerSelection = XCB_ATOM_NONE;
    bool handingOver = false;

    std::optional<RequestorWindows> requestors;
    std::optional<PasteReaders> readers;
    std::optional<IncrementalSenders> senders;
    std::array<std::unique_ptr<SelectionOwner>, selectionCount> owners;
    std::array<std::unique_ptr<SnapshotJob>, selectionCount> jobs;
};

} // namespace vorlin
