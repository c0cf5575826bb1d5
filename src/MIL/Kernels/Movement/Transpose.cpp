#include "MIL/Kernels/Movement/Transpose.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Movement/Transpose.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR
constexpr std::int64_t square = 1;
void transposeSquare(const std::uint16_t* in, std::int64_t /*inStride*/, std::uint16_t* out,
                     std::int64_t /*outStride*/)
{
    *out = *in;
}
#else
constexpr std::int64_t square = 8;
/// Eight rows of eight: neighbours change places alone, then in pairs, then in fours.
void transposeSquare(const std::uint16_t* in, std::int64_t inStride, std::uint16_t* out,
                     std::int64_t outStride)
{
    const hn::Full128<std::uint16_t> shorts;
    const hn::Full128<std::uint32_t> pairs;
    const hn::Full128<std::uint64_t> fours;
    using Vector = hn::Vec<decltype(shorts)>;
    const auto load = [&](std::int64_t row)
                          HWY_ATTR { return hn::LoadU(shorts, in + row * inStride); };
    Vector one[8];
    for (std::int64_t i = 0; i < 8; i += 2) {
        one[i] = hn::InterleaveLower(shorts, load(i), load(i + 1));
        one[i + 1] = hn::InterleaveUpper(shorts, load(i), load(i + 1));
    }
    hn::Vec<decltype(fours)> two[8];
    for (std::int64_t i = 0; i < 8; i += 4) {
        for (std::int64_t k = 0; k < 2; ++k) {
            const auto a = hn::BitCast(pairs, one[i + k]);
            const auto b = hn::BitCast(pairs, one[i + 2 + k]);
            two[i + 2 * k] = hn::BitCast(fours, hn::InterleaveLower(pairs, a, b));
            two[i + 2 * k + 1] = hn::BitCast(fours, hn::InterleaveUpper(pairs, a, b));
        }
    }
    for (std::int64_t i = 0; i < 4; ++i) {
        const auto lower = hn::InterleaveLower(fours, two[i], two[i + 4]);
        const auto upper = hn::InterleaveUpper(fours, two[i], two[i + 4]);
        hn::StoreU(hn::BitCast(shorts, lower), shorts, out + 2 * i * outStride);
        hn::StoreU(hn::BitCast(shorts, upper), shorts, out + (2 * i + 1) * outStride);
    }
}
#endif

void transposeShorts(const std::uint16_t* in, std::int64_t inStride, std::int64_t rows,
                     std::int64_t columns, std::uint16_t* out, std::int64_t outStride)
{
    const std::int64_t wholeRows = rows / square * square;
    const std::int64_t wholeColumns = columns / square * square;
    for (std::int64_t i = 0; i < wholeRows; i += square) {
        for (std::int64_t j = 0; j < wholeColumns; j += square) {
            transposeSquare(in + j * inStride + i, inStride, out + i * outStride + j, outStride);
        }
    }
    for (std::int64_t i = 0; i < rows; ++i) {
        for (std::int64_t j = i < wholeRows ? wholeColumns : 0; j < columns; ++j) {
            out[i * outStride + j] = in[j * inStride + i];
        }
    }
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vorlin::mil {

HWY_EXPORT(transposeShorts);

void transposeShorts(const std::uint16_t* in, std::int64_t inStride, std::int64_t rows,
                     std::int64_t columns, std::uint16_t* out, std::int64_t outStride)
{
    HWY_DYNAMIC_DISPATCH(transposeShorts)(in, inStride, rows, columns, out, outStride);
}

} // namespace vorlin::mil
#endif
