#include "MIL/Tensor.h"

#include "MIL/Error.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace vorlin::mil {

namespace {

template <class T>
T load(const std::byte* data, std::int64_t index)
{
    T value;
    std::memcpy(&value, data + static_cast<std::size_t>(index) * sizeof(T), sizeof(T));
    return value;
}

template <class T>
void store(std::byte* data, std::int64_t index, T value)
{
    std::memcpy(data + static_cast<std::size_t>(index) * sizeof(T), &value, sizeof(T));
}

/// Truncates toward zero; what does not fit becomes the nearest number that does.
std::int64_t truncated(double value)
{
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= 0x1p63) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return value < -0x1p63 ? std::numeric_limits<std::int64_t>::min()
                           : static_cast<std::int64_t>(value);
}

} // namespace

float widenE4M3(std::uint8_t bits)
{
    const float sign = (bits & 0x80) != 0 ? -1.0f : 1.0f;
    const int exponent = (bits >> 3) & 15;
    const int fraction = bits & 7;
    if (exponent == 15 && fraction == 7) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    return exponent == 0 ? sign * std::ldexp(static_cast<float>(fraction), -9)
                         : sign * std::ldexp(static_cast<float>(8 + fraction), exponent - 10);
}

std::string describe(const TensorType& type)
{
    return std::string(nameOf(type.element)) + " " + describe(type.shape);
}

std::size_t byteCount(const TensorType& type)
{
    const auto bytes =
        byteCount(type.element, static_cast<std::uint64_t>(elementCount(type.shape)));
    if (!bytes) {
        throw Error("a tensor of type " + describe(type) + " has no size");
    }
    return *bytes;
}

std::span<const std::byte> bytesOf(const TensorView& tensor, std::int64_t first, std::int64_t count)
{
    if (count == 0) {
        return {};
    }
    const std::size_t bits = bitsOf(tensor.type.element);
    const std::size_t begin = static_cast<std::size_t>(first) * bits / 8;
    const std::size_t end = (static_cast<std::size_t>(first + count) * bits + 7) / 8;
    return {tensor.data + begin, end - begin};
}

std::int64_t TensorView::integer(std::int64_t index) const
{
    const std::size_t bits = bitsOf(type.element);
    switch (type.element) {
    case ElementType::boolean: return data[index] != std::byte{0} ? 1 : 0;
    case ElementType::int8: return load<std::int8_t>(data, index);
    case ElementType::int16: return load<std::int16_t>(data, index);
    case ElementType::int32: return load<std::int32_t>(data, index);
    case ElementType::int64: return load<std::int64_t>(data, index);
    case ElementType::uint8: return load<std::uint8_t>(data, index);
    case ElementType::uint16: return load<std::uint16_t>(data, index);
    case ElementType::uint32: return load<std::uint32_t>(data, index);
    case ElementType::uint64: return static_cast<std::int64_t>(load<std::uint64_t>(data, index));
    case ElementType::int4: {
        const auto value = packedBits(data, bits, static_cast<std::uint64_t>(index));
        return static_cast<std::int64_t>(value) - (value >= 8 ? 16 : 0);
    }
    case ElementType::uint1:
    case ElementType::uint2:
    case ElementType::uint3:
    case ElementType::uint4:
    case ElementType::uint6: return packedBits(data, bits, static_cast<std::uint64_t>(index));
    default: return truncated(number(index));
    }
}

double TensorView::number(std::int64_t index) const
{
    switch (type.element) {
    case ElementType::fp16: return static_cast<double>(widen(load<Half>(data, index)));
    case ElementType::fp32: return static_cast<double>(load<float>(data, index));
    case ElementType::fp64: return load<double>(data, index);
    case ElementType::bf16:
        return static_cast<double>(widenBfloat(load<std::uint16_t>(data, index)));
    case ElementType::fp8e4m3:
        return static_cast<double>(widenE4M3(load<std::uint8_t>(data, index)));
    case ElementType::fp8e5m2:
        return static_cast<double>(widenE5M2(load<std::uint8_t>(data, index)));
    case ElementType::string: return 0;
    default: return static_cast<double>(integer(index));
    }
}

void TensorBuffer::set(std::int64_t index, double value) const
{
    const auto whole = [&] { return static_cast<std::uint64_t>(truncated(value)); };
    switch (type.element) {
    case ElementType::boolean: data[index] = value != 0.0 ? std::byte{1} : std::byte{0}; break;
    case ElementType::fp16: store(data, index, narrow(static_cast<float>(value))); break;
    case ElementType::fp32: store(data, index, static_cast<float>(value)); break;
    case ElementType::fp64: store(data, index, value); break;
    case ElementType::int8:
    case ElementType::uint8: store(data, index, static_cast<std::uint8_t>(whole())); break;
    case ElementType::int16:
    case ElementType::uint16: store(data, index, static_cast<std::uint16_t>(whole())); break;
    case ElementType::int32:
    case ElementType::uint32: store(data, index, static_cast<std::uint32_t>(whole())); break;
    case ElementType::int64:
    case ElementType::uint64: store(data, index, whole()); break;
    case ElementType::int4:
    case ElementType::uint1:
    case ElementType::uint2:
    case ElementType::uint3:
    case ElementType::uint4:
    case ElementType::uint6: {
        const std::size_t bits = bitsOf(type.element);
        storePackedBits(data, bits, static_cast<std::uint64_t>(index),
                        static_cast<std::uint32_t>(whole()) & ((1u << bits) - 1u));
        break;
    }
    default:
        throw Error("no operation writes elements of type " + std::string(nameOf(type.element)));
    }
}

void storePackedBits(std::byte* stream, std::size_t bits, std::uint64_t index, std::uint32_t value)
{
    const std::uint64_t first = index * bits;
    const auto byte = static_cast<std::size_t>(first / 8);
    const auto shift = static_cast<std::size_t>(first % 8);
    stream[byte] |= static_cast<std::byte>((value << shift) & 0xffu);
    if (shift + bits > 8) {
        stream[byte + 1] |= static_cast<std::byte>(value >> (8 - shift));
    }
}

} // namespace vorlin::mil
