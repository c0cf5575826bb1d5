#pragma once

#include "Platform/Shared/Descriptor.h"

#include <chrono>
#include <cstddef>
#include <span>
#include <utility>

/// Packets over a pair of connected sockets.
namespace vorlin::engine {

/// Two connected ends that keep packets apart and are closed by exec; empty ones when the process
/// has no descriptors left.
std::pair<Descriptor, Descriptor> channel();

/// From now on `receive` on this end gives up after `patience`.
void setPatience(const Descriptor& end, std::chrono::milliseconds patience);

enum class Waiting { yes, no };

/// Sends one packet, with a descriptor if it is not negative. Returns whether it is on its way:
/// not when the other side is gone, or when it would have to wait and may not. Never raises a
/// signal.
bool send(const Descriptor& end, std::span<const std::byte> packet, int attached, Waiting waiting);

struct Received {
    enum class What { packet, nothingYet, end };
    What what = What::end;
    std::size_t size = 0; // larger than the buffer if the packet was
    Descriptor attached{};
};

/// Waits for a packet. Descriptors that come along are refused.
Received receive(const Descriptor& end, std::span<std::byte> buffer);

/// The same, taking one descriptor that comes along.
Received receiveAttached(const Descriptor& end, std::span<std::byte> buffer);

} // namespace vorlin::engine
