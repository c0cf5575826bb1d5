#include "MIL/Kernels/Product/MultiplyKernels.h"

#include <hwy/cache_control.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Product/MultiplyKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "MIL/Kernels/Elementwise/HalfVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Tag = hn::ScalableTag<float>;
using Vector = hn::Vec<Tag>;

// Accumulators fill the registers: 8 rows of 3 vectors where there are 32, 4 of 3 where 16.
constexpr std::int64_t vectors = 3;
#if HWY_TARGET <= HWY_AVX3 || HWY_ARCH_ARM
constexpr std::int64_t mostRows = 8;
#else
constexpr std::int64_t mostRows = 4;
#endif

std::int64_t panelWidth()
{
    return vectors * static_cast<std::int64_t>(hn::Lanes(Tag()));
}
std::int64_t panelRows()
{
    return mostRows;
}

template <std::size_t rows>
void multiplyRows(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                  float* c, std::int64_t cStride, bool accumulate)
{
    const Tag tag;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(tag));
    Vector sums[rows][vectors];
    const auto target = [&](std::size_t i, std::int64_t v) {
        return c + static_cast<std::int64_t>(i) * cStride + v * lanes;
    };
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::int64_t v = 0; v < vectors; ++v) {
            sums[i][v] = accumulate ? hn::LoadU(tag, target(i, v)) : hn::Zero(tag);
        }
    }
    for (std::int64_t k = 0; k < inner; ++k) {
        const Vector b0 = hn::LoadU(tag, panel);
        const Vector b1 = hn::LoadU(tag, panel + lanes);
        const Vector b2 = hn::LoadU(tag, panel + 2 * lanes);
        for (std::size_t i = 0; i < rows; ++i) {
            const Vector x = hn::Set(tag, a[static_cast<std::int64_t>(i) * aStride + k]);
            sums[i][0] = hn::MulAdd(x, b0, sums[i][0]);
            sums[i][1] = hn::MulAdd(x, b1, sums[i][1]);
            sums[i][2] = hn::MulAdd(x, b2, sums[i][2]);
        }
        panel += vectors * lanes;
    }
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::int64_t v = 0; v < vectors; ++v) {
            hn::StoreU(sums[i][v], tag, target(i, v));
        }
    }
}

void multiplyPanel(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                   std::int64_t rows, float* c, std::int64_t cStride, bool accumulate)
{
    switch (rows) {
    case 1: multiplyRows<1>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 2: multiplyRows<2>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 3: multiplyRows<3>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 4: multiplyRows<4>(a, aStride, panel, inner, c, cStride, accumulate); break;
#if HWY_TARGET <= HWY_AVX3 || HWY_ARCH_ARM
    case 5: multiplyRows<5>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 6: multiplyRows<6>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 7: multiplyRows<7>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 8: multiplyRows<8>(a, aStride, panel, inner, c, cStride, accumulate); break;
#endif
    default: break;
    }
}

float dotFloats(const float* x, const float* y, std::int64_t count)
{
    const Tag tag;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(tag));
    Vector s0 = hn::Zero(tag);
    Vector s1 = s0;
    Vector s2 = s0;
    Vector s3 = s0;
    std::int64_t i = 0;
    for (; i + 4 * lanes <= count; i += 4 * lanes) {
        s0 = hn::MulAdd(hn::LoadU(tag, x + i), hn::LoadU(tag, y + i), s0);
        s1 = hn::MulAdd(hn::LoadU(tag, x + i + lanes), hn::LoadU(tag, y + i + lanes), s1);
        s2 = hn::MulAdd(hn::LoadU(tag, x + i + 2 * lanes), hn::LoadU(tag, y + i + 2 * lanes), s2);
        s3 = hn::MulAdd(hn::LoadU(tag, x + i + 3 * lanes), hn::LoadU(tag, y + i + 3 * lanes), s3);
    }
    for (; i + lanes <= count; i += lanes) {
        s0 = hn::MulAdd(hn::LoadU(tag, x + i), hn::LoadU(tag, y + i), s0);
    }
    float sum = hn::GetLane(hn::SumOfLanes(tag, hn::Add(hn::Add(s0, s1), hn::Add(s2, s3))));
    for (; i < count; ++i) {
        sum += x[i] * y[i];
    }
    return sum;
}

float dotHalves(const Half* x, const float* y, std::int64_t count)
{
    const Tag tag;
    const hn::Rebind<hwy::float16_t, Tag> half;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(tag));
    const auto* const in = reinterpret_cast<const hwy::float16_t*>(x);
    Vector s0 = hn::Zero(tag);
    Vector s1 = s0;
    Vector s2 = s0;
    Vector s3 = s0;
    std::int64_t i = 0;
    for (; i + 4 * lanes <= count; i += 4 * lanes) {
        const std::int64_t j = i + 2 * lanes;
        s0 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, in + i)), hn::LoadU(tag, y + i), s0);
        s1 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, in + i + lanes)),
                        hn::LoadU(tag, y + i + lanes), s1);
        s2 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, in + j)), hn::LoadU(tag, y + j), s2);
        s3 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, in + j + lanes)),
                        hn::LoadU(tag, y + j + lanes), s3);
    }
    for (; i + lanes <= count; i += lanes) {
        s0 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, in + i)), hn::LoadU(tag, y + i), s0);
    }
    float sum = hn::GetLane(hn::SumOfLanes(tag, hn::Add(hn::Add(s0, s1), hn::Add(s2, s3))));
    for (; i < count; ++i) {
        sum += widen(x[i]) * y[i];
    }
    return sum;
}

void dotRowsOfHalves(const Half* x, std::int64_t rowStride, const float* y, std::int64_t count,
                     float* sums, std::int64_t sumStride)
{
    const Tag tag;
    const hn::Rebind<hwy::float16_t, Tag> half;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(tag));
    const auto* const r0 = reinterpret_cast<const hwy::float16_t*>(x);
    const auto* const r1 = r0 + rowStride;
    const auto* const r2 = r1 + rowStride;
    const auto* const r3 = r2 + rowStride;
    // Two partial sums a row: a sum is ready four cycles after its addition.
    Vector a0 = hn::Zero(tag);
    Vector a1 = a0;
    Vector a2 = a0;
    Vector a3 = a0;
    Vector b0 = a0;
    Vector b1 = a0;
    Vector b2 = a0;
    Vector b3 = a0;
    std::int64_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        const std::int64_t j = i + lanes;
        // The next rows follow these; asked for now, they are there in time.
        hwy::Prefetch(r0 + i + rowsOfHalves * rowStride);
        hwy::Prefetch(r1 + i + rowsOfHalves * rowStride);
        hwy::Prefetch(r2 + i + rowsOfHalves * rowStride);
        hwy::Prefetch(r3 + i + rowsOfHalves * rowStride);
        const Vector u = hn::LoadU(tag, y + i);
        const Vector v = hn::LoadU(tag, y + j);
        a0 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, r0 + i)), u, a0);
        a1 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, r1 + i)), u, a1);
        a2 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, r2 + i)), u, a2);
        a3 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, r3 + i)), u, a3);
        b0 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, r0 + j)), v, b0);
        b1 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, r1 + j)), v, b1);
        b2 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, r2 + j)), v, b2);
        b3 = hn::MulAdd(widenHalves(tag, hn::LoadU(half, r3 + j)), v, b3);
    }
    float rest[rowsOfHalves] = {};
    for (; i < count; ++i) {
        for (std::int64_t row = 0; row < rowsOfHalves; ++row) {
            rest[row] += widen(x[row * rowStride + i]) * y[i];
        }
    }
    sums[0] = rest[0] + hn::GetLane(hn::SumOfLanes(tag, hn::Add(a0, b0)));
    sums[sumStride] = rest[1] + hn::GetLane(hn::SumOfLanes(tag, hn::Add(a1, b1)));
    sums[2 * sumStride] = rest[2] + hn::GetLane(hn::SumOfLanes(tag, hn::Add(a2, b2)));
    sums[3 * sumStride] = rest[3] + hn::GetLane(hn::SumOfLanes(tag, hn::Add(a3, b3)));
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>

namespace vorlin::mil {

HWY_EXPORT(panelWidth);
HWY_EXPORT(panelRows);
HWY_EXPORT(multiplyPanel);
HWY_EXPORT(dotFloats);
HWY_EXPORT(dotHalves);
HWY_EXPORT(dotRowsOfHalves);

void dotRowsOfHalves(const Half* x, std::int64_t rowStride, const float* y, std::int64_t count,
                     float* sums, std::int64_t sumStride)
{
    HWY_DYNAMIC_DISPATCH(dotRowsOfHalves)(x, rowStride, y, count, sums, sumStride);
}

std::int64_t panelWidth()
{
    return HWY_DYNAMIC_DISPATCH(panelWidth)();
}

std::int64_t panelRows()
{
    return HWY_DYNAMIC_DISPATCH(panelRows)();
}

void multiplyPanel(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                   std::int64_t rows, float* c, std::int64_t cStride, bool accumulate)
{
    HWY_DYNAMIC_DISPATCH(multiplyPanel)(a, aStride, panel, inner, rows, c, cStride, accumulate);
}

float dotFloats(const float* x, const float* y, std::int64_t count)
{
    return HWY_DYNAMIC_DISPATCH(dotFloats)(x, y, count);
}

float dotHalves(const Half* x, const float* y, std::int64_t count)
{
    return HWY_DYNAMIC_DISPATCH(dotHalves)(x, y, count);
}

void transposeFloats(const float* in, std::int64_t inStride, std::int64_t rows,
                     std::int64_t columns, float* out, std::int64_t outStride)
{
    // Small squares stay in the first-level cache on both sides.
    constexpr std::int64_t square = 16;
    for (std::int64_t j = 0; j < columns; j += square) {
        const std::int64_t lastColumn = std::min(j + square, columns);
        for (std::int64_t i = 0; i < rows; i += square) {
            const std::int64_t lastRow = std::min(i + square, rows);
            for (std::int64_t c = j; c < lastColumn; ++c) {
                for (std::int64_t r = i; r < lastRow; ++r) {
                    out[c * outStride + r] = in[r * inStride + c];
                }
            }
        }
    }
}

} // namespace vorlin::mil
#endif
