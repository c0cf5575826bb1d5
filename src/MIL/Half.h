#pragma once

#include <bit>
#include <cstdint>

namespace vorlin::mil {

/// A binary16 number as its bits. Arithmetic happens in single precision.
struct Half {
    std::uint16_t bits = 0;
};

/// Exact.
inline float widen(Half half)
{
    const std::uint32_t sign = (half.bits & 0x8000u) << 16;
    const std::uint32_t magnitude = half.bits & 0x7fffu;
    if (magnitude >= 0x7c00u) { // infinity or not a number
        return std::bit_cast<float>(sign | 0x7f800000u | ((magnitude & 0x3ffu) << 13));
    }
    if (magnitude >= 0x400u) {
        return std::bit_cast<float>(sign | ((magnitude + (112u << 10)) << 13));
    }
    const float value = static_cast<float>(magnitude) * 0x1p-24f; // subnormal or zero
    return std::bit_cast<float>(sign | std::bit_cast<std::uint32_t>(value));
}

/// Rounds to nearest, ties to even; overflows to infinity; keeps subnormals.
inline Half narrow(float value)
{
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const auto sign = static_cast<std::uint16_t>((bits >> 16) & 0x8000u);
    std::uint32_t magnitude = bits & 0x7fffffffu;
    if (magnitude > 0x7f800000u) {
        return {static_cast<std::uint16_t>(sign | 0x7e00u | ((magnitude >> 13) & 0x1ffu))};
    }
    if (magnitude >= 0x477ff000u) { // rounds to 2^16 or more
        return {static_cast<std::uint16_t>(sign | 0x7c00u)};
    }
    if (magnitude < 0x38800000u) { // below the smallest normal half: let the adder round
        const float shifted = std::bit_cast<float>(magnitude) + 0.5f;
        return {static_cast<std::uint16_t>(
            sign | (std::bit_cast<std::uint32_t>(shifted) - std::bit_cast<std::uint32_t>(0.5f)))};
    }
    magnitude += 0xfffu + ((magnitude >> 13) & 1u) - (112u << 23);
    return {static_cast<std::uint16_t>(sign | (magnitude >> 13))};
}

/// The same from double precision, rounded once: on the way, single precision keeps in its last
/// bit that something was cut off.
inline Half narrowOnce(double value)
{
    const auto single = static_cast<float>(value);
    auto bits = std::bit_cast<std::uint32_t>(single);
    const auto back = static_cast<double>(single);
    if (back != value && back - back == 0) { // finite and inexact
        bits -= (value < 0 ? back < value : back > value) ? 1 : 0;
        bits |= 1;
    }
    return narrow(std::bit_cast<float>(bits));
}

/// The upper half of a single-precision number.
inline float widenBfloat(std::uint16_t bits)
{
    return std::bit_cast<float>(static_cast<std::uint32_t>(bits) << 16);
}

/// 4 exponent bits of bias 7; no infinities, not-a-number is all ones.
float widenE4M3(std::uint8_t bits);

/// 5 exponent bits of bias 15; infinities and not-a-numbers as usual.
inline float widenE5M2(std::uint8_t bits)
{
    return widen(Half{static_cast<std::uint16_t>(bits << 8)});
}

} // namespace vorlin::mil
