#include "Platform/Linux/Engine/Wire/SharedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <utility>

namespace vorlin::engine {

namespace {

std::span<std::byte> mapped(const Descriptor& memory, std::uint64_t bytes)
{
    void* const address =
        ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, memory.number(), 0);
    return address == MAP_FAILED ? std::span<std::byte>()
                                 : std::span(static_cast<std::byte*>(address), bytes);
}

} // namespace

SharedMemory::SharedMemory(SharedMemory&& other) noexcept : span(std::exchange(other.span, {})) {}

SharedMemory& SharedMemory::operator=(SharedMemory&& other) noexcept
{
    std::swap(span, other.span);
    return *this;
}

SharedMemory::~SharedMemory()
{
    if (!span.empty()) {
        ::munmap(span.data(), span.size());
    }
}

std::optional<std::pair<SharedMemory, Descriptor>> SharedMemory::create(std::uint64_t bytes)
{
    Descriptor memory(::memfd_create("vorlin-tensors", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    // Taken now, and not page by page later: running out is then an error and no bus error.
    if (!memory || ::fallocate(memory.number(), 0, 0, static_cast<off_t>(bytes)) != 0 ||
        ::fcntl(memory.number(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
        return std::nullopt;
    }
    const auto span = mapped(memory, bytes);
    if (span.empty()) {
        return std::nullopt;
    }
    return std::pair(SharedMemory(span), std::move(memory));
}

std::optional<SharedMemory> SharedMemory::map(const Descriptor& memory, std::uint64_t bytes)
{
    struct stat status = {};
    if (!memory || bytes == 0 || ::fstat(memory.number(), &status) != 0 ||
        std::cmp_not_equal(status.st_size, bytes)) {
        return std::nullopt;
    }
    const auto span = mapped(memory, bytes);
    return span.empty() ? std::nullopt : std::optional(SharedMemory(span));
}

} // namespace vorlin::engine
