#pragma once

#include "Ports/MLModel.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vorlin {

/// The numbers that Core ML gives to element types.
namespace dataTypes {
inline constexpr std::int64_t float32 = 0x10000 | 32;
inline constexpr std::int64_t float16 = 0x10000 | 16;
inline constexpr std::int64_t int32 = 0x20000 | 32;
} // namespace dataTypes

/// An element type by the number that Core ML gives it; nothing for one that `MultiArray` does not
/// have.
std::optional<MLElementType> elementType(std::int64_t dataType);

/// The number of an element type there.
std::int64_t dataType(MLElementType type);

/// The one shape with these extents.
std::vector<ExtentRange> exactly(const MultiArray::Extents& extents);

/// The extents from `least` on, `count` of them; as far as a number goes.
ExtentRange extents(std::uint64_t least, std::uint64_t count);

} // namespace vorlin
