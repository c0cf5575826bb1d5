#include "MIL/Kernels/Product/DotKernels.h"

#include <hwy/cache_control.h>

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Product/DotKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "MIL/Kernels/Elementwise/HalfVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The kernels in vectors of one width.
template <class Tag>
struct Dots {
    using Vector = hn::Vec<Tag>;
    using HalfVectors = hn::Rebind<hwy::float16_t, Tag>;
    static constexpr auto lanes = static_cast<std::int64_t>(hn::MaxLanes(Tag()));
    /// AVX2 has half the vector registers of AVX-512 and of Arm.
    static constexpr std::int64_t partialSums = HWY_TARGET == HWY_AVX2 ? 1 : 2;

    static HWY_INLINE Vector load(const float* x) { return hn::LoadU(Tag(), x); }
    static HWY_INLINE Vector load(const Half* x)
    {
        const auto* const halves = reinterpret_cast<const hwy::float16_t*>(x);
        return widenHalves(Tag(), hn::LoadU(HalfVectors(), halves));
    }
    static float single(float x) { return x; }
    static float single(Half x) { return widen(x); }

    /// Four partial sums: a sum is ready four cycles after its addition.
    template <class Number>
    static float dot(const Number* x, const float* y, std::int64_t count)
    {
        const Tag tag;
        Vector s0 = hn::Zero(tag);
        Vector s1 = s0;
        Vector s2 = s0;
        Vector s3 = s0;
        std::int64_t i = 0;
        for (; i + 4 * lanes <= count; i += 4 * lanes) {
            const std::int64_t j = i + 2 * lanes;
            s0 = hn::MulAdd(load(x + i), load(y + i), s0);
            s1 = hn::MulAdd(load(x + i + lanes), load(y + i + lanes), s1);
            s2 = hn::MulAdd(load(x + j), load(y + j), s2);
            s3 = hn::MulAdd(load(x + j + lanes), load(y + j + lanes), s3);
        }
        for (; i + lanes <= count; i += lanes) {
            s0 = hn::MulAdd(load(x + i), load(y + i), s0);
        }
        float sum = hn::GetLane(hn::SumOfLanes(tag, hn::Add(hn::Add(s0, s1), hn::Add(s2, s3))));
        for (; i < count; ++i) {
            sum += single(x[i]) * y[i];
        }
        return sum;
    }

    /// Two partial sums a row where there are registers for them.
    static void dotRowsOfHalves(const Half* x, std::int64_t rowStride, const float* y,
                                std::int64_t count, float* sums, std::int64_t sumStride)
    {
        // Each round takes a cache line of every row.
        constexpr std::int64_t pieces =
            std::max<std::int64_t>(partialSums, 64 / sizeof(Half) / lanes);
        const Tag tag;
        Vector partial[dotRows][partialSums];
        HWY_UNROLL(dotRows)
        for (std::int64_t row = 0; row < dotRows; ++row) {
            HWY_UNROLL(partialSums)
            for (std::int64_t k = 0; k < partialSums; ++k) {
                partial[row][k] = hn::Zero(tag);
            }
        }
        std::int64_t i = 0;
        for (; i + pieces * lanes <= count; i += pieces * lanes) {
            // The next rows follow these; asked for now, they are there in time.
            HWY_UNROLL(dotRows)
            for (std::int64_t row = 0; row < dotRows; ++row) {
                hwy::Prefetch(x + i + (row + dotRows) * rowStride);
            }
            HWY_UNROLL(8)
            for (std::int64_t k = 0; k < pieces; ++k) {
                const Vector u = load(y + i + k * lanes);
                HWY_UNROLL(dotRows)
                for (std::int64_t row = 0; row < dotRows; ++row) {
                    Vector& sum = partial[row][k % partialSums];
                    sum = hn::MulAdd(load(x + row * rowStride + i + k * lanes), u, sum);
                }
            }
        }
        HWY_UNROLL(dotRows)
        for (std::int64_t row = 0; row < dotRows; ++row) {
            Vector sum = partial[row][0];
            if constexpr (partialSums > 1) {
                sum = hn::Add(sum, partial[row][1]);
            }
            sums[row * sumStride] = hn::GetLane(hn::SumOfLanes(tag, sum));
        }
        if (i < count) {
            for (std::int64_t row = 0; row < dotRows; ++row) {
                sums[row * sumStride] += dot(x + row * rowStride + i, y + i, count - i);
            }
        }
    }

    static constexpr DotKernels kernels{lanes * 32, dot<float>, dot<Half>, dotRowsOfHalves};
};

const DotKernels* kernelsIn(SumVectors vectors)
{
    constexpr std::size_t most = 8;
    return vectors == SumVectors::narrow ? &Dots<hn::CappedTag<float, most>>::kernels
                                         : &Dots<hn::ScalableTag<float>>::kernels;
}

const char* targetName()
{
    return hwy::TargetName(HWY_TARGET);
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vorlin::mil {

HWY_EXPORT(kernelsIn);
HWY_EXPORT(targetName);

namespace {

ProcessorTraits thisProcessor()
{
#if HWY_ARCH_X86
    return {__builtin_cpu_is("amdfam19h") != 0, __builtin_cpu_supports("avx512f") != 0};
#else
    return {};
#endif
}

} // namespace

SumVectors fittingVectors(const ProcessorTraits& processor)
{
    // In family 19h only Zen 4 has them, and its units are 256 bits wide.
    const bool splitsWidest = processor.isFamily19h && processor.hasWidestVectors;
    return splitsWidest ? SumVectors::narrow : SumVectors::widest;
}

const DotKernels& dotKernels(SumVectors wanted)
{
    static const SumVectors fitting = fittingVectors(thisProcessor());
    return *HWY_DYNAMIC_DISPATCH(kernelsIn)(wanted == SumVectors::fitting ? fitting : wanted);
}

std::string describeVectors(SumVectors wanted)
{
    return std::string(HWY_DYNAMIC_DISPATCH(targetName)()) + ", narrow products in " +
           std::to_string(dotKernels(wanted).bits) + " bits";
}

} // namespace vorlin::mil
#endif
