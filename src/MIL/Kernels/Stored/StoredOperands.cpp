#include "MIL/Kernels/Stored/StoredOperands.h"

#include "MIL/Kernels/Elementwise/Elements.h"

#include <memory>

namespace vorlin::mil {

StoredValuesPointer valuesOf(const Call& call, std::string_view name)
{
    if (const StoredValues* stored = call.stored(name)) {
        return {StoredValuesPointer(), stored};
    }
    return std::make_shared<DenseValues>(call.input(name));
}

std::vector<float> numbersOf(const Call& call, std::string_view name)
{
    std::vector<float> numbers;
    if (call.has(name)) {
        const auto count = static_cast<std::size_t>(call.type(name).elements());
        call.spend(2 * count * sizeof(float)); // palettes keep them twice
        numbers.resize(count);
        valuesOf(call, name)->expand(0, call.type(name).elements(), numbers.data());
    }
    return numbers;
}

Shape shapeOperand(const Call& call)
{
    const Shape shape = call.integers("shape");
    call.require(shape.size() <= Extents::maximumRank && isKnown(shape), "has no proper shape");
    return shape;
}

Blocks blocksOf(const Call& call, const Shape& shape, const Shape& parameters)
{
    call.require(parameters.size() == shape.size(), "needs scales of the rank of its data");
    for (std::size_t i = 0; i < shape.size(); ++i) {
        call.require(parameters[i] > 0 && shape[i] % parameters[i] == 0,
                     "has blocks that do not divide its data");
    }
    return {shape, parameters};
}

ScaledValues::Parts scaledParts(const Call& call, std::string_view data, const Shape& shape)
{
    ScaledValues::Parts parts{.data = valuesOf(call, data),
                              .scaleBlocks = blocksOf(call, shape, call.type("scale").shape()),
                              .scales = numbersOf(call, "scale"),
                              .offsetBlocks = {},
                              .offsets = numbersOf(call, "offset"),
                              .result = call.type("scale").type.element};
    if (call.has("offset")) {
        parts.offsetBlocks = blocksOf(call, shape, call.type("offset").shape());
    }
    return parts;
}

void requireScales(const Call& call, const Shape& shape)
{
    call.require(isComputed(call.type("scale").type.element), "takes floating scales");
    blocksOf(call, shape, call.type("scale").shape());
    if (call.has("offset")) {
        blocksOf(call, shape, call.type("offset").shape());
    }
}

Palette::Palette(const Call& call, const Shape& indices, ElementType element)
{
    const TensorType& lut = call.type("lut").type;
    const std::size_t rank = indices.size();
    call.require(lut.shape.size() == rank + 2, "needs a palette of two axes more than indices");
    size = lut.shape[rank];
    vector = lut.shape[rank + 1];
    for (std::size_t i = 0; i < rank; ++i) {
        groups.push(lut.shape[i]);
    }
    blocksOf(call, indices, groups);
    const std::size_t bits = bitsOf(element);
    call.require(element != ElementType::boolean && isInteger(element) && !isSigned(element) &&
                     bits <= 8 && size == std::int64_t{1} << bits && vector > 0,
                 "has a palette that does not fit its indices");
    shape = indices;
    if (vector > 1) {
        vectorAxis = call.axis("vector_axis", -1, rank);
        shape[vectorAxis] *= vector;
    }
    elementCount(shape); // refuses what is too large
}

PaletteValues::Parts paletteParts(const Call& call, const Palette& palette, const Shape& indices,
                                  const TensorView& stored)
{
    return {.indices = stored,
            .shape = indices,
            .blocks = {indices, palette.groups},
            .entries = numbersOf(call, "lut"),
            .size = palette.size,
            .vector = palette.vector,
            .vectorAxis = palette.vectorAxis,
            .mask = nullptr};
}

} // namespace vorlin::mil
