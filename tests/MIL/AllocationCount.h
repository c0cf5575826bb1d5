#pragma once

#include <atomic>
#include <cstddef>

namespace vorlin::mil::test {

/// How often this thread has asked for memory with `new`.
std::size_t allocationCount();

/// The same, for another thread to read as long as this one lives.
const std::atomic<std::size_t>& allocationsOfThisThread();

/// The most memory from `new` that this thread has held at one time since the count began, beyond
/// what it held then. Memory that other threads free is not seen.
void beginPeak();
std::size_t peakBytes();

} // namespace vorlin::mil::test
