#pragma once

#include <cstdint>

namespace vorlin::engine {

/// The first byte of a packet.
enum class MessageKind : std::uint8_t {
    load = 1,
    stop,
    predict,
    resume,
    loaded,
    computed,
    needsMemory,
    stopped,
    failed,
};

} // namespace vorlin::engine
