#pragma once

#include <cstdint>
#include <string>

namespace vorlin {

/// `bytes` as a person reads a file's size: base 1000, "Zero KB" for none, bytes and KB in whole
/// numbers, MB with one decimal, GB and more with two, halves rounded up and zeros at the end
/// dropped. What would round to 1000 of a unit is one of the next: "623.4 MB", "1 GB".
std::string byteCount(std::uint64_t bytes);

} // namespace vorlin
