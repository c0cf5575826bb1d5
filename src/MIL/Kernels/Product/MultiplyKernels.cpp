#include "MIL/Kernels/Product/MultiplyKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Product/MultiplyKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

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

/// Rows against the first `used` vectors of each row of the panel.
template <std::size_t rows, std::size_t used>
void multiplyRows(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                  float* c, std::int64_t cStride, bool accumulate)
{
    const Tag tag;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(tag));
    Vector sums[rows][used];
    const auto target = [&](std::size_t i, std::size_t v) {
        return c + static_cast<std::int64_t>(i) * cStride + static_cast<std::int64_t>(v) * lanes;
    };
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t v = 0; v < used; ++v) {
            sums[i][v] = accumulate ? hn::LoadU(tag, target(i, v)) : hn::Zero(tag);
        }
    }
    for (std::int64_t k = 0; k < inner; ++k) {
        Vector b[used];
        for (std::size_t v = 0; v < used; ++v) {
            b[v] = hn::LoadU(tag, panel + static_cast<std::int64_t>(v) * lanes);
        }
        for (std::size_t i = 0; i < rows; ++i) {
            const Vector x = hn::Set(tag, a[static_cast<std::int64_t>(i) * aStride + k]);
            for (std::size_t v = 0; v < used; ++v) {
                sums[i][v] = hn::MulAdd(x, b[v], sums[i][v]);
            }
        }
        panel += vectors * lanes;
    }
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t v = 0; v < used; ++v) {
            hn::StoreU(sums[i][v], tag, target(i, v));
        }
    }
}

template <std::size_t used>
void multiplyVectors(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                     std::int64_t rows, float* c, std::int64_t cStride, bool accumulate)
{
    switch (rows) {
    case 1: multiplyRows<1, used>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 2: multiplyRows<2, used>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 3: multiplyRows<3, used>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 4: multiplyRows<4, used>(a, aStride, panel, inner, c, cStride, accumulate); break;
#if HWY_TARGET <= HWY_AVX3 || HWY_ARCH_ARM
    case 5: multiplyRows<5, used>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 6: multiplyRows<6, used>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 7: multiplyRows<7, used>(a, aStride, panel, inner, c, cStride, accumulate); break;
    case 8: multiplyRows<8, used>(a, aStride, panel, inner, c, cStride, accumulate); break;
#endif
    default: break;
    }
}

void multiplyPanel(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                   std::int64_t rows, std::int64_t columns, float* c, std::int64_t cStride,
                   bool accumulate)
{
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(Tag()));
    if (columns <= lanes) {
        multiplyVectors<1>(a, aStride, panel, inner, rows, c, cStride, accumulate);
    } else if (columns <= 2 * lanes) {
        multiplyVectors<2>(a, aStride, panel, inner, rows, c, cStride, accumulate);
    } else {
        multiplyVectors<vectors>(a, aStride, panel, inner, rows, c, cStride, accumulate);
    }
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

std::int64_t panelWidth()
{
    return HWY_DYNAMIC_DISPATCH(panelWidth)();
}

std::int64_t panelRows()
{
    return HWY_DYNAMIC_DISPATCH(panelRows)();
}

void multiplyPanel(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                   std::int64_t rows, std::int64_t columns, float* c, std::int64_t cStride,
                   bool accumulate)
{
    HWY_DYNAMIC_DISPATCH(multiplyPanel)
    (a, aStride, panel, inner, rows, columns, c, cStride, accumulate);
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
