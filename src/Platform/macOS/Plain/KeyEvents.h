#pragma once

#include "Ports/EventTap.h"

#include <cstdint>
#include <optional>

namespace vorlin {

/// One bit of a mask of event types.
constexpr std::uint64_t eventMask(KeyEventType type)
{
    return std::uint64_t{1} << static_cast<std::uint32_t>(type);
}

/// The types that an event tap is asked for: keys that go down, keys that go up, modifiers.
constexpr std::uint64_t tappedEvents = eventMask(KeyEventType::keyDown) |
                                       eventMask(KeyEventType::keyUp) |
                                       eventMask(KeyEventType::flagsChanged);

/// The types that are recorded from.
constexpr std::uint64_t recordedEvents =
    eventMask(KeyEventType::keyDown) | eventMask(KeyEventType::flagsChanged);

/// The type with this number, or nothing for one that no tap of ours asks for.
std::optional<KeyEventType> keyEventType(std::uint32_t number);

/// Whether such an event is one of a key. The others tell of the tap and have no fields to read.
bool isOfAKey(KeyEventType type);

} // namespace vorlin
