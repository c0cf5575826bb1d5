// Functions of vectors of single precision, compiled once for each processor target. Include it
// after <hwy/highway.h> in a file that foreach_target.h includes again and again.
#if defined(VORLIN_MIL_VECTORMATH_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VORLIN_MIL_VECTORMATH_INL_H
#undef VORLIN_MIL_VECTORMATH_INL_H
#else
#define VORLIN_MIL_VECTORMATH_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Floats = hn::ScalableTag<float>;
using Vector = hn::Vec<Floats>;

/// e^x within 2 units in the last place, subnormal results and infinities included.
HWY_INLINE Vector exponential(Vector x)
{
    const Floats d;
    const hn::RebindToSigned<Floats> di;
    // Beyond these the result is zero or infinite anyway.
    const Vector bounded = hn::Min(hn::Max(x, hn::Set(d, -105.0f)), hn::Set(d, 90.0f));
    const Vector n = hn::Round(hn::Mul(bounded, hn::Set(d, 1.44269504088896341f)));
    Vector r = hn::NegMulAdd(n, hn::Set(d, 0.693359375f), bounded);
    r = hn::NegMulAdd(n, hn::Set(d, -2.12194440e-4f), r);
    Vector p = hn::Set(d, 1.9875691500e-4f);
    p = hn::MulAdd(p, r, hn::Set(d, 1.3981999507e-3f));
    p = hn::MulAdd(p, r, hn::Set(d, 8.3334519073e-3f));
    p = hn::MulAdd(p, r, hn::Set(d, 4.1665795894e-2f));
    p = hn::MulAdd(p, r, hn::Set(d, 1.6666665459e-1f));
    p = hn::MulAdd(p, r, hn::Set(d, 5.0000001201e-1f));
    p = hn::Add(hn::MulAdd(hn::Mul(r, r), p, r), hn::Set(d, 1.0f));
    // 2^n in two steps, so that neither factor leaves the range.
    const auto whole = hn::ConvertTo(di, n);
    const auto half = hn::ShiftRight<1>(whole);
    const auto bias = hn::Set(di, 127);
    const Vector first = hn::BitCast(d, hn::ShiftLeft<23>(hn::Add(half, bias)));
    const Vector second = hn::BitCast(d, hn::ShiftLeft<23>(hn::Add(hn::Sub(whole, half), bias)));
    const Vector result = hn::Mul(hn::Mul(p, first), second);
    return hn::IfThenElse(hn::IsNaN(x), x, result);
}

/// 1 / (1 + e^-x).
HWY_INLINE Vector sigmoidOf(Vector x)
{
    const Floats d;
    const Vector one = hn::Set(d, 1.0f);
    const Vector z = exponential(hn::Neg(hn::Abs(x)));
    const Vector top = hn::IfThenElse(hn::Lt(x, hn::Zero(d)), z, one);
    return hn::Div(top, hn::Add(one, z));
}

HWY_INLINE Vector tangentOf(Vector x)
{
    const Floats d;
    const Vector one = hn::Set(d, 1.0f);
    const Vector magnitude = hn::Abs(x);
    // Near zero a polynomial, where the quotient would cancel.
    const Vector s = hn::Mul(x, x);
    Vector p = hn::Set(d, -5.70498872745e-3f);
    p = hn::MulAdd(p, s, hn::Set(d, 2.06390887954e-2f));
    p = hn::MulAdd(p, s, hn::Set(d, -5.37397155531e-2f));
    p = hn::MulAdd(p, s, hn::Set(d, 1.33314422036e-1f));
    p = hn::MulAdd(p, s, hn::Set(d, -3.33332819422e-1f));
    const Vector small = hn::MulAdd(hn::Mul(s, x), p, x);
    const Vector e = exponential(hn::Mul(magnitude, hn::Set(d, -2.0f)));
    const Vector large = hn::CopySign(hn::Div(hn::Sub(one, e), hn::Add(one, e)), x);
    return hn::IfThenElse(hn::Lt(magnitude, hn::Set(d, 0.625f)), small, large);
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#endif
