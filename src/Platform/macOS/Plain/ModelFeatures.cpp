#include "Platform/macOS/Plain/ModelFeatures.h"

#include "Async/Fatal.h"

#include <algorithm>
#include <limits>

namespace vorlin {

namespace {

constexpr std::int64_t float32 = 0x10000 | 32;
constexpr std::int64_t float16 = 0x10000 | 16;
constexpr std::int64_t int32 = 0x20000 | 32;

} // namespace

std::optional<MLElementType> elementType(std::int64_t dataType)
{
    switch (dataType) {
    case float32: return MLElementType::float32;
    case float16: return MLElementType::float16;
    case int32: return MLElementType::int32;
    default: return std::nullopt;
    }
}

std::int64_t dataType(MLElementType type)
{
    switch (type) {
    case MLElementType::float32: return float32;
    case MLElementType::float16: return float16;
    case MLElementType::int32: return int32;
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
