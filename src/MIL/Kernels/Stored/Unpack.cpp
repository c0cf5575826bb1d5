#include "MIL/Kernels/Stored/Unpack.h"

#include "MIL/Kernels/Elementwise/Elements.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Stored/Unpack.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "MIL/Kernels/Elementwise/HalfVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Floats = hn::ScalableTag<float>;

/// Signed or unsigned bytes as floats; returns how many, the last few are the caller's.
template <class Byte>
HWY_INLINE std::int64_t widenBytes(const Byte* in, std::int64_t count, float* out)
{
    const Floats floats;
    const hn::RebindToSigned<Floats> integers;
    const hn::Rebind<Byte, Floats> bytes;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(floats));
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto wide = hn::PromoteTo(integers, hn::LoadU(bytes, in + i));
        hn::StoreU(hn::ConvertTo(floats, wide), floats, out + i);
    }
    return i;
}

std::int64_t widenSigned(const std::int8_t* in, std::int64_t count, float* out)
{
    return widenBytes(in, count, out);
}

std::int64_t widenUnsigned(const std::uint8_t* in, std::int64_t count, float* out)
{
    return widenBytes(in, count, out);
}

std::int64_t shiftAndScale(float* values, std::int64_t count, float offset, float scale,
                           bool toHalf)
{
    const Floats floats;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(floats));
    const auto shift = hn::Set(floats, offset);
    const auto factor = hn::Set(floats, scale);
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        auto value = hn::Mul(hn::Sub(hn::LoadU(floats, values + i), shift), factor);
        if (toHalf) {
            value = widenHalves(floats, narrowToHalves(floats, value));
        }
        hn::StoreU(value, floats, values + i);
    }
    return i;
}

std::int64_t shiftAndScaleEach(float* values, std::int64_t count, const float* offsets,
                               const float* scales, bool toHalf)
{
    const Floats floats;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(floats));
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        auto value = hn::LoadU(floats, values + i);
        value = offsets == nullptr ? value : hn::Sub(value, hn::LoadU(floats, offsets + i));
        value = hn::Mul(value, hn::LoadU(floats, scales + i));
        if (toHalf) {
            value = widenHalves(floats, narrowToHalves(floats, value));
        }
        hn::StoreU(value, floats, values + i);
    }
    return i;
}

#if HWY_TARGET == HWY_SCALAR

// Without vectors the callers do it all one by one.
std::int64_t unpackSix(const std::uint8_t*, std::int64_t, std::uint8_t*)
{
    return 0;
}
std::int64_t unpackFour(const std::uint8_t*, std::int64_t, std::uint8_t*)
{
    return 0;
}

void lookUpHalves(const std::uint8_t* indices, std::int64_t count, const HalfPalette& palette, bool,
                  float* out)
{
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = widen(Half{palette.whole[indices[i]]});
    }
}

void lookUpSome(const std::uint8_t* indices, std::int64_t count, const std::uint8_t* entries, bool,
                std::uint8_t* out)
{
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = entries[indices[i]];
    }
}

#else

using Bytes = hn::CappedTag<std::uint8_t, mostTogether>;
using Words = hn::Repartition<std::uint32_t, Bytes>;
using ByteVector = hn::Vec<Bytes>;

/// Indices unpacked together.
constexpr std::int64_t together = static_cast<std::int64_t>(hn::MaxLanes(Bytes()));

/// A vector of six-bit indices, lowest bits first, from three quarters of a vector of bytes.
HWY_INLINE ByteVector spreadSix(ByteVector packed)
{
    const Bytes bytes;
    const Words words;
#if HWY_MAX_BYTES > 16
    // Twelve bytes for each block of sixteen.
    alignas(64) static constexpr std::uint32_t blocks[16] = {0, 1, 2, 3, 3, 4,  5,  6,
                                                             6, 7, 8, 9, 9, 10, 11, 12};
    packed = hn::BitCast(
        bytes, hn::TableLookupLanes(
                   hn::BitCast(words, packed),
                   hn::SetTableIndices(words, reinterpret_cast<const std::int32_t*>(blocks))));
#endif
    // Three bytes hold four indices.
    alignas(16) static constexpr std::uint8_t order[16] = {0, 1, 2, 2, 3, 4,  5,  5,
                                                           6, 7, 8, 8, 9, 10, 11, 11};
    const auto group =
        hn::BitCast(words, hn::TableLookupBytes(packed, hn::LoadDup128(bytes, order)));
    const auto mask = hn::Set(words, 0x3fu);
    const auto a = hn::And(group, mask);
    const auto b = hn::And(hn::ShiftLeft<2>(group), hn::ShiftLeft<8>(mask));
    const auto c = hn::And(hn::ShiftLeft<4>(group), hn::ShiftLeft<16>(mask));
    const auto d = hn::And(hn::ShiftLeft<6>(group), hn::ShiftLeft<24>(mask));
    return hn::BitCast(bytes, hn::Or(hn::Or(a, b), hn::Or(c, d)));
}

/// Unpacks six-bit indices that start at a whole byte; returns how many. Writes whole vectors.
std::int64_t unpackSix(const std::uint8_t* in, std::int64_t count, std::uint8_t* out)
{
    const Bytes bytes;
    const auto packedBytes = [](std::int64_t indices) { return (indices * 6 + 7) / 8; };
    std::int64_t i = 0;
    for (; packedBytes(count - i) >= together; i += together) {
        hn::StoreU(spreadSix(hn::LoadU(bytes, in + packedBytes(i))), bytes, out + i);
    }
    for (; i < count; i += together) { // a whole load would reach beyond the end
        alignas(64) std::uint8_t rest[together] = {};
        std::copy_n(in + packedBytes(i), packedBytes(count - i), rest);
        hn::StoreU(spreadSix(hn::Load(bytes, rest)), bytes, out + i);
    }
    return count;
}

std::int64_t unpackFour(const std::uint8_t* in, std::int64_t count, std::uint8_t* out)
{
    const hn::Full128<std::uint8_t> bytes;
    const auto mask = hn::Set(bytes, std::uint8_t{15});
    const hn::Full128<std::uint16_t> pairs;
    std::int64_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const auto both = hn::LoadU(bytes, in + i / 2);
        const auto low = hn::And(both, mask);
        const auto high =
            hn::And(hn::BitCast(bytes, hn::ShiftRight<4>(hn::BitCast(pairs, both))), mask);
        hn::StoreU(hn::InterleaveLower(bytes, low, high), bytes, out + i);
        hn::StoreU(hn::InterleaveUpper(bytes, low, high), bytes, out + i + 16);
    }
    return i;
}

/// The bytes of one plane of a palette at as many indices.
HWY_INLINE ByteVector lookUpPlane(const std::uint8_t* plane, ByteVector low, hn::Mask<Bytes> bit4,
                                  hn::Mask<Bytes> bit5, bool large)
{
    const Bytes bytes;
    const ByteVector first = hn::TableLookupBytes(hn::LoadDup128(bytes, plane), low);
    if (!large) {
        return first;
    }
    const ByteVector second = hn::TableLookupBytes(hn::LoadDup128(bytes, plane + 16), low);
    const ByteVector third = hn::TableLookupBytes(hn::LoadDup128(bytes, plane + 32), low);
    const ByteVector fourth = hn::TableLookupBytes(hn::LoadDup128(bytes, plane + 48), low);
    return hn::IfThenElse(bit5, hn::IfThenElse(bit4, fourth, third),
                          hn::IfThenElse(bit4, second, first));
}

/// Entries of one byte at unpacked indices; a multiple of `mostTogether` of them.
void lookUpSome(const std::uint8_t* indices, std::int64_t count, const std::uint8_t* entries,
                bool large, std::uint8_t* out)
{
    const Bytes bytes;
    const ByteVector nibble = hn::Set(bytes, std::uint8_t{15});
    for (std::int64_t i = 0; i < count; i += together) {
        const ByteVector index = hn::LoadU(bytes, indices + i);
        const auto bit4 = hn::TestBit(index, hn::Set(bytes, std::uint8_t{16}));
        const auto bit5 = hn::TestBit(index, hn::Set(bytes, std::uint8_t{32}));
        hn::StoreU(lookUpPlane(entries, hn::And(index, nibble), bit4, bit5, large), bytes, out + i);
    }
}

#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3

/// Entries at unpacked indices below 64; `count` is a multiple of `mostTogether`.
void lookUpHalves(const std::uint8_t* indices, std::int64_t count, const HalfPalette& palette, bool,
                  float* out)
{
    const hn::Full512<std::uint16_t> shorts;
    const hn::Full256<std::uint8_t> bytes;
    const Floats floats;
    const HalfTag<Floats> halves;
    const auto first = hn::LoadU(shorts, palette.whole.data());
    const auto second = hn::LoadU(shorts, palette.whole.data() + 32);
    for (std::int64_t i = 0; i < count; i += 32) {
        const auto index = hn::PromoteTo(shorts, hn::LoadU(bytes, indices + i));
        const hn::Vec<hn::Full512<std::uint16_t>> found{
            _mm512_permutex2var_epi16(first.raw, index.raw, second.raw)};
        hn::StoreU(widenHalves(floats, hn::BitCast(halves, hn::LowerHalf(found))), floats, out + i);
        hn::StoreU(
            widenHalves(floats,
                        hn::BitCast(halves, hn::UpperHalf(hn::Half<decltype(shorts)>(), found))),
            floats, out + i + 16);
    }
}

#else

/// Entries at unpacked indices; a multiple of `mostTogether` of them, `large` if any exceeds 15.
void lookUpHalves(const std::uint8_t* indices, std::int64_t count, const HalfPalette& palette,
                  bool large, float* out)
{
    const Bytes bytes;
    const Floats floats;
    const HalfTag<Floats> halves;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(floats));
    const ByteVector nibble = hn::Set(bytes, std::uint8_t{15});
    for (std::int64_t i = 0; i < count; i += together) {
        const ByteVector index = hn::LoadU(bytes, indices + i);
        const ByteVector low = hn::And(index, nibble);
        const auto bit4 = hn::TestBit(index, hn::Set(bytes, std::uint8_t{16}));
        const auto bit5 = hn::TestBit(index, hn::Set(bytes, std::uint8_t{32}));
        const ByteVector a = lookUpPlane(palette.low.data(), low, bit4, bit5, large);
        const ByteVector b = lookUpPlane(palette.high.data(), low, bit4, bit5, large);
        alignas(64) std::uint8_t found[2 * together];
        hn::StoreInterleaved2(a, b, bytes, found);
        const auto* const values = reinterpret_cast<const hwy::float16_t*>(found);
        for (std::int64_t k = 0; k < together; k += lanes) {
            hn::StoreU(widenHalves(floats, hn::Load(halves, values + k)), floats, out + i + k);
        }
    }
}

#endif
#endif // HWY_TARGET == HWY_SCALAR

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace vorlin::mil {

namespace {

HWY_EXPORT(unpackSix);
HWY_EXPORT(unpackFour);
HWY_EXPORT(lookUpHalves);
HWY_EXPORT(lookUpSome);
HWY_EXPORT(widenSigned);
HWY_EXPORT(widenUnsigned);
HWY_EXPORT(shiftAndScale);
HWY_EXPORT(shiftAndScaleEach);

/// Unsigned numbers of `bits` bits from a stream. May write up to `mostTogether` bytes behind the
/// last one.
void unpackIndices(const std::byte* stream, std::size_t bits, std::int64_t first,
                   std::int64_t count, std::uint8_t* out)
{
    const auto one = [&](std::int64_t i) {
        out[i] = static_cast<std::uint8_t>(
            packedBits(stream, bits, static_cast<std::uint64_t>(first + i)));
    };
    std::int64_t done = 0;
    const bool six = bits == 6;
    if (six || bits == 4) {
        // Up to the next whole byte one by one, then as many as vectors take.
        for (; done < count && (first + done) % (six ? 4 : 2) != 0; ++done) {
            one(done);
        }
        const auto* const in = reinterpret_cast<const std::uint8_t*>(stream) +
                               (first + done) * static_cast<std::int64_t>(bits) / 8;
        done += six ? HWY_DYNAMIC_DISPATCH(unpackSix)(in, count - done, out + done)
                    : HWY_DYNAMIC_DISPATCH(unpackFour)(in, count - done, out + done);
    }
    for (; done < count; ++done) {
        one(done);
    }
}

} // namespace

void unpackNumbers(const TensorView& tensor, std::int64_t first, std::int64_t count, float* out)
{
    if (tensor.type.element == ElementType::int8) {
        const auto* const in = tensor.as<std::int8_t>() + first;
        for (std::int64_t i = HWY_DYNAMIC_DISPATCH(widenSigned)(in, count, out); i < count; ++i) {
            out[i] = static_cast<float>(in[i]);
        }
        return;
    }
    if (tensor.type.element == ElementType::uint8) {
        const auto* const in = tensor.as<std::uint8_t>() + first;
        for (std::int64_t i = HWY_DYNAMIC_DISPATCH(widenUnsigned)(in, count, out); i < count; ++i) {
            out[i] = static_cast<float>(in[i]);
        }
        return;
    }
    std::array<std::uint8_t, chunkLength + mostTogether> numbers;
    const bool isSigned = tensor.type.element == ElementType::int4;
    for (std::int64_t i = 0; i < count; i += chunkLength) {
        const std::int64_t piece = std::min(chunkLength, count - i);
        unpackIndices(tensor.data, bitsOf(tensor.type.element), first + i, piece, numbers.data());
        for (std::int64_t k = 0; k < piece; ++k) {
            const int number = numbers[static_cast<std::size_t>(k)];
            out[i + k] = static_cast<float>(isSigned && number >= 8 ? number - 16 : number);
        }
    }
}

void shiftAndScale(float* values, std::int64_t count, float offset, float scale, bool toHalf)
{
    for (std::int64_t i = HWY_DYNAMIC_DISPATCH(shiftAndScale)(values, count, offset, scale, toHalf);
         i < count; ++i) {
        const float value = (values[i] - offset) * scale;
        values[i] = toHalf ? widen(narrow(value)) : value;
    }
}

void shiftAndScaleEach(float* values, std::int64_t count, const float* offsets, const float* scales,
                       bool toHalf)
{
    for (std::int64_t i =
             HWY_DYNAMIC_DISPATCH(shiftAndScaleEach)(values, count, offsets, scales, toHalf);
         i < count; ++i) {
        const float value = (values[i] - (offsets == nullptr ? 0 : offsets[i])) * scales[i];
        values[i] = toHalf ? widen(narrow(value)) : value;
    }
}

PaletteTable::PaletteTable(const float* entries, std::int64_t count)
    : numbers(entries, entries + count)
{
    exact = numbers.size() <= palette.whole.size();
    for (std::size_t i = 0; exact && i < numbers.size(); ++i) {
        const Half half = narrow(numbers[i]);
        exact =
            std::bit_cast<std::uint32_t>(widen(half)) == std::bit_cast<std::uint32_t>(numbers[i]);
        palette.whole[i] = half.bits;
        palette.low[i] = static_cast<std::uint8_t>(half.bits & 0xffu);
        palette.high[i] = static_cast<std::uint8_t>(half.bits >> 8);
    }
}

void lookUp(const std::byte* stream, std::size_t bits, std::int64_t first, std::int64_t count,
            const PaletteTable& palette, float* out)
{
    // Room for whole vectors behind the last index; what is looked up there is not used.
    alignas(64) std::array<std::uint8_t, chunkLength + mostTogether> indices;
    alignas(64) std::array<float, mostTogether> rest;
    for (std::int64_t i = 0; i < count; i += chunkLength) {
        const std::int64_t piece = std::min(chunkLength, count - i);
        unpackIndices(stream, bits, first + i, piece, indices.data());
        const HalfPalette* const halves = palette.asHalves();
        if (halves == nullptr) {
            for (std::int64_t k = 0; k < piece; ++k) {
                out[i + k] = palette.entries()[indices[static_cast<std::size_t>(k)]];
            }
            continue;
        }
        const std::int64_t whole = piece / mostTogether * mostTogether;
        HWY_DYNAMIC_DISPATCH(lookUpHalves)(indices.data(), whole, *halves, bits > 4, out + i);
        if (whole < piece) {
            std::fill_n(indices.data() + piece, mostTogether, std::uint8_t{0});
            HWY_DYNAMIC_DISPATCH(lookUpHalves)
            (indices.data() + whole, mostTogether, *halves, bits > 4, rest.data());
            std::copy_n(rest.data(), piece - whole, out + i + whole);
        }
    }
}

void lookUpBytes(const std::byte* stream, std::size_t bits, std::int64_t first, std::int64_t count,
                 const std::uint8_t* entries, std::uint8_t* out)
{
    alignas(64) std::array<std::uint8_t, chunkLength + mostTogether> indices;
    alignas(64) std::array<std::uint8_t, mostTogether> rest;
    for (std::int64_t i = 0; i < count; i += chunkLength) {
        const std::int64_t piece = std::min(chunkLength, count - i);
        unpackIndices(stream, bits, first + i, piece, indices.data());
        const std::int64_t whole = piece / mostTogether * mostTogether;
        HWY_DYNAMIC_DISPATCH(lookUpSome)(indices.data(), whole, entries, bits > 4, out + i);
        if (whole < piece) {
            std::fill_n(indices.data() + piece, mostTogether, std::uint8_t{0});
            HWY_DYNAMIC_DISPATCH(lookUpSome)
            (indices.data() + whole, mostTogether, entries, bits > 4, rest.data());
            std::copy_n(rest.data(), piece - whole, out + i + whole);
        }
    }
}

} // namespace vorlin::mil
#endif
