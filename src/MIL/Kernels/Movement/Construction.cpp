#include "MIL/Kernels/Movement/StridedCopy.h"
#include "MIL/Kernels/Operations.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace vorlin::mil {

namespace {

void fillOutput(const Call& call, const TensorBuffer& out, const TensorView* value)
{
    const std::size_t bytes = bitsOf(out.type.element) / 8;
    const std::array<std::byte, 8> zero{};
    const std::int64_t count = out.elements();
    copyStrided(call, {.extents = {count},
                       .in = value == nullptr ? zero.data() : value->data,
                       .inStrides = {0},
                       .out = out.data,
                       .outStrides = {1},
                       .elementBytes = bytes});
}

void inferFill(const Call& call, std::vector<TensorType>& outputs)
{
    ElementType element = ElementType::fp32;
    if (call.has("value")) {
        const TensorView& value = call.type("value");
        call.require(value.elements() == 1 && bitsOf(value.type.element) >= 8, "needs one value");
        element = value.type.element;
    }
    Shape shape;
    if (call.operation() == "fill_like") {
        shape = call.type("ref_tensor").shape();
    } else {
        shape = call.integers("shape");
        call.require(shape.size() <= Extents::maximumRank && isKnown(shape),
                     "needs a shape of extents from 0 up");
    }
    outputs.push_back({element, shape});
}

void runFill(const Call& call)
{
    fillOutput(call, call.output(), call.has("value") ? &call.input("value") : nullptr);
}

/// The exporter counts the elements of a range in their own type.
double roundedTo(ElementType element, double value)
{
    switch (element) {
    case ElementType::fp16: return static_cast<double>(widen(narrowOnce(value)));
    case ElementType::fp32: return static_cast<double>(static_cast<float>(value));
    default: return value;
    }
}

void inferRange(const Call& call, std::vector<TensorType>& outputs)
{
    const ElementType element = call.type("start").type.element;
    for (std::string_view name : {"start", "end", "step"}) {
        const TensorView& value = call.type(name);
        call.require(value.elements() == 1 && value.type.element == element,
                     "needs numbers of one type");
    }
    const double start = call.input("start").number(0);
    const double step = call.input("step").number(0);
    const double distance = roundedTo(element, call.input("end").number(0) - start);
    const double count = std::ceil(roundedTo(element, distance / step));
    call.require(step != 0 && !(count > 0x1p31) && !std::isnan(count), "is endless");
    outputs.push_back({element, {static_cast<std::int64_t>(std::max(count, 0.0))}});
}

void runRange(const Call& call)
{
    const double start = call.input("start").number(0);
    const double step = call.input("step").number(0);
    for (std::int64_t i = 0; i < call.output().elements(); ++i) {
        call.output().set(i, start + static_cast<double>(i) * step);
    }
}

void inferShape(const Call& call, std::vector<TensorType>& outputs)
{
    outputs.push_back({ElementType::int32, {static_cast<std::int64_t>(call.type("x").rank())}});
}

void runShape(const Call& call)
{
    const Shape& shape = call.type("x").shape();
    for (std::size_t i = 0; i < shape.size(); ++i) {
        call.output().set(static_cast<std::int64_t>(i), static_cast<double>(shape[i]));
    }
}

void inferOneHot(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& indices = call.type("indices").type;
    call.require(!isFloat(indices.element) && indices.shape.size() < Extents::maximumRank,
                 "needs integer indices");
    const std::int64_t size = call.integer("one_hot_vector_size");
    call.require(size >= 0 && size < (std::int64_t{1} << 31), "needs a size from 0 up");
    ElementType element = ElementType::int32;
    for (std::string_view name : {"on_value", "off_value"}) {
        element = call.has(name) ? call.type(name).type.element : element;
    }
    Shape shape = indices.shape;
    shape.insert(call.axis("axis", -1, indices.shape.size() + 1), size);
    outputs.push_back({element, shape});
}

void runOneHot(const Call& call)
{
    const TensorView& indices = call.input("indices");
    const TensorBuffer& out = call.output();
    const std::size_t axis = call.axis("axis", -1, out.rank());
    const std::int64_t size = out.extent(axis);
    const std::int64_t inner = product(out.shape(), axis + 1, out.rank());
    const double on = call.number("on_value", 1);
    const double off = call.number("off_value", 0);
    for (std::int64_t i = 0; i < out.elements(); ++i) {
        out.set(i, off);
    }
    for (std::int64_t i = 0; i < indices.elements(); ++i) {
        std::int64_t index = indices.integer(i);
        index += index < 0 ? size : 0;
        if (index >= 0 && index < size) {
            out.set((i / inner * size + index) * inner + i % inner, on);
        }
    }
}

void inferNonZero(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorView& x = call.input("x");
    std::int64_t count = 0;
    for (std::int64_t i = 0; i < x.elements(); ++i) {
        count += x.number(i) != 0.0 ? 1 : 0;
    }
    outputs.push_back({ElementType::int32, {count, static_cast<std::int64_t>(x.rank())}});
}

void runNonZero(const Call& call)
{
    const TensorView& x = call.input("x");
    std::int64_t at = 0;
    for (std::int64_t i = 0; i < x.elements(); ++i) {
        if (x.number(i) == 0.0) {
            continue;
        }
        std::int64_t rest = i;
        for (std::size_t axis = x.rank(); axis-- > 0;) {
            call.output().set(at + static_cast<std::int64_t>(axis),
                              static_cast<double>(rest % x.extent(axis)));
            rest /= x.extent(axis);
        }
        at += static_cast<std::int64_t>(x.rank());
    }
}

} // namespace

std::vector<OperationKind> constructionOperations()
{
    return {{"fill", "shape value?", inferFill, runFill},
            {"fill_like", "ref_tensor value?", inferFill, runFill},
            {"range_1d", "start end step", inferRange, runRange},
            {"shape", "x", inferShape, runShape},
            {"one_hot", "indices one_hot_vector_size axis? on_value? off_value?", inferOneHot,
             runOneHot},
            {"non_zero", "x", inferNonZero, runNonZero}};
}

} // namespace vorlin::mil
