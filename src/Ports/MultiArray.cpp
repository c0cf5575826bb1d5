#include "Ports/MultiArray.h"

#include "Async/Fatal.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace vorlin {

namespace {

constexpr std::int64_t mostElements = std::int64_t{1} << 40;

std::int64_t product(const MultiArray::Extents& shape)
{
    std::int64_t count = 1;
    for (const auto extent : shape) {
        if (extent < 0 || (extent > 0 && count > mostElements / extent)) {
            fatal("an array of impossible extents");
        }
        count *= extent;
    }
    return count;
}

MultiArray::Extents denseStrides(const MultiArray::Extents& shape)
{
    product(shape); // which refuses what the steps could not hold
    MultiArray::Extents strides(shape.size());
    std::int64_t step = 1;
    for (std::size_t axis = shape.size(); axis-- > 0;) {
        strides[axis] = step;
        step *= shape[axis];
    }
    return strides;
}

double fromHalf(std::uint16_t bits)
{
    const int exponent = (bits >> 10) & 31;
    const int fraction = bits & 1023;
    const double sign = (bits & 0x8000) != 0 ? -1 : 1;
    if (exponent == 31) {
        return fraction == 0 ? sign * std::numeric_limits<double>::infinity()
                             : std::numeric_limits<double>::quiet_NaN();
    }
    return exponent == 0 ? sign * std::ldexp(fraction, -24)
                         : sign * std::ldexp(1024 + fraction, exponent - 25);
}

} // namespace

std::string_view nameOf(MLElementType type)
{
    switch (type) {
    case MLElementType::float32: return "float32";
    case MLElementType::float16: return "float16";
    case MLElementType::int32: return "int32";
    }
    fatal("an element type out of range");
}

MultiArray::MultiArray(MLElementType type, Extents shape)
    : type(type), extents(std::move(shape)), steps(denseStrides(extents))
{
    const auto bytes = static_cast<std::size_t>(product(extents)) * bytesOf(type);
    // An empty array has an address too.
    memory = std::shared_ptr<std::byte>(new std::byte[bytes > 0 ? bytes : 1]{},
                                        std::default_delete<std::byte[]>());
}

MultiArray::MultiArray(MLElementType type, Extents shape, Extents strides,
                       std::shared_ptr<std::byte> memory)
    : type(type), extents(std::move(shape)), steps(std::move(strides)), memory(std::move(memory))
{
}

std::size_t MultiArray::elementCount() const
{
    return memory ? static_cast<std::size_t>(product(extents)) : 0;
}

bool MultiArray::isDense() const
{
    std::int64_t step = 1;
    for (std::size_t axis = extents.size(); axis-- > 0;) {
        if (extents[axis] > 1 && steps[axis] != step) {
            return false;
        }
        step *= extents[axis];
    }
    return true;
}

double MultiArray::number(std::int64_t offset) const
{
    const std::byte* element = memory.get() + offset * static_cast<std::int64_t>(bytesOf(type));
    switch (type) {
    case MLElementType::float32: {
        float value = 0;
        std::memcpy(&value, element, sizeof value);
        return value;
    }
    case MLElementType::int32: {
        std::int32_t value = 0;
        std::memcpy(&value, element, sizeof value);
        return value;
    }
    case MLElementType::float16: {
        std::uint16_t bits = 0;
        std::memcpy(&bits, element, sizeof bits);
        return fromHalf(bits);
    }
    }
    fatal("an element type out of range");
}

} // namespace vorlin
