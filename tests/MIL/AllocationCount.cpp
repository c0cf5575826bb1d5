#include "AllocationCount.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t allocations = 0;
} // namespace

void* operator new(std::size_t bytes)
{
    ++allocations;
    if (void* block = std::malloc(bytes == 0 ? 1 : bytes)) {
        return block;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept
{
    ++allocations;
    return std::malloc(bytes == 0 ? 1 : bytes);
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}

std::size_t vorlin::mil::test::allocationCount()
{
    return allocations;
}
