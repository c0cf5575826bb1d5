#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Stored/StoredOperands.h"

#include <algorithm>
#include <bit>

namespace vorlin::mil {

namespace {

// constexpr_affine_dequantize: scale (q - zero point), by axis.

/// Scalars stand for all, vectors for the places of the axis.
Blocks alongAxis(const Call& call, std::string_view name, const Shape& shape)
{
    const TensorView& values = call.type(name);
    Extents counts = Extents::filled(shape.size(), 1);
    if (values.rank() == 0 || values.elements() == 1) {
        return {shape, counts};
    }
    const std::size_t axis = call.axis("axis", 0, shape.size());
    call.require(values.rank() == 1 && values.extent(0) == shape[axis],
                 "needs one scale and zero point for each place of the axis");
    counts[axis] = shape[axis];
    return {shape, counts};
}

void inferAffine(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& data = call.type("quantized_data").type;
    const ElementType scale = call.type("scale").type.element;
    call.require(isInteger(data.element) && bitsOf(data.element) <= 8 && isComputed(scale),
                 "takes small integers and floating scales");
    alongAxis(call, "scale", data.shape);
    if (call.has("zero_point")) {
        alongAxis(call, "zero_point", data.shape);
    }
    outputs.push_back({scale, data.shape});
}

void storeAffine(const Call& call, std::span<StoredOutput> outputs)
{
    const Shape& shape = call.type("quantized_data").shape();
    ScaledValues::Parts parts{.data = valuesOf(call, "quantized_data"),
                              .scaleBlocks = alongAxis(call, "scale", shape),
                              .scales = numbersOf(call, "scale"),
                              .offsetBlocks = {},
                              .offsets = numbersOf(call, "zero_point"),
                              .result = call.type("scale").type.element};
    if (call.has("zero_point")) {
        parts.offsetBlocks = alongAxis(call, "zero_point", shape);
    }
    outputs[0].values = std::make_shared<ScaledValues>(std::move(parts));
}

// constexpr_blockwise_shift_scale: scale[block] (data - offset[block]).

void inferBlockwise(const Call& call, std::vector<TensorType>& outputs)
{
    const Shape& shape = call.type("data").shape();
    requireScales(call, shape);
    outputs.push_back({call.type("scale").type.element, shape});
}

void storeBlockwise(const Call& call, std::span<StoredOutput> outputs)
{
    outputs[0].values =
        std::make_shared<ScaledValues>(scaledParts(call, "data", call.type("data").shape()));
}

// Palettes.

/// Bits of an index into a palette of the older form, whose indices are a plain stream of bytes.
std::size_t streamBits(const Call& call)
{
    const std::int64_t entries = call.type("lut").elements();
    const bool known =
        entries == 2 || entries == 4 || entries == 16 || entries == 64 || entries == 256;
    call.require(known && call.type("lut").rank() == 1,
                 "needs a palette of 2, 4, 16, 64 or 256 entries");
    return static_cast<std::size_t>(std::countr_zero(static_cast<std::uint64_t>(entries)));
}

void inferPalette(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& indices = call.type("indices").type;
    const ElementType element = call.type("lut").type.element;
    call.require(isFloat(element) || (isInteger(element) && bitsOf(element) >= 8),
                 "has a palette of numbers it cannot use");
    if (!call.has("shape")) {
        outputs.push_back({element, Palette(call, indices.shape, indices.element).shape});
        return;
    }
    const Shape shape = shapeOperand(call);
    const auto bits = static_cast<std::int64_t>(streamBits(call));
    call.require(indices.element == ElementType::uint8 && indices.shape.size() == 1 &&
                     indices.shape[0] == (elementCount(shape) * bits + 7) / 8,
                 "has indices that do not fit its shape");
    outputs.push_back({element, shape});
}

void storePalette(const Call& call, std::span<StoredOutput> outputs)
{
    const TensorView& indices = call.input("indices");
    if (!call.has("shape")) {
        const Palette palette(call, indices.shape(), indices.type.element);
        outputs[0].values =
            std::make_shared<PaletteValues>(paletteParts(call, palette, indices.shape(), indices));
        return;
    }
    constexpr ElementType byBits[] = {ElementType::uint8, ElementType::uint1, ElementType::uint2,
                                      ElementType::uint3, ElementType::uint4, ElementType::uint8,
                                      ElementType::uint6, ElementType::uint8, ElementType::uint8};
    const Shape shape = shapeOperand(call);
    TensorView stream = indices;
    stream.type = {byBits[streamBits(call)], shape};
    outputs[0].values = std::make_shared<PaletteValues>(
        PaletteValues::Parts{.indices = stream,
                             .shape = shape,
                             .blocks = {shape, Extents::filled(shape.size(), 1)},
                             .entries = numbersOf(call, "lut"),
                             .size = call.type("lut").elements(),
                             .vector = 1,
                             .vectorAxis = 0,
                             .mask = nullptr});
}

// constexpr_cast, and the expansion of any of these to a dense tensor.

void inferConstantCast(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& source = call.type("source_val").type;
    const auto type = elementTypeNamed(call.text("output_dtype", "fp32"));
    call.require(isComputed(source.element) && type && isComputed(*type) &&
                     bitsOf(*type) >= bitsOf(source.element),
                 "only widens floating numbers");
    outputs.push_back({*type, source.shape});
}

void storeConstantCast(const Call& call, std::span<StoredOutput> outputs)
{
    outputs[0].values = valuesOf(call, "source_val");
    if (call.stored("source_val") == nullptr) {
        return;
    }
    outputs[0].values = {StoredValuesPointer(), call.stored("source_val")};
}

void inferExpand(const Call& call, std::vector<TensorType>& outputs)
{
    outputs.push_back(call.type("values").type);
}

void runExpand(const Call& call)
{
    const StoredValues& values = *call.stored("values");
    const TensorBuffer& out = call.output();
    constexpr std::int64_t grain = 64 * chunkLength;
    call.parallel(out.elements(), grain, [&](std::int64_t begin, std::int64_t end) {
        alignas(64) float numbers[chunkLength];
        for (std::int64_t i = begin; i < end; i += chunkLength) {
            const std::int64_t count = std::min(chunkLength, end - i);
            values.expand(i, count, numbers);
            if (isComputed(out.type.element)) {
                storeFloats(out, i, count, numbers);
                continue;
            }
            for (std::int64_t k = 0; k < count; ++k) {
                out.set(i + k, static_cast<double>(numbers[k]));
            }
        }
    });
}

} // namespace

std::vector<OperationKind> storedOperations()
{
    constexpr auto stored = OperationKind::Nature::storedConstant;
    return {{"constexpr_affine_dequantize", "quantized_data~ scale zero_point? axis?", inferAffine,
             nullptr, stored, storeAffine},
            {"constexpr_blockwise_shift_scale", "data~ scale~ offset~?", inferBlockwise, nullptr,
             stored, storeBlockwise},
            {"constexpr_lut_to_dense", "indices lut~ shape? vector_axis?", inferPalette, nullptr,
             stored, storePalette},
            {"constexpr_cast", "source_val~ output_dtype?", inferConstantCast, nullptr, stored,
             storeConstantCast},
            // No program text can name this one: the builder inserts it where an operation needs a
            // stored constant as a dense tensor.
            {"expand stored", "values~", inferExpand, runExpand}};
}

} // namespace vorlin::mil
