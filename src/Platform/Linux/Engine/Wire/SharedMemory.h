#pragma once

#include "Platform/Shared/Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vorlin::engine {

/// Memory that two processes see. It can neither shrink nor grow, so that no access beyond its
/// size can be forced on anyone.
class SharedMemory {
public:
    SharedMemory() = default;
    SharedMemory(SharedMemory&& other) noexcept;
    SharedMemory& operator=(SharedMemory&& other) noexcept;
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;
    ~SharedMemory();

    /// New memory of zeros with the descriptor to hand over; nothing when there is none left.
    static std::optional<std::pair<SharedMemory, Descriptor>> create(std::uint64_t bytes);

    /// What another process created; nothing when it does not have that size.
    static std::optional<SharedMemory> map(const Descriptor& memory, std::uint64_t bytes);

    std::span<std::byte> bytes() const { return span; }
    std::uint64_t size() const { return span.size(); }

private:
    explicit SharedMemory(std::span<std::byte> span) : span(span) {}

    std::span<std::byte> span;
};

} // namespace vorlin::engine
