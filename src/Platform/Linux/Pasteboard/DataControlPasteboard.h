#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Platform/Linux/Pasteboard/DataControl.h"
#include "Platform/Linux/Pasteboard/OfferReader.h"
#include "Platform/Linux/Pasteboard/Offering.h"
#include "Platform/Linux/Pasteboard/PasteboardStatus.h"
#include "Platform/Linux/Pasteboard/PipeReaders.h"
#include "Platform/Linux/Pasteboard/PipeWriters.h"
#include "Ports/Pasteboard.h"

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// The clipboard of a Wayland session, and its primary selection, as clipboard managers have them:
/// also while no window of ours has the focus.
///
/// - Types are MIME types, and the names of X11's targets where a program on XWayland owns the
///   contents; there is one item. What X11 asks questions and gives commands with is left out.
/// - `setString`, `copyString`, `replace` and `restore` have sent what they want when they return:
///   it is carried out ahead of every request that is made over the same connection later, such as
///   a chord.
/// - `restore` displaces nothing that another program has told the compositor of by then; it waits
///   for that one round trip, at most 50 ms.
/// - `use` becomes `read` when the focused program has been given the text; see `PipeReaders`. What
///   `setString` writes is read by nobody who has begun before its chord goes (`noteChord`): that
///   is no paste. It is `untracked` until something has been written, and where nothing can be.
/// - Contents are offered for as long as no other program offers some. The destructor leaves those
///   of the clipboard to a process that goes on (`keepContents`), and waits at most 500 ms until
///   that has them; contents marked secret, such as those of `setString`, go with us.
/// - Without the compositor snapshots are empty and writing does nothing.
///
/// Main loop; nothing else waits.
class DataControlPasteboard final : public Pasteboard {
public:
    /// The most that a snapshot takes.
    struct Limits {
        std::chrono::milliseconds time{900};
        std::size_t bytes = 64U << 20U;
    };

    /// `connection` and `loop` must outlive it.
    DataControlPasteboard(WaylandConnection& connection, MainLoop& loop,
                          PipeReaders::FocusedProcess focused);
    DataControlPasteboard(WaylandConnection& connection, MainLoop& loop,
                          PipeReaders::FocusedProcess focused, Limits limits);
    DataControlPasteboard(const DataControlPasteboard&) = delete;
    DataControlPasteboard& operator=(const DataControlPasteboard&) = delete;
    ~DataControlPasteboard() override;

    /// Whether the compositor lets clipboards be managed.
    bool available() const { return control != nullptr && connection.alive().get(); }

    /// The chord that pastes what is there goes out next, by whichever way.
    void noteChord();

    /// Leaves the clipboard's contents to the process that goes on, as the destructor does.
    void leave();

    /// What the compositor says is offered there.
    std::vector<std::string> types(PasteSource source) const
    {
        return available() ? control->types(source) : std::vector<std::string>{};
    }

    Completion<PasteboardSnapshot> snapshot(PasteSource source) override;
    std::int64_t changeCount(PasteSource source) const override;
    void replace(PasteSource source, const PasteboardSnapshot& contents) override;
    void restore(PasteSource source, const PasteboardSnapshot& contents) override;
    void setString(PasteSource source, const std::string& text) override;
    void copyString(PasteSource source, const std::string& text) override;
    PasteboardUse use(PasteSource source) const override;

private:
    /// A snapshot that is being read.
    struct Reading {
        std::shared_ptr<SnapshotCollector> collector;
        std::unique_ptr<OfferReader> reader;
    };
    struct Selection {
        /// What we offer there, for as long as nothing has displaced it.
        std::shared_ptr<const Offering> own;
        /// The number of the latest text that was to be pasted.
        std::optional<std::uint64_t> text;
        /// The number of contents whose chord has not gone yet.
        std::optional<std::uint64_t> unpasted;
        Reading reading;
    };

    std::optional<std::uint64_t> write(PasteSource source, Offering offering);
    void give(PasteSource source, std::uint64_t number, const Offering& offering,
              const std::string& type, Descriptor end);
    void displaced(PasteSource source, std::uint64_t number);
    void changed(PasteSource source);

    WaylandConnection& connection;
    MainLoop& loop;
    const Limits limits;
    PasteboardStatus status;
    PipeReaders readers;
    PipeWriters writers;
    std::array<Selection, selectionCount> selections;
    /// It calls the others.
    std::unique_ptr<DataControl> control;
    Lifetime lifetime;
};

} // namespace vorlin
