#pragma once

#include "MIL/ElementType.h"
#include "MIL/Extents.h"
#include "MIL/Half.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace vorlin::mil {

struct TensorType {
    ElementType element = ElementType::fp32;
    Shape shape;

    friend bool operator==(const TensorType&, const TensorType&) = default;
};

/// "fp16 [1, 188]".
std::string describe(const TensorType& type);

/// Bytes of a tensor whose shape is known; throws Error when it is too large.
std::size_t byteCount(const TensorType& type);

/// A dense row-major tensor that somebody else owns, to be read.
struct TensorView {
    TensorType type;
    const std::byte* data = nullptr;

    const Shape& shape() const { return type.shape; }
    std::size_t rank() const { return type.shape.size(); }
    std::int64_t extent(std::size_t axis) const { return type.shape[axis]; }
    std::int64_t elements() const { return elementCount(type.shape); }
    template <class T>
    const T* as() const
    {
        return reinterpret_cast<const T*>(data);
    }
    /// The element at a flat index, from any type with elements of whole bytes or packed ones.
    double number(std::int64_t index) const;
    /// The same for integer and boolean tensors, exact to 64 bits.
    std::int64_t integer(std::int64_t index) const;
};

/// The bytes that hold elements [first, first + count).
std::span<const std::byte> bytesOf(const TensorView& tensor, std::int64_t first,
                                   std::int64_t count);

/// The same, to be written.
struct TensorBuffer {
    TensorType type;
    std::byte* data = nullptr;

    const Shape& shape() const { return type.shape; }
    std::size_t rank() const { return type.shape.size(); }
    std::int64_t extent(std::size_t axis) const { return type.shape[axis]; }
    std::int64_t elements() const { return elementCount(type.shape); }
    template <class T>
    T* as() const
    {
        return reinterpret_cast<T*>(data);
    }
    TensorView view() const { return {type, data}; }
    /// Stores a number at a flat index, rounded once to the element type; integers wrap.
    void set(std::int64_t index, double value) const;
};

/// Element `index` of a little-endian stream of `bits`-wide unsigned numbers, bits at most 8.
inline std::uint32_t packedBits(const std::byte* stream, std::size_t bits, std::uint64_t index)
{
    const std::uint64_t first = index * bits;
    const auto byte = static_cast<std::size_t>(first / 8);
    const auto shift = static_cast<std::size_t>(first % 8);
    auto value = static_cast<std::uint32_t>(stream[byte]) >> shift;
    if (shift + bits > 8) {
        value |= static_cast<std::uint32_t>(stream[byte + 1]) << (8 - shift);
    }
    return value & ((1u << bits) - 1u);
}

/// Writes what `packedBits` reads; the stream must hold zeros where the number goes.
void storePackedBits(std::byte* stream, std::size_t bits, std::uint64_t index, std::uint32_t value);

} // namespace vorlin::mil
