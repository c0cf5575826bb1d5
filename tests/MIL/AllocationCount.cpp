#include "AllocationCount.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// A block's size stands in front of it, in as many bytes as any type may ask to be aligned to.
constexpr std::size_t front = alignof(std::max_align_t);

thread_local std::atomic<std::size_t> allocations = 0;
thread_local std::int64_t held = 0;
thread_local std::int64_t most = 0;
thread_local std::int64_t start = 0;

void* allocate(std::size_t bytes) noexcept
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    auto* const block =
        bytes > SIZE_MAX - front ? nullptr : static_cast<std::byte*>(std::malloc(bytes + front));
    if (block == nullptr) {
        return nullptr;
    }
    std::memcpy(block, &bytes, sizeof(bytes));
    held += static_cast<std::int64_t>(bytes);
    most = held > most ? held : most;
    return block + front;
}

void release(void* memory) noexcept
{
    if (memory == nullptr) {
        return;
    }
    std::byte* const block = static_cast<std::byte*>(memory) - front;
    std::size_t bytes = 0;
    std::memcpy(&bytes, block, sizeof(bytes));
    held -= static_cast<std::int64_t>(bytes);
    std::free(block);
}

} // namespace

void* operator new(std::size_t bytes)
{
    if (void* const memory = allocate(bytes)) {
        return memory;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept
{
    return allocate(bytes);
}

void operator delete(void* memory) noexcept
{
    release(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    release(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    release(memory);
}

namespace vorlin::mil::test {

std::size_t allocationCount()
{
    return allocations;
}

const std::atomic<std::size_t>& allocationsOfThisThread()
{
    return allocations;
}

void beginPeak()
{
    start = held;
    most = held;
}

std::size_t peakBytes()
{
    return static_cast<std::size_t>(most - start);
}

} // namespace vorlin::mil::test
