#pragma once

#include "Async/MainLoop.h"
#include "Ports/Pasteboard.h"

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {

struct Offering;
enum class Displace;
class PasteboardStatus;
class SnapshotCollector;
class SelectionThread;

/// The X11 selections CLIPBOARD and PRIMARY, through a connection and a thread of their own.
///
/// - Types are the names of targets; data whose property is not bytes of the type asked for carry
///   its type and format in their name (`pasteboardType`), so that the same request later gets
///   the same bytes, type and format. There is one item.
/// - What is not data is left out of a snapshot: questions (TARGETS, TIMESTAMP, ...), commands
///   (DELETE, INSERT_...), and handles that are the owner's only (PIXMAP, WINDOW, ...).
/// - `replace`, `restore`, `setString` and `copyString` have taken effect when they return: the
///   server has confirmed that the selection is ours, so that a paste made next gets the text. They
///   wait for that one round trip, usually a fraction of a millisecond, at most 500 ms together;
///   after that `use` is `underway` until the server confirms it.
/// - What another program puts there in the moment of a `restore` stays, and `use` becomes
///   `replaced`.
/// - `use` becomes `read` when the focused program has been given the text; see `PasteReaders`.
///   It is `untracked` until something has been written, and without a display server.
/// - Restored contents are offered for as long as no other program takes the selection. The
///   destructor lets a clipboard manager, if there is one, take over those of CLIPBOARD (at most
///   500 ms); contents marked secret, such as those of `setString`, go with us.
/// - Without a display server, or once it is gone, snapshots are empty and writing does nothing.
///
/// Main loop; nothing but the above waits.
class X11Pasteboard final : public Pasteboard {
public:
    /// The most that a snapshot takes.
    struct Limits {
        std::chrono::milliseconds time{1000};
        std::size_t bytes = 64U << 20U;
    };

    /// Connects to the display named by DISPLAY, in the background. `loop` must outlive it.
    explicit X11Pasteboard(MainLoop& loop);
    X11Pasteboard(MainLoop& loop, Limits limits);
    X11Pasteboard(const X11Pasteboard&) = delete;
    X11Pasteboard& operator=(const X11Pasteboard&) = delete;
    ~X11Pasteboard() override;

    Completion<PasteboardSnapshot> snapshot(PasteSource source) override;
    /// The names of all targets that the owner listed for the latest snapshot; none where it has
    /// listed none so far.
    std::vector<std::string> targets(PasteSource source) const;
    std::int64_t changeCount(PasteSource source) const override;
    void replace(PasteSource source, const PasteboardSnapshot& contents) override;
    void restore(PasteSource source, const PasteboardSnapshot& contents) override;
    void setString(PasteSource source, const std::string& text) override;
    void copyString(PasteSource source, const std::string& text) override;
    PasteboardUse use(PasteSource source) const override;
    bool wasLookedAt(PasteSource source) const override;

private:
    void put(PasteSource source, Offering offering, Displace displace);

    MainLoop& loop;
    const Limits limits;
    const std::shared_ptr<PasteboardStatus> status;
    /// Of the clipboard and of the primary selection.
    std::array<std::shared_ptr<SnapshotCollector>, 2> latest;
    const std::unique_ptr<SelectionThread> thread;
};

} // namespace vorlin
