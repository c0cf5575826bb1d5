#pragma once

#include <cstdint>

namespace vorlin::mil {

/// The place of the first of a row's largest numbers, found as the reference finds it.
std::int64_t firstLargest(const float* row, std::int64_t width);

namespace reference {
/// Goes through the row and keeps the first number unless a later one is larger or the first that
/// is not a number; width at least 1.
std::int64_t firstLargest(const float* row, std::int64_t width);
} // namespace reference

} // namespace vorlin::mil
