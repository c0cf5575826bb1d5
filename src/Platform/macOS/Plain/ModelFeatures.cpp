#include "Platform/macOS/Plain/ModelFeatures.h"

#include "Async/Fatal.h"

#include <algorithm>
#include <limits>

namespace vorlin {

std::optional<MLElementType> elementType(std::int64_t dataType)
{
    switch (dataType) {
    case dataTypes::float32: return MLElementType::float32;
    case dataTypes::float16: return MLElementType::float16;
    case dataTypes::int32: return MLElementType::int32;
    default: return std::nullopt;
    }
}

std::int64_t dataType(MLElementType type)
{
    switch (type) {
    case MLElementType::float32: return dataTypes::float32;
    case MLElementType::float16: return dataTypes::float16;
    case MLElementType::int32: return dataTypes::int32;
    }
    fatal("an element type out of range");
}

std::vector<ExtentRange> exactly(const MultiArray::Extents& extents)
{
    std::vector<ExtentRange> ranges;
    for (const auto extent : extents) {
        ranges.push_back({extent, extent});
    }
    return ranges;
}

ExtentRange extents(std::uint64_t least, std::uint64_t count)
{
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
    const std::uint64_t first = std::min(least, largest);
    const std::uint64_t more = std::min(count > 0 ? count - 1 : 0, largest - first);
    return {static_cast<std::int64_t>(first), static_cast<std::int64_t>(first + more)};
}

} // namespace vorlin
