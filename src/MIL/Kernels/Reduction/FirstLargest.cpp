#include "MIL/Kernels/Reduction/FirstLargest.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Reduction/FirstLargest.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// -1 if the row holds something that is not a number, or an infinity.
std::int64_t firstLargest(const float* row, std::int64_t width)
{
    const hn::ScalableTag<float> d;
    using Vector = hn::Vec<decltype(d)>;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const std::int64_t whole = width / lanes * lanes;
    Vector high = hn::Set(d, row[0]);
    // x - x is 0 but for infinities and what is not a number; those take the plain way.
    Vector odd = hn::Zero(d);
    for (std::int64_t i = 0; i < whole; i += lanes) {
        const Vector x = hn::LoadU(d, row + i);
        high = hn::Max(high, x);
        odd = hn::Add(odd, hn::Sub(x, x));
    }
    float most = hn::GetLane(hn::MaxOfLanes(d, high));
    float strange = hn::GetLane(hn::SumOfLanes(d, odd));
    for (std::int64_t i = whole; i < width; ++i) {
        most = row[i] > most ? row[i] : most;
        strange += row[i] - row[i];
    }
    if (!(strange == 0)) {
        return -1;
    }
    std::int64_t i = 0;
    const Vector wanted = hn::Set(d, most);
    while (i < whole && hn::AllFalse(d, hn::Eq(hn::LoadU(d, row + i), wanted))) {
        i += lanes;
    }
    while (row[i] != most) {
        ++i;
    }
    return i;
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <cmath>

namespace vorlin::mil {

HWY_EXPORT(firstLargest);

std::int64_t firstLargest(const float* row, std::int64_t width)
{
    const std::int64_t place = HWY_DYNAMIC_DISPATCH(firstLargest)(row, width);
    return place < 0 ? reference::firstLargest(row, width) : place;
}

std::int64_t reference::firstLargest(const float* row, std::int64_t width)
{
    std::int64_t best = 0;
    for (std::int64_t i = 1; i < width && !std::isnan(row[best]); ++i) {
        best = row[i] > row[best] || std::isnan(row[i]) ? i : best;
    }
    return best;
}

} // namespace vorlin::mil
#endif
