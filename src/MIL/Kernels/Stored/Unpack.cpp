#include "MIL/Kernels/Stored/Unpack.h"

namespace vorlin::mil
{

void unpackNumbers(const TensorView& tensor, std::int64_t first, std::int64_t count, float* out)
{
    if (tensor.type.element == ElementType::int8) {
        const auto* const in = tensor.as<std::int8_t>() + first;
        for (std::int64_t i = 0; i < count; ++i) {
            out[i] = static_cast<float>(in[i]);
        }
        return;
    }
    if (tensor.type.element == ElementType::uint8) {
        const auto* const in = tensor.as<std::uint8_t>() + first;
        for (std::int64_t i = 0; i < count; ++i) {
            out[i] = static_cast<float>(in[i]);
        }
        return;
    }
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = static_cast<float>(tensor.integer(first + i));
    }
}

void lookUp(const std::byte* stream, std::size_t bits, std::int64_t first, std::int64_t count,
            const float* palette, std::int64_t, float* out)
{
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = palette[packedBits(stream, bits, static_cast<std::uint64_t>(first + i))];
    }
}

} // namespace vorlin::mil
