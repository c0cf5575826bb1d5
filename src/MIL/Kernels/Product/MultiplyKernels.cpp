#include "MIL/Kernels/Product/MultiplyKernels.h"

#include <algorithm>
#include <array>
#include <utility>

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
#if HWY_MAX_BYTES >= 64
constexpr bool hasShortVectors = true;
using ShortTag = hn::Half<Tag>;
#else
constexpr bool hasShortVectors = false;
using ShortTag = Tag;
#endif
using ShortVector = hn::Vec<ShortTag>;
using Ahead = std::span<const std::byte* const>;

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

/// Asks for a line in the second-level cache: the first is full of what is computed with.
void askFor(const std::byte* line)
{
    __builtin_prefetch(line, 0, 2);
}

/// Rows against the first `used` vectors of each row of the panel and, `half`, half a vector behind
/// them: where the widest vectors are computed in two halves, it costs half.
template <std::size_t rows, std::size_t used, bool half>
void multiplyRows(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                  float* c, std::int64_t cStride, bool accumulate, Ahead ahead)
{
    const Tag tag;
    const ShortTag shortTag;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(tag));
    Vector sums[rows][used];
    ShortVector shortSums[rows];
    const auto target = [&](std::size_t i, std::size_t v) {
        return c + static_cast<std::int64_t>(i) * cStride + static_cast<std::int64_t>(v) * lanes;
    };
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t v = 0; v < used; ++v) {
            sums[i][v] = accumulate ? hn::LoadU(tag, target(i, v)) : hn::Zero(tag);
        }
        if constexpr (half) {
            shortSums[i] = accumulate ? hn::LoadU(shortTag, target(i, used)) : hn::Zero(shortTag);
        }
    }
    const auto lines = static_cast<std::int64_t>(ahead.size());
    const std::int64_t stretch = inner / (lines + 1);
    for (std::int64_t k = 0, line = 0; k < inner; ++line) {
        const std::int64_t end = line < lines ? k + stretch : inner;
        if (line < lines) {
            askFor(ahead[static_cast<std::size_t>(line)]);
        }
        for (; k < end; ++k) {
            Vector b[used];
            for (std::size_t v = 0; v < used; ++v) {
                b[v] = hn::LoadU(tag, panel + static_cast<std::int64_t>(v) * lanes);
            }
            const ShortVector shortB =
                half ? hn::LoadU(shortTag, panel + static_cast<std::int64_t>(used) * lanes)
                     : hn::Zero(shortTag);
            for (std::size_t i = 0; i < rows; ++i) {
                const float factor = a[static_cast<std::int64_t>(i) * aStride + k];
                const Vector x = hn::Set(tag, factor);
                for (std::size_t v = 0; v < used; ++v) {
                    sums[i][v] = hn::MulAdd(x, b[v], sums[i][v]);
                }
                if constexpr (half) {
                    shortSums[i] = hn::MulAdd(hn::Set(shortTag, factor), shortB, shortSums[i]);
                }
            }
            panel += vectors * lanes;
        }
    }
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t v = 0; v < used; ++v) {
            hn::StoreU(sums[i][v], tag, target(i, v));
        }
        if constexpr (half) {
            hn::StoreU(shortSums[i], shortTag, target(i, used));
        }
    }
}

template <std::size_t used, bool half, std::size_t... less>
auto* rowsFrom(std::int64_t rows, std::index_sequence<less...> /*upTo*/)
{
    constexpr std::array multiply{multiplyRows<less + 1, used, half>...};
    return multiply.at(static_cast<std::size_t>(rows) - 1);
}

void multiplyPanel(const float* a, std::int64_t aStride, const float* panel, std::int64_t inner,
                   std::int64_t rows, std::int64_t columns, float* c, std::int64_t cStride,
                   bool accumulate, Ahead ahead)
{
    constexpr std::make_index_sequence<static_cast<std::size_t>(mostRows)> any;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(Tag()));
    auto* multiply = rowsFrom<vectors, false>(rows, any);
    if (columns <= lanes) {
        multiply = rowsFrom<1, false>(rows, any);
    } else if (hasShortVectors && columns <= lanes + lanes / 2) {
        multiply = rowsFrom<1, hasShortVectors>(rows, any);
    } else if (columns <= 2 * lanes) {
        multiply = rowsFrom<2, false>(rows, any);
    } else if (hasShortVectors && columns <= 2 * lanes + lanes / 2) {
        multiply = rowsFrom<2, hasShortVectors>(rows, any);
    }
    multiply(a, aStride, panel, inner, c, cStride, accumulate, ahead);
}

#if HWY_TARGET == HWY_SCALAR
constexpr std::int64_t together = 1;
void transposeSome(const float* in, std::int64_t /*inStride*/, float* out,
                   std::int64_t /*outStride*/)
{
    *out = *in;
}
#else
constexpr std::int64_t together = 4;
/// Four rows of four.
void transposeSome(const float* in, std::int64_t inStride, float* out, std::int64_t outStride)
{
    const hn::Full128<float> four;
    const hn::Repartition<double, decltype(four)> pairs;
    const auto row0 = hn::LoadU(four, in);
    const auto row1 = hn::LoadU(four, in + inStride);
    const auto row2 = hn::LoadU(four, in + 2 * inStride);
    const auto row3 = hn::LoadU(four, in + 3 * inStride);
    const auto low01 = hn::BitCast(pairs, hn::InterleaveLower(four, row0, row1));
    const auto low23 = hn::BitCast(pairs, hn::InterleaveLower(four, row2, row3));
    const auto high01 = hn::BitCast(pairs, hn::InterleaveUpper(four, row0, row1));
    const auto high23 = hn::BitCast(pairs, hn::InterleaveUpper(four, row2, row3));
    const auto store = [&](auto column, std::int64_t j) HWY_ATTR {
        hn::StoreU(hn::BitCast(four, column), four, out + j * outStride);
    };
    store(hn::InterleaveLower(pairs, low01, low23), 0);
    store(hn::InterleaveUpper(pairs, low01, low23), 1);
    store(hn::InterleaveLower(pairs, high01, high23), 2);
    store(hn::InterleaveUpper(pairs, high01, high23), 3);
}

#endif

void transposeFloats(const float* in, std::int64_t inStride, std::int64_t rows,
                     std::int64_t columns, float* out, std::int64_t outStride)
{
    // Small squares stay in the first-level cache on both sides.
    constexpr std::int64_t square = 16;
    const std::int64_t wholeRows = rows / together * together;
    const std::int64_t wholeColumns = columns / together * together;
    for (std::int64_t first = 0; first < wholeColumns; first += square) {
        const std::int64_t last = std::min(first + square, wholeColumns);
        for (std::int64_t i = 0; i < wholeRows; i += together) {
            for (std::int64_t j = first; j < last; j += together) {
                transposeSome(in + i * inStride + j, inStride, out + j * outStride + i, outStride);
            }
        }
    }
    for (std::int64_t j = 0; j < columns; ++j) {
        for (std::int64_t i = j < wholeColumns ? wholeRows : 0; i < rows; ++i) {
            out[j * outStride + i] = in[i * inStride + j];
        }
    }
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vorlin::mil {

HWY_EXPORT(panelWidth);
HWY_EXPORT(panelRows);
HWY_EXPORT(multiplyPanel);
HWY_EXPORT(transposeFloats);

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
                   bool accumulate, std::span<const std::byte* const> ahead)
{
    HWY_DYNAMIC_DISPATCH(multiplyPanel)
    (a, aStride, panel, inner, rows, columns, c, cStride, accumulate, ahead);
}

void transposeFloats(const float* in, std::int64_t inStride, std::int64_t rows,
                     std::int64_t columns, float* out, std::int64_t outStride)
{
    HWY_DYNAMIC_DISPATCH(transposeFloats)(in, inStride, rows, columns, out, outStride);
}

} // namespace vorlin::mil
#endif
