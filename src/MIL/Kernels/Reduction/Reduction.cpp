#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Reduction/FirstLargest.h"
#include "MIL/Kernels/Rows/AxisSplit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <variant>

namespace vorlin::mil {

namespace {

enum class Reduction : std::uint8_t {
    sum,
    mean,
    maximum,
    minimum,
    product,
    sumOfSquares,
    sumOfMagnitudes,
    root,      // of the sum of squares
    logSum,    // ln of the sum
    logSumExp, // ln of the sum of exponentials
};

struct Entry {
    std::string_view name;
    Reduction reduction;
};

constexpr Entry table[] = {
    {"reduce_sum", Reduction::sum},
    {"reduce_mean", Reduction::mean},
    {"reduce_max", Reduction::maximum},
    {"reduce_min", Reduction::minimum},
    {"reduce_prod", Reduction::product},
    {"reduce_sum_square", Reduction::sumOfSquares},
    {"reduce_l1_norm", Reduction::sumOfMagnitudes},
    {"reduce_l2_norm", Reduction::root},
    {"reduce_log_sum", Reduction::logSum},
    {"reduce_log_sum_exp", Reduction::logSumExp},
};

Reduction reductionOf(const Call& call)
{
    for (const Entry& entry : table) {
        if (entry.name == call.operation()) {
            return entry.reduction;
        }
    }
    return Reduction::sum;
}

Shape reducedShape(const Shape& x, const Extents& axes, bool keep)
{
    Shape shape;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const bool reduced =
            std::find(axes.begin(), axes.end(), static_cast<std::int64_t>(i)) != axes.end();
        if (!reduced) {
            shape.push(x[i]);
        } else if (keep) {
            shape.push(1);
        }
    }
    return shape;
}

void inferReduce(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const bool integers = isWhole(x.element) && x.element != ElementType::boolean;
    if (!isComputed(x.element) && !integers) {
        call.fail("does not take " + describe(x));
    }
    outputs.push_back({x.element, reducedShape(x.shape, call.axes("axes", x.shape.size()),
                                               call.flag("keep_dims", false))});
}

/// Four partial sums, so that the additions do not wait for one another.
template <class Term>
double sumRow(const float* row, std::int64_t width, Term&& term)
{
    double sums[4] = {};
    std::int64_t i = 0;
    for (; i + 4 <= width; i += 4) {
        for (std::int64_t k = 0; k < 4; ++k) {
            sums[k] += term(static_cast<double>(row[i + k]));
        }
    }
    for (; i < width; ++i) {
        sums[0] += term(static_cast<double>(row[i]));
    }
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

double reduceRow(Reduction reduction, const float* row, std::int64_t width)
{
    double sum = reduction == Reduction::product ? 1 : 0;
    double most = -std::numeric_limits<double>::infinity();
    if (reduction == Reduction::minimum) {
        most = -most;
    }
    if (reduction == Reduction::logSumExp) {
        for (std::int64_t i = 0; i < width; ++i) {
            most = std::max(most, static_cast<double>(row[i]));
        }
        most = std::isfinite(most) ? most : 0;
    }
    switch (reduction) {
    case Reduction::sum:
    case Reduction::mean:
    case Reduction::logSum: sum = sumRow(row, width, [](double v) { return v; }); break;
    case Reduction::sumOfSquares:
    case Reduction::root: sum = sumRow(row, width, [](double v) { return v * v; }); break;
    case Reduction::sumOfMagnitudes:
        sum = sumRow(row, width, [](double v) { return std::abs(v); });
        break;
    case Reduction::logSumExp:
        sum = sumRow(row, width, [&](double v) { return std::exp(v - most); });
        break;
    default:
        for (std::int64_t i = 0; i < width; ++i) {
            const auto value = static_cast<double>(row[i]);
            sum *= value;
            const bool better = reduction == Reduction::minimum ? value < most : value > most;
            most = better || std::isnan(value) ? value : most;
        }
        break;
    }
    switch (reduction) {
    case Reduction::mean: return sum / static_cast<double>(width);
    case Reduction::maximum:
    case Reduction::minimum: return most;
    case Reduction::root: return std::sqrt(sum);
    case Reduction::logSum: return std::log(sum);
    case Reduction::logSumExp: return std::log(sum) + most;
    default: return sum;
    }
}

/// ln of the sum of exponentials of integers.
double logSumExp(const TensorView& x, const AxisSplit& split, std::int64_t start)
{
    auto most = static_cast<double>(lowestOf(x.type.element));
    for (std::int64_t i = 0; i < split.width(); ++i) {
        most = std::max(most, x.number(start + split.offset(i)));
    }
    double sum = 0;
    for (std::int64_t i = 0; i < split.width(); ++i) {
        sum += std::exp(x.number(start + split.offset(i)) - most);
    }
    return std::log(sum) + most;
}

/// Exact; where the result is a fraction, it is in double precision.
std::variant<std::int64_t, double> reduceIntegers(Reduction reduction, const TensorView& x,
                                                  const AxisSplit& split, std::int64_t row)
{
    std::uint64_t sum = reduction == Reduction::product ? 1 : 0;
    double squares = 0;
    std::int64_t most =
        reduction == Reduction::minimum ? highestOf(x.type.element) : lowestOf(x.type.element);
    const std::int64_t start = split.start(row);
    if (reduction == Reduction::logSumExp) {
        return logSumExp(x, split, start);
    }
    for (std::int64_t i = 0; i < split.width(); ++i) {
        const std::int64_t place = start + split.offset(i);
        const std::int64_t value = x.integer(place);
        const auto bits = static_cast<std::uint64_t>(value);
        switch (reduction) {
        case Reduction::maximum: most = std::max(most, value); break;
        case Reduction::minimum: most = std::min(most, value); break;
        case Reduction::product: sum *= bits; break;
        case Reduction::sumOfSquares: sum += bits * bits; break;
        case Reduction::root: squares += x.number(place) * x.number(place); break;
        case Reduction::sumOfMagnitudes: sum += value < 0 ? -bits : bits; break;
        default: sum += bits; break;
        }
    }
    if (reduction == Reduction::maximum || reduction == Reduction::minimum) {
        return most;
    }
    const auto total = static_cast<std::int64_t>(sum);
    switch (reduction) {
    case Reduction::root: return std::sqrt(squares);
    case Reduction::logSum: return std::log(static_cast<double>(total));
    case Reduction::mean: return split.width() != 0 ? total / split.width() : total;
    default: return total;
    }
}

void runReduce(const Call& call)
{
    const Reduction reduction = reductionOf(call);
    const TensorView& x = call.input("x");
    const TensorBuffer& out = call.output();
    const AxisSplit split(x.shape(), call.axes("axes", x.rank()));
    const bool floats = isComputed(x.type.element);
    call.parallel(split.rows(), rowGrain(split.width()), [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t row = begin; row < end; ++row) {
            if (!floats) {
                const auto value = reduceIntegers(reduction, x, split, row);
                if (const auto* const whole = std::get_if<std::int64_t>(&value)) {
                    storeIntegers(out, row, 1, whole);
                } else {
                    out.set(row, std::get<double>(value)); // cut off
                }
                continue;
            }
            float* const values = rowBuffer(split.width());
            split.load(x, row, values);
            const auto value = static_cast<float>(reduceRow(reduction, values, split.width()));
            storeFloats(out, row, 1, &value);
        }
    });
}

void inferArg(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const auto type = elementTypeNamed(call.word("output_dtype", "int32"));
    call.require(type && isWhole(*type) && *type != ElementType::boolean,
                 "has an output type it cannot make");
    call.require(isComputed(x.element) || isWhole(x.element), "takes numbers");
    const std::size_t axis = call.axis("axis", -1, x.shape.size());
    call.require(x.shape[axis] > 0, "has nothing to choose from");
    outputs.push_back({*type, reducedShape(x.shape, {static_cast<std::int64_t>(axis)},
                                           call.flag("keep_dims", false))});
}

/// The first place of the largest or smallest of integers.
std::int64_t bestInteger(const TensorView& x, const AxisSplit& split, std::int64_t row, bool most)
{
    const std::int64_t start = split.start(row);
    std::int64_t best = 0;
    std::int64_t value = x.integer(start);
    for (std::int64_t i = 1; i < split.width(); ++i) {
        const std::int64_t next = x.integer(start + split.offset(i));
        if (most ? next > value : next < value) {
            value = next;
            best = i;
        }
    }
    return best;
}

void runArg(const Call& call)
{
    const TensorView& x = call.input("x");
    const bool most = call.operation() == "reduce_argmax";
    const std::size_t axis = call.axis("axis", -1, x.rank());
    const AxisSplit split(x.shape(), {static_cast<std::int64_t>(axis)});
    const auto find = call.referenceKernels() ? reference::firstLargest : firstLargest;
    for (std::int64_t row = 0; row < split.rows(); ++row) {
        call.checkStop();
        std::int64_t best = 0;
        if (isComputed(x.type.element)) {
            float* const values = rowBuffer(split.width());
            split.load(x, row, values);
            for (std::int64_t i = 0; !most && i < split.width(); ++i) {
                values[i] = -values[i];
            }
            best = find(values, split.width());
        } else {
            best = bestInteger(x, split, row, most);
        }
        storeIntegers(call.output(), row, 1, &best);
    }
}

} // namespace

std::vector<OperationKind> reductionOperations()
{
    std::vector<OperationKind> kinds;
    for (const Entry& entry : table) {
        kinds.push_back({entry.name, "x axes? keep_dims?", inferReduce, runReduce});
    }
    for (std::string_view name : {"reduce_argmax", "reduce_argmin"}) {
        kinds.push_back({name, "x axis? keep_dims? output_dtype?", inferArg, runArg});
    }
    return kinds;
}

} // namespace vorlin::mil
