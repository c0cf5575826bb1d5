#include "MIL/Kernels/Normalisation/RowFunctions.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MIL/Kernels/Normalisation/RowFast.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "MIL/Kernels/Elementwise/VectorMath-inl.h"

#include <algorithm>
#include <cmath>

HWY_BEFORE_NAMESPACE();
namespace vorlin::mil {
namespace HWY_NAMESPACE {

void softmaxRow(float* row, std::int64_t width)
{
    const Floats d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const std::int64_t whole = width / lanes * lanes;
    float most = row[0];
    if (whole > 0) {
        Vector high = hn::LoadU(d, row);
        for (std::int64_t i = lanes; i < whole; i += lanes) {
            high = hn::Max(high, hn::LoadU(d, row + i));
        }
        most = hn::GetLane(hn::MaxOfLanes(d, high));
    }
    for (std::int64_t i = whole; i < width; ++i) {
        most = row[i] > most ? row[i] : most;
    }
    const Vector shift = hn::Set(d, most);
    Vector sums = hn::Zero(d);
    for (std::int64_t i = 0; i < whole; i += lanes) {
        const Vector e = exponential(hn::Sub(hn::LoadU(d, row + i), shift));
        hn::StoreU(e, d, row + i);
        sums = hn::Add(sums, e);
    }
    float sum = hn::GetLane(hn::SumOfLanes(d, sums));
    for (std::int64_t i = whole; i < width; ++i) {
        row[i] = hn::GetLane(exponential(hn::Set(d, row[i] - most)));
        sum += row[i];
    }
    const Vector total = hn::Set(d, sum);
    for (std::int64_t i = 0; i < whole; i += lanes) {
        hn::StoreU(hn::Div(hn::LoadU(d, row + i), total), d, row + i);
    }
    for (std::int64_t i = whole; i < width; ++i) {
        row[i] /= sum;
    }
}

void normaliseRow(float* row, std::int64_t width, double epsilon, const float* gamma,
                  const float* beta)
{
    const Floats d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    const std::int64_t whole = width / lanes * lanes;
    Vector sums = hn::Zero(d);
    for (std::int64_t i = 0; i < whole; i += lanes) {
        sums = hn::Add(sums, hn::LoadU(d, row + i));
    }
    auto sum = static_cast<double>(hn::GetLane(hn::SumOfLanes(d, sums)));
    for (std::int64_t i = whole; i < width; ++i) {
        sum += static_cast<double>(row[i]);
    }
    const auto mean = static_cast<float>(sum / static_cast<double>(width));
    const Vector shift = hn::Set(d, mean);
    Vector squares = hn::Zero(d);
    Vector rests = squares;
    for (std::int64_t i = 0; i < whole; i += lanes) {
        const Vector distance = hn::Sub(hn::LoadU(d, row + i), shift);
        squares = hn::MulAdd(distance, distance, squares);
        rests = hn::Add(rests, distance);
        hn::StoreU(distance, d, row + i);
    }
    auto square = static_cast<double>(hn::GetLane(hn::SumOfLanes(d, squares)));
    auto rest = static_cast<double>(hn::GetLane(hn::SumOfLanes(d, rests)));
    for (std::int64_t i = whole; i < width; ++i) {
        row[i] -= mean;
        square += static_cast<double>(row[i]) * static_cast<double>(row[i]);
        rest += static_cast<double>(row[i]);
    }
    // What the mean in single precision left over: it counts where the row is far from zero.
    rest /= static_cast<double>(width);
    const double variance = std::max(0.0, square / static_cast<double>(width) - rest * rest);
    const auto scale = static_cast<float>(1 / std::sqrt(variance + epsilon));
    const auto correction = static_cast<float>(rest);
    const Vector back = hn::Set(d, correction);
    const Vector factor = hn::Set(d, scale);
    for (std::int64_t i = 0; i < whole; i += lanes) {
        Vector value = hn::Mul(hn::Sub(hn::LoadU(d, row + i), back), factor);
        value = gamma == nullptr ? value : hn::Mul(value, hn::LoadU(d, gamma + i));
        value = beta == nullptr ? value : hn::Add(value, hn::LoadU(d, beta + i));
        hn::StoreU(value, d, row + i);
    }
    for (std::int64_t i = whole; i < width; ++i) {
        row[i] = (row[i] - correction) * scale;
        row[i] = gamma == nullptr ? row[i] : row[i] * gamma[i];
        row[i] = beta == nullptr ? row[i] : row[i] + beta[i];
    }
}

} // namespace HWY_NAMESPACE
} // namespace vorlin::mil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vorlin::mil {

HWY_EXPORT(softmaxRow);
HWY_EXPORT(normaliseRow);

void softmaxRow(float* row, std::int64_t width)
{
    HWY_DYNAMIC_DISPATCH(softmaxRow)(row, width);
}

void normaliseRow(float* row, std::int64_t width, double epsilon, const float* gamma,
                  const float* beta)
{
    HWY_DYNAMIC_DISPATCH(normaliseRow)(row, width, epsilon, gamma, beta);
}

} // namespace vorlin::mil
#endif
