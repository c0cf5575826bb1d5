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

void roundToHalves(float* values, std::int64_t count)
{
    const hn::ScalableTag<float> single;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(single));
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto halves = narrowToHalves(single, hn::LoadU(single, values + i));
        hn::StoreU(widenHalves(single, halves), single, values + i);
    }
    for (; i < count; ++i) {
        values[i] = widen(narrow(values[i]));
    }
}

void addFloats(float* values, std::int64_t count, const float* addends, bool alike)
{
    const hn::ScalableTag<float> single;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(single));
    const auto same = hn::Set(single, *addends);
    std::int64_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto addend = alike ? same : hn::LoadU(single, addends + i);
        hn::StoreU(hn::Add(hn::LoadU(single, values + i), addend), single, values + i);
    }
    for (; i < count; ++i) {
        values[i] += addends[alike ? 0 : i];
    }
}

void addScaled(float* values, std::int64_t count, const float* in, std::int64_t stride,
               float factor)
{
    const hn::ScalableTag<float> single;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(single));
    const auto scale = hn::Set(single, factor);
    const auto add = [&](std::int64_t i, auto some) HWY_ATTR {
        hn::StoreU(hn::Add(hn::LoadU(single, values + i), hn::Mul(scale, some)), single,
                   values + i);
    };
    std::int64_t i = 0;
    for (; stride == 1 && i + lanes <= count; i += lanes) {
        add(i, hn::LoadU(single, in + i));
    }
    // The last of these reads one element behind the last it needs.
    for (; stride == 2 && i + lanes < count; i += lanes) {
        hn::Vec<decltype(single)> even;
        hn::Vec<decltype(single)> odd;
        hn::LoadInterleaved2(single, in + 2 * i, even, odd);
        add(i, even);
    }
    for (; i < count; ++i) {
        values[i] += factor * in[i * stride];
    }
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vorlin::mil {

HWY_EXPORT(widenAll);
HWY_EXPORT(narrowAll);
HWY_EXPORT(roundToHalves);
HWY_EXPORT(addFloats);
HWY_EXPORT(addScaled);

void widenAll(const Half* in, std::int64_t count, float* out)
{
    HWY_DYNAMIC_DISPATCH(widenAll)(in, count, out);
}

void narrowAll(const float* in, std::int64_t count, Half* out)
{
    HWY_DYNAMIC_DISPATCH(narrowAll)(in, count, out);
}

void roundToHalves(float* values, std::int64_t count)
{
    HWY_DYNAMIC_DISPATCH(roundToHalves)(values, count);
}

void addFloats(float* values, std::int64_t count, const float* addends, bool single)
{
    HWY_DYNAMIC_DISPATCH(addFloats)(values, count, addends, single);
}

void addScaled(float* values, std::int64_t count, const float* in, std::int64_t stride,
               float factor)
{
    HWY_DYNAMIC_DISPATCH(addScaled)(values, count, in, stride, factor);
}

} // namespace vorlin::mil
#endif
