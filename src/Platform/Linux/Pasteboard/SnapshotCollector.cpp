#include "Platform/Linux/Pasteboard/SnapshotCollector.h"

#include <utility>

namespace vorlin {

void SnapshotCollector::addWaiter(Completer<PasteboardSnapshot> waiter)
{
    {
        const std::scoped_lock guard(lock);
        if (!done) {
            waiters.push_back(std::move(waiter));
            return;
        }
    }
    waiter.complete({});
}

void SnapshotCollector::keepUntilFinished(Timer kept)
{
    const std::scoped_lock guard(lock);
    if (!done) {
        limit = std::move(kept);
    }
}

void SnapshotCollector::add(std::string type, std::vector<std::uint8_t> bytes)
{
    const std::scoped_lock guard(lock);
    if (done) {
        return;
    }
    if (gathered.empty()) {
        gathered.emplace_back();
    }
    gathered.front().insert_or_assign(std::move(type), std::move(bytes));
}

void SnapshotCollector::list(std::vector<std::string> listed)
{
    const std::scoped_lock guard(lock);
    if (!done) {
        names = std::move(listed);
    }
}

std::vector<std::string> SnapshotCollector::listed() const
{
    const std::scoped_lock guard(lock);
    return names;
}

void SnapshotCollector::startAnew()
{
    const std::scoped_lock guard(lock);
    names.clear();
    gathered.clear();
}

void SnapshotCollector::finish()
{
    std::vector<Completer<PasteboardSnapshot>> waiting;
    PasteboardSnapshot snapshot;
    Timer over;
    {
        const std::scoped_lock guard(lock);
        done = true;
        over = std::exchange(limit, nullptr);
        waiting = std::exchange(waiters, {});
        snapshot = std::exchange(gathered, {});
    }
    while (waiting.size() > 1) {
        waiting.back().complete(snapshot);
        waiting.pop_back();
    }
    if (!waiting.empty()) {
        waiting.back().complete(std::move(snapshot));
    }
}

bool SnapshotCollector::finished() const
{
    const std::scoped_lock guard(lock);
    return done;
}

} // namespace vorlin
