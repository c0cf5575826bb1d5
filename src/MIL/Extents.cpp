#include "MIL/Extents.h"

#include "MIL/Error.h"

#include <algorithm>

namespace vorlin::mil {

void Extents::refuse()
{
    throw Error("a tensor has too many axes");
}

void Extents::insert(std::size_t position, std::int64_t value)
{
    push(value);
    std::rotate(begin() + position, end() - 1, end());
}

void Extents::erase(std::size_t position)
{
    std::copy(begin() + position + 1, end(), begin() + position);
    --count;
}

bool isKnown(const Shape& shape)
{
    return std::all_of(shape.begin(), shape.end(), [](std::int64_t extent) { return extent >= 0; });
}

std::int64_t elementCount(const Shape& shape)
{
    constexpr std::int64_t limit = std::int64_t{1} << 40;
    std::int64_t count = 1;
    bool empty = false;
    for (std::int64_t extent : shape) {
        // Empty tensors are held to the limit too, so that products of some extents fit as well.
        if (extent < 0 || extent > limit / count) {
            throw Error("a tensor of shape " + describe(shape) + " is too large");
        }
        count *= extent == 0 ? 1 : extent;
        empty = empty || extent == 0;
    }
    return empty ? 0 : count;
}

std::int64_t product(const Shape& shape, std::size_t from, std::size_t to)
{
    std::int64_t result = 1;
    for (std::size_t i = from; i < to; ++i) {
        result *= shape[i];
    }
    return result;
}

std::string describe(const Extents& extents)
{
    std::string text = "[";
    for (std::size_t i = 0; i < extents.size(); ++i) {
        text += i == 0 ? "" : ", ";
        text += extents[i] == Extents::unknown ? "?" : std::to_string(extents[i]);
    }
    return text + "]";
}

} // namespace vorlin::mil
