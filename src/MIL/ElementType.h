#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vorlin::mil {

/// Every scalar type of the program text and of weight files.
enum class ElementType : std::uint8_t {
    boolean,
    string,
    fp16,
    fp32,
    fp64,
    bf16,
    fp8e4m3,
    fp8e5m2,
    int4,
    int8,
    int16,
    int32,
    int64,
    uint1,
    uint2,
    uint3,
    uint4,
    uint6,
    uint8,
    uint16,
    uint32,
    uint64,
};

/// The type a program text means by `name`; nothing for other words and for the two 8-bit
/// floating types, which only weight files have.
std::optional<ElementType> elementTypeNamed(std::string_view name);

std::string_view nameOf(ElementType type);

/// Bits an element takes in memory; a boolean takes a byte. Zero for strings.
std::size_t bitsOf(ElementType type);

/// Bytes that `count` elements take; types under a byte are packed as one little-endian stream of
/// bits. Nothing when the number does not fit, or for strings.
std::optional<std::size_t> byteCount(ElementType type, std::uint64_t count);

bool isFloat(ElementType type);
bool isInteger(ElementType type);
bool isSigned(ElementType type);

/// Smallest and largest value of an integer type; uint64 ends at the largest int64.
std::int64_t lowestOf(ElementType type);
std::int64_t highestOf(ElementType type);

} // namespace vorlin::mil
