#pragma once

#include "Platform/Linux/Keys/HardwareKeys.h"

#include <cstdint>
#include <deque>

namespace vorlin {

/// The ledger of key events that this process posted, by which it knows them when the display
/// server reports them back. Not synchronised.
///
/// The server reports a posted event twice. First for the posting device, at once, while it
/// processes the request: the report bears the request's number, which no other program's event
/// can. Then for the keyboard as a whole, in order with everything typed, but later when the
/// keyboard is frozen; by then the number says nothing, the time stamp must do.
class PostedKeys {
public:
    /// Request number `sequence` posts this event.
    void posted(std::uint32_t sequence, HardwareKey key, bool down);

    /// The posting device reported an event after request `sequence`, stamped `time`.
    void emitted(std::uint32_t sequence, HardwareKey key, bool down, std::uint32_t time);

    /// Whether this event of the whole keyboard is one of ours. True once for each.
    bool take(HardwareKey key, bool down, std::uint32_t time);

private:
    struct Entry {
        /// The request's number, later the event's time.
        std::uint32_t mark;
        HardwareKey key;
        bool down;
        bool operator==(const Entry&) const = default;
    };
    std::deque<Entry> requests;
    std::deque<Entry> events;
};

} // namespace vorlin
