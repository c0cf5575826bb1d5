#include "Platform/Linux/Keys/PostedKeys.h"

#include <algorithm>

namespace vorlin {

namespace {

/// More than any chord posts; bounds what a misbehaving server can make us keep.
constexpr std::size_t mostEntries = 256;

/// Numbers wrap around.
bool isBefore(std::uint32_t left, std::uint32_t right)
{
    return static_cast<std::int32_t>(left - right) < 0;
}

} // namespace

void PostedKeys::posted(std::uint32_t sequence, HardwareKey key, bool down)
{
    requests.push_back({sequence, key, down});
    if (requests.size() > mostEntries) {
        requests.pop_front();
    }
}

void PostedKeys::emitted(std::uint32_t sequence, HardwareKey key, bool down, std::uint32_t time)
{
    // A request that made no event (the key was down already) is passed over.
    while (!requests.empty() && isBefore(requests.front().mark, sequence)) {
        requests.pop_front();
    }
    if (requests.empty() || requests.front() != Entry{sequence, key, down}) {
        return;
    }
    requests.pop_front();
    events.push_back({time, key, down});
    if (events.size() > mostEntries) {
        events.pop_front();
    }
}

bool PostedKeys::take(HardwareKey key, bool down, std::uint32_t time)
{
    const auto found = std::ranges::find(events, Entry{time, key, down});
    if (found == events.end()) {
        return false;
    }
    events.erase(found);
    return true;
}

} // namespace vorlin
