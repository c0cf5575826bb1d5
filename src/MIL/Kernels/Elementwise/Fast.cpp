#include "MIL/Kernels/Elementwise/BinaryFunctions.h"
#include "MIL/Kernels/Elementwise/UnaryFunctions.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Elementwise/Fast.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "MIL/Kernels/Elementwise/VectorFunctions-inl.h"

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

struct MapVectors {
    const float* in;
    std::int64_t count;
    float* out;
    template <class Function>
    HWY_INLINE void operator()(const Function& function) const
    {
        mapVectors(function, in, count, out);
    }
};

bool mapUnary(UnaryFunction function, float alpha, float beta, const float* in, std::int64_t count,
              float* out)
{
    return withUnary(function, alpha, beta, MapVectors{in, count, out});
}

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

struct MapPairs {
    const float* x;
    const float* y;
    std::int64_t count;
    float* out;
    template <class Function>
    HWY_INLINE void operator()(const Function& function) const
    {
        mapPairs(function, x, y, count, out);
    }
};

bool mapBinary(BinaryFunction function, const float* x, const float* y, std::int64_t count,
               float* out)
{
    return withBinary(function, MapPairs{x, y, count, out});
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
