#include "MIL/Kernels/Elementwise/Elements.h"

#include <algorithm>
#include <cstring>

namespace vorlin::mil {

namespace {

template <class T>
void widenIntegers(const std::byte* data, std::int64_t first, std::int64_t count, std::int64_t* out)
{
    const T* const in = reinterpret_cast<const T*>(data) + first;
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = static_cast<std::int64_t>(in[i]); // NOLINT(bugprone-signed-char-misuse): a number
    }
}

template <class T>
void wrapIntegers(std::byte* data, std::int64_t first, std::int64_t count,
                  const std::int64_t* values)
{
    T* const out = reinterpret_cast<T*>(data) + first;
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = static_cast<T>(values[i]);
    }
}

} // namespace

bool isComputed(ElementType type)
{
    return type == ElementType::fp16 || type == ElementType::fp32;
}

bool isWhole(ElementType type)
{
    return type == ElementType::boolean ||
           (isInteger(type) && bitsOf(type) >= 8 && bitsOf(type) <= 32);
}

void loadFloats(const TensorView& tensor, std::int64_t first, std::int64_t count, float* out)
{
    if (tensor.type.element == ElementType::fp16) {
        widenAll(tensor.as<Half>() + first, count, out);
    } else {
        std::memcpy(out, tensor.as<float>() + first, static_cast<std::size_t>(count) * 4);
    }
}

void storeFloats(const TensorBuffer& tensor, std::int64_t first, std::int64_t count,
                 const float* values)
{
    if (tensor.type.element == ElementType::fp16) {
        narrowAll(values, count, tensor.as<Half>() + first);
    } else {
        std::memcpy(tensor.as<float>() + first, values, static_cast<std::size_t>(count) * 4);
    }
}

void loadIntegers(const TensorView& tensor, std::int64_t first, std::int64_t count,
                  std::int64_t* out)
{
    switch (tensor.type.element) {
    case ElementType::int8: widenIntegers<std::int8_t>(tensor.data, first, count, out); break;
    case ElementType::int16: widenIntegers<std::int16_t>(tensor.data, first, count, out); break;
    case ElementType::int32: widenIntegers<std::int32_t>(tensor.data, first, count, out); break;
    case ElementType::uint16: widenIntegers<std::uint16_t>(tensor.data, first, count, out); break;
    case ElementType::uint32: widenIntegers<std::uint32_t>(tensor.data, first, count, out); break;
    default: widenIntegers<std::uint8_t>(tensor.data, first, count, out); break;
    }
}

void storeIntegers(const TensorBuffer& tensor, std::int64_t first, std::int64_t count,
                   const std::int64_t* values)
{
    switch (bitsOf(tensor.type.element)) {
    case 8: wrapIntegers<std::uint8_t>(tensor.data, first, count, values); break;
    case 16: wrapIntegers<std::uint16_t>(tensor.data, first, count, values); break;
    default: wrapIntegers<std::uint32_t>(tensor.data, first, count, values); break;
    }
}

const float* FloatChunk::load(const TensorView& tensor, std::int64_t first, std::int64_t count,
                              bool advances)
{
    if (!advances) {
        float value = 0;
        loadFloats(tensor, first, 1, &value);
        std::fill_n(buffer.data(), count, value);
        return buffer.data();
    }
    if (tensor.type.element == ElementType::fp32) {
        return tensor.as<float>() + first;
    }
    loadFloats(tensor, first, count, buffer.data());
    return buffer.data();
}

const std::int64_t* IntegerChunk::load(const TensorView& tensor, std::int64_t first,
                                       std::int64_t count, bool advances)
{
    if (!advances) {
        std::int64_t value = 0;
        loadIntegers(tensor, first, 1, &value);
        std::fill_n(buffer.data(), count, value);
    } else {
        loadIntegers(tensor, first, count, buffer.data());
    }
    return buffer.data();
}

} // namespace vorlin::mil
