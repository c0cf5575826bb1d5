#pragma once

#include "Async/MainLoop.h"
#include "Ports/Pasteboard.h"

#include <mutex>
#include <string>
#include <vector>

namespace vorlin {

/// Gathers one snapshot and answers whoever waits for it. The selection thread fills it; should
/// that thread be held up, the main loop ends it in time with what is there. Any thread.
class SnapshotCollector {
public:
    /// Another one who wants this snapshot. Answered at once when it is finished.
    void addWaiter(Completer<PasteboardSnapshot> waiter);

    /// Lets go of `limit` once it is finished.
    void keepUntilFinished(Timer limit);

    void add(std::string type, std::vector<std::uint8_t> bytes);

    /// The names of everything that the owner says it has.
    void list(std::vector<std::string> names);
    /// None where it has not said so.
    std::vector<std::string> listed() const;

    /// Drops what has been added: it belongs to contents that are no longer there.
    void startAnew();

    /// Answers everybody. What is added later is dropped.
    void finish();

    bool finished() const;

private:
    mutable std::mutex lock;
    bool done = false;
    PasteboardSnapshot gathered;
    std::vector<std::string> names;
    std::vector<Completer<PasteboardSnapshot>> waiters;
    Timer limit;
};

} // namespace vorlin
