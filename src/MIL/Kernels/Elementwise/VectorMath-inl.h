// Functions of vectors of single precision, compiled once for each processor target. Include it
// after <hwy/highway.h> in a file that foreach_target.h includes again and again.
#if defined(VORLIN_MIL_VECTORMATH_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VORLIN_MIL_VECTORMATH_INL_H
#undef VORLIN_MIL_VECTORMATH_INL_H
#else
#define VORLIN_MIL_VECTORMATH_INL_H
#endif

#include <hwy/contrib/math/math-inl.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Floats = hn::ScalableTag<float>;
using Vector = hn::Vec<Floats>;

/// e^x within 1 unit in the last place, subnormal results and infinities included. Highway's own
/// leaves its range above the largest finite result, and makes not-a-number 0.
HWY_INLINE Vector exponential(Vector x)
{
    const Floats d;
    const Vector bounded = hn::Min(x, hn::Set(d, 89.0f));
    return hn::IfThenElse(hn::IsNaN(x), x, hn::Exp(d, bounded));
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

/// tanh x within 1.6 units in the last place, where Highway's own is 2.6 off.
HWY_INLINE Vector hyperbolicTangentOf(Vector x)
{
    const Floats d;
    const Vector one = hn::Set(d, 1.0f);
    const Vector magnitude = hn::Abs(x);
    // Near zero, where the quotient would cancel, the polynomial of Cephes' tanhf.
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
