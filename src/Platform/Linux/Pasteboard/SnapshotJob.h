#pragma once

#include "Platform/Linux/Pasteboard/PropertyPieces.h"
#include "Platform/Linux/Pasteboard/RequestorWindows.h"
#include "Platform/Linux/Pasteboard/SelectionConnection.h"
#include "Platform/Linux/Pasteboard/SnapshotCollector.h"

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace vorlin {

/// Reads everything that another program offers in one selection.
///
/// It asks for the list of targets and then for one target after the other, text first: many
/// owners can answer but one request at a time. Only when the owner has kept silent for a while
/// does it ask for the next one beside. What is not there by the deadline, or does not fit, is
/// left out; the rest is kept whole or not at all.
class SnapshotJob {
public:
    /// Starts. `connection` and `windows` must outlive it.
    SnapshotJob(const SelectionConnection& connection, RequestorWindows& windows,
                xcb_atom_t selection, std::shared_ptr<SnapshotCollector> collector,
                std::size_t mostBytes, Deadline deadline);
    SnapshotJob(const SnapshotJob&) = delete;
    SnapshotJob& operator=(const SnapshotJob&) = delete;
    /// Finishes with what is there.
    ~SnapshotJob();

    /// The owner has answered one of the requests. False if it is none of this job's.
    bool answered(const xcb_selection_notify_event_t& answer, Deadline now);
    /// A property on `window` has a new value. False if it is none of this job's.
    bool arrived(xcb_window_t window, Deadline now);
    /// The selection has another owner: reads that one's contents instead.
    void startAnew(Deadline now);
    /// Does what is due.
    void advance(Deadline now);

    bool finished() const { return collector->finished(); }
    SnapshotCollector& snapshot() { return *collector; }
    Deadline nextDeadline(Deadline now) const;

private:
    struct Conversion {
        enum class State {
            asked,
            receiving,
            /// Promises more than there is room for: begun when nothing else is left to read.
            postponed,
        };
        xcb_window_t window;
        xcb_atom_t target;
        std::string name;
        State state;
        Deadline lastProgress;
        PropertyPieces pieces;
    };
    using Conversions = std::vector<Conversion>;
    struct Target {
        xcb_atom_t atom;
        std::string name;
    };

    Conversions::iterator find(xcb_window_t window);
    std::size_t room() const;
    void ask(Target target, Deadline now);
    void beginIncremental(Conversion& conversion, const PropertyValue& announcement, Deadline now);
    void received(Conversions::iterator conversion, PropertyValue value, Deadline now);
    void giveUp(Conversions::iterator conversion, Deadline now);
    void keep(const Conversion& conversion, PropertyValue value);
    void list(const PropertyValue& targets);
    void listUsualText();
    void keepBusy(Deadline now);
    void finish(Deadline now);

    const SelectionConnection& connection;
    RequestorWindows& windows;
    const xcb_atom_t selection;
    const xcb_atom_t targetsAtom;
    const xcb_atom_t incremental;
    const std::shared_ptr<SnapshotCollector> collector;
    const std::size_t mostBytes;
    const Deadline deadline;

    bool usualTextListed = false;
    std::size_t keptBytes = 0;
    std::set<xcb_atom_t> listed;
    std::deque<Target> waiting;
    Conversions underWay;
};

} // namespace vorlin
