#include "Platform/Linux/Engine/Wire/Messages.h"

namespace vorlin::engine {

std::size_t bytesOf(Element element)
{
    switch (element) {
    case Element::float32:
    case Element::int32: return 4;
    case Element::float16: return 2;
    case Element::other: break;
    }
    return 0;
}

std::optional<std::uint64_t> byteCount(Element element, std::span<const std::int64_t> shape)
{
    std::uint64_t count = bytesOf(element);
    if (count == 0) {
        return std::nullopt;
    }
    bool empty = false;
    for (const auto extent : shape) {
        if (extent < 0) {
            return std::nullopt;
        }
        const auto factor = static_cast<std::uint64_t>(extent);
        empty = empty || factor == 0;
        if (factor > 0 && count > largestMemory / factor) {
            return std::nullopt; // an array of nothing must not be large along other axes either
        }
        count *= factor > 0 ? factor : 1;
    }
    return empty ? 0 : count;
}

bool liesWithin(const Tensor& tensor, std::uint64_t begin, std::uint64_t end)
{
    const auto bytes = byteCount(tensor.element, tensor.shape);
    return bytes && tensor.offset >= begin && tensor.offset <= end && *bytes <= end - tensor.offset;
}

} // namespace vorlin::engine
