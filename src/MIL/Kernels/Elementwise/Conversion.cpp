#include "MIL/Kernels/Elementwise/Elements.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Elementwise/Conversion.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "MIL/Kernels/Elementwise/HalfVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

void widenAll(const Half* in, std::int64_t count, float* out)
{
    const hn::ScalableTag<float> single;
    const hn::Rebind<hwy::float16_t, decltype(single)> half;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(single));
    const auto* const source = reinterpret_cast<const hwy::float16_t*>(in);
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        hn::StoreU(widenHalves(single, hn::LoadU(half, source + i)), single, out + i);
    }
    for (; i < count; ++i) {
        out[i] = widen(in[i]);
    }
}

void narrowAll(const float* in, std::int64_t count, Half* out)
{
    const hn::ScalableTag<float> single;
    const hn::Rebind<hwy::float16_t, decltype(single)> half;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(single));
    auto* const target = reinterpret_cast<hwy::float16_t*>(out);
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        hn::StoreU(narrowToHalves(single, hn::LoadU(single, in + i)), half, target + i);
    }
    for (; i < count; ++i) {
        out[i] = narrow(in[i]);
    }
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vorlin::mil {

HWY_EXPORT(widenAll);
HWY_EXPORT(narrowAll);

void widenAll(const Half* in, std::int64_t count, float* out)
{
    HWY_DYNAMIC_DISPATCH(widenAll)(in, count, out);
}

void narrowAll(const float* in, std::int64_t count, Half* out)
{
    HWY_DYNAMIC_DISPATCH(narrowAll)(in, count, out);
}

} // namespace vorlin::mil
#endif
