#include "MIL/Kernels/Product/IntegerRounding.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Product/IntegerRounding.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Floats = hn::ScalableTag<float>;
using Integers = hn::RebindToSigned<Floats>;
using Bits = hn::RebindToUnsigned<Floats>;
using Bytes = hn::Rebind<std::uint8_t, Floats>;

/// Magnitudes in the order of their bits, where not-a-number stands above infinity.
HWY_INLINE hn::Vec<Bits> magnitudes(const float* values)
{
    const hn::Vec<Bits> bits = hn::BitCast(Bits(), hn::LoadU(Floats(), values));
    return hn::And(bits, hn::Set(Bits(), 0x7fffffffU));
}

// Each of these returns how many it did; the last few are the caller's.

std::int64_t largestBits(const float* values, std::int64_t count, std::uint32_t* largest)
{
    const Bits bits;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(bits));
    auto first = hn::Zero(bits);
    auto second = first;
    std::int64_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        first = hn::Max(first, magnitudes(values + i));
        second = hn::Max(second, magnitudes(values + i + lanes));
    }
    for (; i + lanes <= count; i += lanes) {
        first = hn::Max(first, magnitudes(values + i));
    }
    *largest = hn::GetLane(hn::MaxOfLanes(bits, hn::Max(first, second)));
    return i;
}

std::int64_t largestOfColumns(const float* rows, std::int64_t stride, std::int64_t count,
                              std::int64_t columns, float* largest)
{
    const Bits bits;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(bits));
    std::int64_t j = 0;
    for (; j + lanes <= columns; j += lanes) {
        auto most = hn::Zero(bits);
        for (std::int64_t k = 0; k < count; ++k) {
            most = hn::Max(most, magnitudes(rows + k * stride + j));
        }
        hn::StoreU(hn::BitCast(Floats(), most), Floats(), largest + j);
    }
    return j;
}

#if HWY_TARGET == HWY_SCALAR
std::int64_t sumBytes(const std::int8_t* /*numbers*/, std::int64_t /*count*/, std::int32_t* sum)
{
    *sum = 0;
    return 0;
}
#else
std::int64_t sumBytes(const std::int8_t* numbers, std::int64_t count, std::int32_t* sum)
{
    const hn::ScalableTag<std::uint8_t> bytes;
    const hn::Repartition<std::uint64_t, decltype(bytes)> eights;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(bytes));
    // Sums of neighbours exist for numbers without a sign only: 128 more each.
    const auto more = hn::Set(bytes, 0x80);
    auto sums = hn::Zero(eights);
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto some = hn::LoadU(bytes, reinterpret_cast<const std::uint8_t*>(numbers) + i);
        sums = hn::Add(sums, hn::SumsOf8(hn::Xor(some, more)));
    }
    const auto all = static_cast<std::int64_t>(hn::GetLane(hn::SumOfLanes(eights, sums)));
    *sum = static_cast<std::int32_t>(all - 128 * i);
    return i;
}
#endif

/// Nothing is left where the inverse is 0, whatever the numbers are.
HWY_INLINE hn::Vec<Integers> rounded(const float* values, hn::Vec<Floats> inverse)
{
    const auto scaled = hn::Mul(hn::LoadU(Floats(), values), inverse);
    return hn::NearestInt(hn::IfThenElseZero(hn::Gt(inverse, hn::Zero(Floats())), scaled));
}

std::int64_t roundToBytes(const float* values, std::int64_t count, float inverse, std::int32_t zero,
                          std::uint8_t* out, std::int32_t* sum)
{
    const Integers integers;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(integers));
    const auto factor = hn::Set(Floats(), inverse);
    const auto offset = hn::Set(integers, zero);
    const auto low = hn::Set(integers, 0xff);
    auto sums = hn::Zero(integers);
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto q = rounded(values + i, factor);
        sums = hn::Add(sums, q);
        hn::StoreU(hn::DemoteTo(Bytes(), hn::And(hn::Add(q, offset), low)), Bytes(), out + i);
    }
    *sum = hn::GetLane(hn::SumOfLanes(integers, sums));
    return i;
}

std::int64_t roundToFours(const float* rows, std::int64_t stride, std::int64_t fours,
                          std::int64_t columns, const float* inverses, std::int32_t zero,
                          std::uint8_t* out, std::int64_t width, std::int32_t* sums)
{
    const Integers integers;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(integers));
    const auto offset = hn::Set(integers, zero);
    const auto low = hn::Set(integers, 0xff);
    auto* const target = static_cast<std::int32_t*>(static_cast<void*>(out));
    std::int64_t j = 0;
    for (; j + lanes <= columns; j += lanes) {
        const auto inverse = hn::LoadU(Floats(), inverses + j);
        auto sum = hn::Zero(integers);
        for (std::int64_t k = 0; k < fours; ++k) {
            const float* const in = rows + 4 * k * stride + j;
            const auto q0 = rounded(in, inverse);
            const auto q1 = rounded(in + stride, inverse);
            const auto q2 = rounded(in + 2 * stride, inverse);
            const auto q3 = rounded(in + 3 * stride, inverse);
            sum = hn::Add(sum, hn::Add(hn::Add(q0, q1), hn::Add(q2, q3)));
            const auto byte = [&](auto q) HWY_ATTR { return hn::And(hn::Add(q, offset), low); };
            const auto lower = hn::Or(byte(q0), hn::ShiftLeft<8>(byte(q1)));
            const auto upper = hn::Or(hn::ShiftLeft<16>(byte(q2)), hn::ShiftLeft<24>(byte(q3)));
            hn::StoreU(hn::Or(lower, upper), integers, target + k * width + j);
        }
        hn::StoreU(sum, integers, sums + j);
    }
    return j;
}

std::int64_t scaleSums(const std::int32_t* sums, std::int64_t count, const SummedRow& row,
                       const std::int32_t* columnSums, const float* columnScales, float* out)
{
    const Floats floats;
    const Integers integers;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(floats));
    const auto excess = hn::Set(integers, row.excess);
    const auto offset = hn::Set(integers, row.offset);
    const auto scale = hn::Set(floats, row.scale);
    std::int64_t j = 0;
    for (; j + lanes <= count; j += lanes) {
        auto sum = hn::Sub(hn::LoadU(integers, sums + j), excess);
        if (row.offset != 0) {
            sum = hn::Sub(sum, hn::Mul(offset, hn::LoadU(integers, columnSums + j)));
        }
        const auto scaled =
            hn::Mul(hn::ConvertTo(floats, sum), hn::LoadU(floats, columnScales + j));
        hn::StoreU(hn::Mul(scaled, scale), floats, out + j);
    }
    return j;
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vorlin::mil {

namespace {

HWY_EXPORT(largestBits);
HWY_EXPORT(largestOfColumns);
HWY_EXPORT(roundToBytes);
HWY_EXPORT(roundToFours);
HWY_EXPORT(scaleSums);
HWY_EXPORT(sumBytes);

std::uint32_t magnitudeBits(float value)
{
    return std::bit_cast<std::uint32_t>(value) & 0x7fffffffU;
}

/// Nothing for what is beyond the steps, or no number: an entry of a palette that the row, whose
/// largest number the steps are for, does not use.
std::int32_t roundOne(float value, float inverse)
{
    const float steps = std::nearbyint(value * inverse);
    return std::abs(steps) <= 127 && inverse > 0 ? static_cast<std::int32_t>(steps) : 0;
}

} // namespace

StepSize stepSize(float largest)
{
    if (!std::isfinite(largest)) {
        return {std::numeric_limits<float>::quiet_NaN(), 0};
    }
    return largest < 0x1p-100f ? StepSize{} : StepSize{largest / 127, 127 / largest};
}

float largestMagnitude(const float* values, std::int64_t count)
{
    std::uint32_t largest = 0;
    for (std::int64_t i = HWY_DYNAMIC_DISPATCH(largestBits)(values, count, &largest); i < count;
         ++i) {
        largest = std::max(largest, magnitudeBits(values[i]));
    }
    return std::bit_cast<float>(largest);
}

void largestOfColumns(const float* rows, std::int64_t stride, std::int64_t count,
                      std::int64_t columns, float* largest)
{
    for (std::int64_t j =
             HWY_DYNAMIC_DISPATCH(largestOfColumns)(rows, stride, count, columns, largest);
         j < columns; ++j) {
        std::uint32_t most = 0;
        for (std::int64_t k = 0; k < count; ++k) {
            most = std::max(most, magnitudeBits(rows[k * stride + j]));
        }
        largest[j] = std::bit_cast<float>(most);
    }
}

std::int32_t sumOfBytes(const std::int8_t* numbers, std::int64_t count)
{
    std::int32_t sum = 0;
    for (std::int64_t i = HWY_DYNAMIC_DISPATCH(sumBytes)(numbers, count, &sum); i < count; ++i) {
        sum += numbers[i];
    }
    return sum;
}

std::int32_t roundToBytes(const float* values, std::int64_t count, float inverse, std::int32_t zero,
                          std::uint8_t* out)
{
    std::int32_t sum = 0;
    for (std::int64_t i =
             HWY_DYNAMIC_DISPATCH(roundToBytes)(values, count, inverse, zero, out, &sum);
         i < count; ++i) {
        const std::int32_t q = roundOne(values[i], inverse);
        sum += q;
        out[i] = static_cast<std::uint8_t>(q + zero);
    }
    return sum;
}

void roundToFours(const float* rows, std::int64_t stride, std::int64_t count, std::int64_t columns,
                  const float* inverses, std::int32_t zero, std::uint8_t* out, std::int64_t width,
                  std::int32_t* sums)
{
    const std::int64_t whole = count / 4;
    const std::int64_t done = HWY_DYNAMIC_DISPATCH(roundToFours)(rows, stride, whole, columns,
                                                                 inverses, zero, out, width, sums);
    std::fill(sums + done, sums + columns, 0);
    for (std::int64_t k = 0; k < (count + 3) / 4 * 4; ++k) {
        // Whole fours of the first columns are there.
        for (std::int64_t j = k < 4 * whole ? done : 0; j < columns; ++j) {
            std::uint8_t& target = out[k / 4 * width * 4 + j * 4 + k % 4];
            target = 0;
            if (k < count) {
                const std::int32_t q = roundOne(rows[k * stride + j], inverses[j]);
                sums[j] += q;
                target = static_cast<std::uint8_t>(q + zero);
            }
        }
    }
}

void scaleSums(const std::int32_t* sums, std::int64_t count, const SummedRow& row,
               const std::int32_t* columnSums, const float* columnScales, float* out)
{
    for (std::int64_t j =
             HWY_DYNAMIC_DISPATCH(scaleSums)(sums, count, row, columnSums, columnScales, out);
         j < count; ++j) {
        const std::int32_t sum = sums[j] - row.excess - row.offset * columnSums[j];
        out[j] = static_cast<float>(sum) * columnScales[j] * row.scale;
    }
}

} // namespace vorlin::mil
#endif
