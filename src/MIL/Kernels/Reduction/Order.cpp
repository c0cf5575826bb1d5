#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Rows/AxisSplit.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

namespace vorlin::mil {

namespace {

void inferCumulative(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    call.require(isComputed(x.element) || isWhole(x.element), "takes numbers");
    call.axis("axis", 0, x.shape.size());
    outputs.push_back(x);
}

void runCumulative(const Call& call)
{
    const TensorView& x = call.input("x");
    const std::size_t axis = call.axis("axis", 0, x.rank());
    const bool exclusive = call.flag("exclusive", false);
    const bool reverse = call.flag("reverse", false);
    const AxisSplit split(x.shape(), {static_cast<std::int64_t>(axis)});
    for (std::int64_t row = 0; row < split.rows(); ++row) {
        call.checkStop();
        const std::int64_t start = split.start(row);
        double sum = 0;
        for (std::int64_t i = 0; i < split.width(); ++i) {
            const std::int64_t at = start + split.offset(reverse ? split.width() - 1 - i : i);
            const double next = sum + x.number(at);
            call.output().set(at, exclusive ? sum : next);
            sum = next;
        }
    }
}

/// The places of a row in order of their values; equal values keep their order, not-a-number
/// counts as larger than all. The memory belongs to the calling thread.
const std::vector<std::int64_t>& sortedPlaces(const TensorView& x, const AxisSplit& split,
                                              std::int64_t row, bool ascending)
{
    thread_local std::vector<std::int64_t> places;
    thread_local std::vector<double> values;
    const auto width = static_cast<std::size_t>(split.width());
    places.resize(width);
    values.resize(width);
    std::iota(places.begin(), places.end(), std::int64_t{0});
    const std::int64_t start = split.start(row);
    for (std::size_t i = 0; i < width; ++i) {
        values[i] = x.number(start + split.offset(static_cast<std::int64_t>(i)));
    }
    const auto less = [&](std::int64_t a, std::int64_t b) {
        const double x0 = values[static_cast<std::size_t>(a)];
        const double y0 = values[static_cast<std::size_t>(b)];
        const bool smaller = x0 < y0 || (std::isnan(y0) && !std::isnan(x0));
        const bool larger = y0 < x0 || (std::isnan(x0) && !std::isnan(y0));
        return (ascending ? smaller : larger) || (!smaller && !larger && a < b);
    };
    std::sort(places.begin(), places.end(), less);
    return places;
}

std::int64_t topCount(const Call& call, std::int64_t extent)
{
    const std::int64_t k = call.integer("k", 1);
    call.require(k >= -1 && k <= extent, "asks for more elements than there are");
    return k == -1 ? extent : k;
}

void inferTop(const Call& call, std::vector<TensorType>& outputs)
{
    TensorType x = call.type("x").type;
    call.require(isComputed(x.element) || isWhole(x.element), "takes numbers");
    const auto type = elementTypeNamed(call.text("output_indices_dtype", "int32"));
    call.require(type && isWhole(*type) && *type != ElementType::boolean,
                 "has an index type it cannot make");
    const std::size_t axis = call.axis("axis", -1, x.shape.size());
    x.shape[axis] = topCount(call, x.shape[axis]);
    outputs.push_back(x);
    if (call.flag("return_indices", true)) {
        outputs.push_back({*type, x.shape});
    }
}

void runTop(const Call& call)
{
    const TensorView& x = call.input("x");
    const std::size_t axis = call.axis("axis", -1, x.rank());
    const Extents axes{static_cast<std::int64_t>(axis)};
    const AxisSplit from(x.shape(), axes);
    const AxisSplit to(call.output().shape(), axes);
    for (std::int64_t row = 0; row < from.rows(); ++row) {
        call.checkStop();
        const auto& places = sortedPlaces(x, from, row, call.flag("ascending", false));
        for (std::int64_t i = 0; i < to.width(); ++i) {
            const std::int64_t place = places[static_cast<std::size_t>(i)];
            const std::int64_t at = to.start(row) + to.offset(i);
            call.output().set(at, x.number(from.start(row) + from.offset(place)));
            if (call.outputs() > 1) {
                call.output(1).set(at, static_cast<double>(place));
            }
        }
    }
}

void inferSort(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    call.require(isComputed(x.element) || isWhole(x.element), "takes numbers");
    call.axis("axis", -1, x.shape.size());
    outputs.push_back({ElementType::int32, x.shape});
}

void runSort(const Call& call)
{
    const TensorView& x = call.input("x");
    const std::size_t axis = call.axis("axis", -1, x.rank());
    const AxisSplit split(x.shape(), {static_cast<std::int64_t>(axis)});
    for (std::int64_t row = 0; row < split.rows(); ++row) {
        call.checkStop();
        const auto& places = sortedPlaces(x, split, row, call.flag("ascending", false));
        for (std::int64_t i = 0; i < split.width(); ++i) {
            call.output().set(split.start(row) + split.offset(i),
                              static_cast<double>(places[static_cast<std::size_t>(i)]));
        }
    }
}

} // namespace

std::vector<OperationKind> orderOperations()
{
    return {{"cumsum", "x axis? exclusive? reverse?", inferCumulative, runCumulative},
            {"topk", "x k? axis? ascending? sort? return_indices? output_indices_dtype?", inferTop,
             runTop},
            {"argsort", "x axis? ascending?", inferSort, runSort}};
}

} // namespace vorlin::mil
