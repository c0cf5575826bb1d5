#include "MIL/ElementType.h"

#include <array>
#include <limits>

namespace vorlin::mil {

namespace {

struct Description {
    std::string_view name;
    std::uint8_t bits;
    char family; // b boolean, s string, f floating, i signed, u unsigned
};

constexpr std::array<Description, 22> descriptions{{
    {"bool", 8, 'b'},    {"string", 0, 's'},  {"fp16", 16, 'f'},   {"fp32", 32, 'f'},
    {"fp64", 64, 'f'},   {"bf16", 16, 'f'},   {"fp8e4m3", 8, 'f'}, {"fp8e5m2", 8, 'f'},
    {"int4", 4, 'i'},    {"int8", 8, 'i'},    {"int16", 16, 'i'},  {"int32", 32, 'i'},
    {"int64", 64, 'i'},  {"uint1", 1, 'u'},   {"uint2", 2, 'u'},   {"uint3", 3, 'u'},
    {"uint4", 4, 'u'},   {"uint6", 6, 'u'},   {"uint8", 8, 'u'},   {"uint16", 16, 'u'},
    {"uint32", 32, 'u'}, {"uint64", 64, 'u'},
}};

const Description& describe(ElementType type)
{
    return descriptions[static_cast<std::size_t>(type)];
}

} // namespace

std::optional<ElementType> elementTypeNamed(std::string_view name)
{
    for (std::size_t i = 0; i < descriptions.size(); ++i) {
        const auto type = static_cast<ElementType>(i);
        if (descriptions[i].name == name && type != ElementType::fp8e4m3 &&
            type != ElementType::fp8e5m2) {
            return type;
        }
    }
    return std::nullopt;
}

std::string_view nameOf(ElementType type)
{
    return describe(type).name;
}

std::size_t bitsOf(ElementType type)
{
    return describe(type).bits;
}

std::optional<std::size_t> byteCount(ElementType type, std::uint64_t count)
{
    const std::size_t bits = bitsOf(type);
    if (bits == 0 || count > (std::numeric_limits<std::size_t>::max() - 7) / bits) {
        return std::nullopt;
    }
    return (static_cast<std::size_t>(count) * bits + 7) / 8;
}

bool isFloat(ElementType type)
{
    return describe(type).family == 'f';
}

bool isInteger(ElementType type)
{
    return isSigned(type) || describe(type).family == 'u';
}

bool isSigned(ElementType type)
{
    return describe(type).family == 'i';
}

std::int64_t lowestOf(ElementType type)
{
    return isSigned(type) ? -1 - highestOf(type) : 0;
}

std::int64_t highestOf(ElementType type)
{
    const std::size_t bits = bitsOf(type) - (isSigned(type) ? 1 : 0);
    return bits >= 63 ? std::numeric_limits<std::int64_t>::max() : (std::int64_t{1} << bits) - 1;
}

} // namespace vorlin::mil
