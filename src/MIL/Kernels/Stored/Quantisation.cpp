#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Operations.h"

#include <algorithm>
#include <cmath>

namespace vorlin::mil {

namespace {

/// Index into a scale or zero point for a flat element of the input.
class ByAxis {
public:
    ByAxis(const Call& call, const Shape& shape)
    {
        if (call.has("axis")) {
            const std::size_t axis = call.axis("axis", 0, shape.size());
            extent = shape[axis];
            inner = product(shape, axis + 1, shape.size());
        }
    }
    std::int64_t at(const TensorView& parameter, std::int64_t element) const
    {
        return parameter.elements() == 1 ? 0 : element / inner % extent;
    }
    bool fits(const TensorView& parameter) const
    {
        return parameter.elements() == 1 ||
               (parameter.rank() == 1 && parameter.extent(0) == extent);
    }

private:
    std::int64_t extent = 1;
    std::int64_t inner = 1;
};

void inferCommon(const Call& call)
{
    const TensorView& input = call.type("input");
    const ByAxis axis(call, input.shape());
    call.require(isComputed(call.type("scale").type.element) && axis.fits(call.type("scale")) &&
                     (!call.has("zero_point") || axis.fits(call.type("zero_point"))),
                 "needs one scale and zero point, or one for each place of the axis");
}

void inferQuantize(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& input = call.type("input").type;
    const auto type = elementTypeNamed(call.text("output_dtype", ""));
    call.require(isComputed(input.element) && type && isInteger(*type) && bitsOf(*type) == 8,
                 "turns floating numbers into int8 or uint8");
    inferCommon(call);
    outputs.push_back({*type, input.shape});
}

/// clip(round(x / scale) + zero point), half to even.
void runQuantize(const Call& call)
{
    const TensorView& x = call.input("input");
    const TensorView& scale = call.input("scale");
    const ByAxis axis(call, x.shape());
    const TensorBuffer& out = call.output();
    const auto lowest = static_cast<double>(lowestOf(out.type.element));
    const auto highest = static_cast<double>(highestOf(out.type.element));
    call.parallel(x.elements(), 8192, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) {
            const auto quotient = static_cast<float>(x.number(i) / scale.number(axis.at(scale, i)));
            auto value = static_cast<double>(std::nearbyint(quotient));
            if (call.has("zero_point")) {
                const TensorView& zero = call.input("zero_point");
                value += zero.number(axis.at(zero, i));
            }
            out.set(i, std::isnan(value) ? 0 : std::clamp(value, lowest, highest));
        }
    });
}

void inferDequantize(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& input = call.type("input").type;
    call.require(isInteger(input.element) && bitsOf(input.element) == 8, "takes int8 or uint8");
    inferCommon(call);
    outputs.push_back({call.type("scale").type.element, input.shape});
}

/// scale (q - zero point).
void runDequantize(const Call& call)
{
    const TensorView& q = call.input("input");
    const TensorView& scale = call.input("scale");
    const ByAxis axis(call, q.shape());
    call.parallel(q.elements(), 8192, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) {
            double value = q.number(i);
            if (call.has("zero_point")) {
                const TensorView& zero = call.input("zero_point");
                value -= zero.number(axis.at(zero, i));
            }
            call.output().set(i, value * scale.number(axis.at(scale, i)));
        }
    });
}

} // namespace

std::vector<OperationKind> quantisationOperations()
{
    return {{"quantize", "input scale zero_point? axis? output_dtype", inferQuantize, runQuantize},
            {"dequantize", "input scale zero_point? axis?", inferDequantize, runDequantize}};
}

} // namespace vorlin::mil
