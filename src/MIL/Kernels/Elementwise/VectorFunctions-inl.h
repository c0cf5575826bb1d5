// Element-wise functions of vectors of single precision, compiled once for each processor target.
// Include it after <hwy/highway.h> in a file that foreach_target.h includes again and again.
#if defined(VORLIN_MIL_VECTORFUNCTIONS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VORLIN_MIL_VECTORFUNCTIONS_INL_H
#undef VORLIN_MIL_VECTORFUNCTIONS_INL_H
#else
#define VORLIN_MIL_VECTORFUNCTIONS_INL_H
#endif

#include <hwy/highway.h>

#include "MIL/Kernels/Elementwise/BinaryFunctions.h"
#include "MIL/Kernels/Elementwise/UnaryFunctions.h"
#include "MIL/Kernels/Elementwise/VectorMath-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

struct Absolute {
    HWY_INLINE Vector operator()(Vector x) const { return hn::Abs(x); }
};
struct Square {
    HWY_INLINE Vector operator()(Vector x) const { return hn::Mul(x, x); }
};
struct Root {
    HWY_INLINE Vector operator()(Vector x) const { return hn::Sqrt(x); }
};
struct Exponential {
    HWY_INLINE Vector operator()(Vector x) const { return exponential(x); }
};
struct HyperbolicTangent {
    HWY_INLINE Vector operator()(Vector x) const { return hyperbolicTangentOf(x); }
};
struct Sigmoid {
    HWY_INLINE Vector operator()(Vector x) const { return sigmoidOf(x); }
};
struct Silu {
    HWY_INLINE Vector operator()(Vector x) const
    {
        const Floats d;
        const Vector usual = hn::Mul(x, sigmoidOf(x));
        const auto far = hn::Lt(x, hn::Set(d, -80.0f));
        if (hn::AllFalse(d, far)) {
            return usual;
        }
        // There x e^x is meant, and e^x alone has few digits left.
        const Vector root = exponential(hn::Mul(x, hn::Set(d, 0.5f)));
        return hn::IfThenElse(far, hn::Mul(hn::Mul(x, root), root), usual);
    }
};
/// min(max(x, low), high), where not-a-number stays.
struct Bound {
    float low;
    float high;
    HWY_INLINE Vector operator()(Vector x) const
    {
        const Floats d;
        const Vector l = hn::Set(d, low);
        const Vector h = hn::Set(d, high);
        const Vector raised = hn::IfThenElse(hn::Lt(x, l), l, x);
        return hn::IfThenElse(hn::Gt(raised, h), h, raised);
    }
};

struct Add {
    HWY_INLINE Vector operator()(Vector x, Vector y) const { return hn::Add(x, y); }
};
struct Subtract {
    HWY_INLINE Vector operator()(Vector x, Vector y) const { return hn::Sub(x, y); }
};
struct Multiply {
    HWY_INLINE Vector operator()(Vector x, Vector y) const { return hn::Mul(x, y); }
};
struct Divide {
    HWY_INLINE Vector operator()(Vector x, Vector y) const { return hn::Div(x, y); }
};

/// Calls `use` with the function, if it is one of those above; whether it is.
template <class Use>
HWY_INLINE bool withUnary(UnaryFunction function, float alpha, float beta, const Use& use)
{
    constexpr float infinity = __builtin_inff();
    switch (function) {
    case UnaryFunction::absolute: use(Absolute()); return true;
    case UnaryFunction::square: use(Square()); return true;
    case UnaryFunction::squareRoot: use(Root()); return true;
    case UnaryFunction::exponential: use(Exponential()); return true;
    case UnaryFunction::hyperbolicTangent: use(HyperbolicTangent()); return true;
    case UnaryFunction::sigmoid: use(Sigmoid()); return true;
    case UnaryFunction::silu: use(Silu()); return true;
    case UnaryFunction::relu: use(Bound{0, infinity}); return true;
    case UnaryFunction::relu6: use(Bound{0, 6}); return true;
    case UnaryFunction::clip: use(Bound{alpha, beta}); return true;
    case UnaryFunction::threshold: use(Bound{alpha, infinity}); return true;
    default: return false;
    }
}

template <class Use>
HWY_INLINE bool withBinary(BinaryFunction function, const Use& use)
{
    switch (function) {
    case BinaryFunction::add: use(Add()); return true;
    case BinaryFunction::subtract: use(Subtract()); return true;
    case BinaryFunction::multiply: use(Multiply()); return true;
    case BinaryFunction::divide: use(Divide()); return true;
    default: return false;
    }
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#endif
