// Vectors of half precision, compiled once for each processor target. Include it after
// <hwy/highway.h> in a file that foreach_target.h includes again and again.
#if defined(VORLIN_MIL_HALFVECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VORLIN_MIL_HALFVECTORS_INL_H
#undef VORLIN_MIL_HALFVECTORS_INL_H
#else
#define VORLIN_MIL_HALFVECTORS_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class Single>
using HalfTag = hn::Rebind<hwy::float16_t, Single>;

// Where the processor converts, it rounds to nearest and keeps infinities; what Highway does
// elsewhere cuts off.
#if (HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2) || HWY_ARCH_ARM_A64

/// Half to single precision, exact.
template <class Single>
HWY_INLINE hn::Vec<Single> widenHalves(Single single, hn::Vec<HalfTag<Single>> halves)
{
    return hn::PromoteTo(single, halves);
}

/// Single to half precision: to nearest, ties to even; overflow gives infinities.
template <class Single>
HWY_INLINE hn::Vec<HalfTag<Single>> narrowToHalves(Single, hn::Vec<Single> values)
{
    return hn::DemoteTo(HalfTag<Single>(), values);
}

#else

template <class Single>
HWY_INLINE hn::Vec<Single> widenHalves(Single single, hn::Vec<HalfTag<Single>> halves)
{
    const hn::RebindToUnsigned<Single> words;
    const hn::Rebind<std::uint16_t, Single> shorts;
    const auto bits = hn::PromoteTo(words, hn::BitCast(shorts, halves));
    const auto sign = hn::ShiftLeft<16>(hn::And(bits, hn::Set(words, 0x8000u)));
    const auto shifted = hn::ShiftLeft<13>(hn::And(bits, hn::Set(words, 0x7fffu)));
    // The exponents differ by 112; a multiplication makes subnormal numbers normal, too.
    const auto finite = hn::Mul(hn::BitCast(single, shifted), hn::Set(single, 0x1p112f));
    const auto infinite = hn::BitCast(single, hn::Or(shifted, hn::Set(words, 0x7f800000u)));
    const auto isFinite =
        hn::Lt(hn::BitCast(single, shifted), hn::Set(single, 0x1p-112f * 0x1p16f));
    const auto magnitude = hn::IfThenElse(isFinite, finite, infinite);
    return hn::Or(magnitude, hn::BitCast(single, sign));
}

template <class Single>
HWY_INLINE hn::Vec<HalfTag<Single>> narrowToHalves(Single single, hn::Vec<Single> values)
{
    const hn::RebindToSigned<Single> words;
    const hn::Rebind<std::uint16_t, Single> shorts;
    const auto bits = hn::BitCast(words, values);
    const auto sign = hn::And(hn::ShiftRight<16>(bits), hn::Set(words, 0x8000));
    const auto magnitude = hn::And(bits, hn::Set(words, 0x7fffffff));
    const auto normal =
        hn::ShiftRight<13>(hn::Add(hn::Add(magnitude, hn::Set(words, 0xfff - (112 << 23))),
                                   hn::And(hn::ShiftRight<13>(magnitude), hn::Set(words, 1))));
    // Below the smallest normal half the adder rounds.
    const auto half = hn::Set(single, 0.5f);
    const auto small = hn::Sub(hn::BitCast(words, hn::Add(hn::BitCast(single, magnitude), half)),
                               hn::BitCast(words, half));
    const auto nothing = hn::Or(hn::Set(words, 0x7e00),
                                hn::And(hn::ShiftRight<13>(magnitude), hn::Set(words, 0x1ff)));
    auto result = hn::IfThenElse(hn::Lt(magnitude, hn::Set(words, 0x38800000)), small, normal);
    result = hn::IfThenElse(hn::Gt(magnitude, hn::Set(words, 0x477fefff)), hn::Set(words, 0x7c00),
                            result);
    result = hn::IfThenElse(hn::Gt(magnitude, hn::Set(words, 0x7f800000)), nothing, result);
    const auto narrow = hn::DemoteTo(shorts, hn::Or(result, sign));
    return hn::BitCast(HalfTag<Single>(), narrow);
}

#endif

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#endif
