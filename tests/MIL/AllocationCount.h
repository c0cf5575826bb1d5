#pragma once

#include <cstddef>

namespace vorlin::mil::test {

/// How often the calling thread has asked for memory since it started.
std::size_t allocationCount();

} // namespace vorlin::mil::test
