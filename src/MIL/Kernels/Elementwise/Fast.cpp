#include "MIL/Kernels/Elementwise/BinaryFunctions.h"
#include "MIL/Kernels/Elementwise/UnaryFunctions.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Elementwise/Fast.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "MIL/Kernels/Elementwise/VectorMath-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

template <class Function>
HWY_INLINE void mapVectors(const Function& function, const float* in, std::int64_t count,
                           float* out)
{
    const Floats d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        hn::StoreU(function(hn::LoadU(d, in + i)), d, out + i);
    }
    if (i < count) {
        HWY_ALIGN float rest[hn::MaxLanes(d)] = {};
        for (std::int64_t k = i; k < count; ++k) {
            rest[k - i] = in[k];
        }
        hn::Store(function(hn::Load(d, rest)), d, rest);
        for (std::int64_t k = i; k < count; ++k) {
            out[k] = rest[k - i];
        }
    }
}

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

bool mapUnary(UnaryFunction function, float alpha, float beta, const float* in, std::int64_t count,
              float* out)
{
    constexpr float infinity = __builtin_inff();
    switch (function) {
    case UnaryFunction::absolute: mapVectors(Absolute(), in, count, out); return true;
    case UnaryFunction::square: mapVectors(Square(), in, count, out); return true;
    case UnaryFunction::squareRoot: mapVectors(Root(), in, count, out); return true;
    case UnaryFunction::exponential: mapVectors(Exponential(), in, count, out); return true;
    case UnaryFunction::hyperbolicTangent:
        mapVectors(HyperbolicTangent(), in, count, out);
        return true;
    case UnaryFunction::sigmoid: mapVectors(Sigmoid(), in, count, out); return true;
    case UnaryFunction::silu: mapVectors(Silu(), in, count, out); return true;
    case UnaryFunction::relu: mapVectors(Bound{0, infinity}, in, count, out); return true;
    case UnaryFunction::relu6: mapVectors(Bound{0, 6}, in, count, out); return true;
    case UnaryFunction::clip: mapVectors(Bound{alpha, beta}, in, count, out); return true;
    case UnaryFunction::threshold: mapVectors(Bound{alpha, infinity}, in, count, out); return true;
    default: return false;
    }
}

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

template <class Function>
HWY_INLINE void mapPairs(const Function& function, const float* x, const float* y,
                         std::int64_t count, float* out)
{
    const Floats d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        hn::StoreU(function(hn::LoadU(d, x + i), hn::LoadU(d, y + i)), d, out + i);
    }
    for (; i < count; ++i) {
        out[i] = hn::GetLane(function(hn::Set(d, x[i]), hn::Set(d, y[i])));
    }
}

bool mapBinary(BinaryFunction function, const float* x, const float* y, std::int64_t count,
               float* out)
{
    switch (function) {
    case BinaryFunction::add: mapPairs(Add(), x, y, count, out); return true;
    case BinaryFunction::subtract: mapPairs(Subtract(), x, y, count, out); return true;
    case BinaryFunction::multiply: mapPairs(Multiply(), x, y, count, out); return true;
    case BinaryFunction::divide: mapPairs(Divide(), x, y, count, out); return true;
    default: return false;
    }
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vorlin::mil {

HWY_EXPORT(mapUnary);
HWY_EXPORT(mapBinary);

void applyUnary(UnaryFunction function, double alpha, double beta, const float* in,
                std::int64_t count, float* out)
{
    if (!HWY_DYNAMIC_DISPATCH(mapUnary)(function, static_cast<float>(alpha),
                                        static_cast<float>(beta), in, count, out)) {
        reference::applyUnary(function, alpha, beta, in, count, out);
    }
}

void applyBinary(BinaryFunction function, const float* x, const float* y, std::int64_t count,
                 float* out)
{
    if (!HWY_DYNAMIC_DISPATCH(mapBinary)(function, x, y, count, out)) {
        reference::applyBinary(function, x, y, count, out);
    }
}

} // namespace vorlin::mil
#endif
