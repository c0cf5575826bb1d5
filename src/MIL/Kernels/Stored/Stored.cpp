#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Stored/Forms.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vorlin::mil
{

namespace
{

/// An operand in whatever form it has, not owned where the graph owns it.
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
        numbers.resize(static_cast<std::size_t>(call.type(name).elements()));
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

/// The blocks that `parameters` (a scale, say) of the same rank cut a tensor into.
Blocks blocksOf(const Call& call, const Shape& shape, const Shape& parameters)
{
    call.require(parameters.size() == shape.size(), "needs scales of the rank of its data");
    for (std::size_t i = 0; i < shape.size(); ++i) {
        call.require(parameters[i] > 0 && shape[i] % parameters[i] == 0,
                     "has blocks that do not divide its data");
    }
    return {shape, parameters};
}

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

// constexpr_blockwise_shift_scale and its sparse twin: scale[block] (data - offset[block]).

/// `shape` is that of the dense tensor.
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

/// What a palette operand [*groups, entries, vector] says.
struct Palette {
    Extents groups;
    std::int64_t size = 0;
    std::int64_t vector = 1;
    std::size_t vectorAxis = 0;
    Shape shape; // of the result

    /// `indices` is the shape of the indices, or of their mask; `element` is their type.
    Palette(const Call& call, const Shape& indices, ElementType element)
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
};

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

/// Bits of an index into a palette of the older form, whose indices are a plain stream of bytes.
std::size_t streamBits(const Call& call)
{
    const std::int64_t entries = call.type("lut").elements();
    const bool known = entries == 2 || entries == 4 || entries == 16 || entries == 64 ||
                       entries == 256;
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
        outputs[0].values = std::make_shared<PaletteValues>(
            paletteParts(call, palette, indices.shape(), indices));
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

// Sparse forms.

std::shared_ptr<const Mask> maskOf(const Call& call, std::string_view name, std::int64_t count)
{
    return std::make_shared<Mask>(call.input(name).data, count);
}

void requireMask(const Call& call, std::string_view name)
{
    call.require(call.type(name).type.element == ElementType::uint1, "needs a mask of uint1");
}

/// Refuses a mask that has more or fewer bits set than there are values.
void requireOnes(const Call& call, const Mask& mask, std::string_view data)
{
    if (call.type(data).rank() != 1 || call.type(data).elements() != mask.ones()) {
        call.fail("has a mask with " + std::to_string(mask.ones()) + " elements set and data of " +
                  describe(call.type(data).type));
    }
}

Shape sparseShape(const Call& call)
{
    const TensorType& mask = call.type("mask").type;
    if (!call.has("shape")) {
        requireMask(call, "mask");
        return mask.shape;
    }
    const Shape shape = shapeOperand(call);
    call.require(mask.element == ElementType::uint8 && mask.shape.size() == 1 &&
                     mask.shape[0] == (elementCount(shape) + 7) / 8,
                 "has a mask that does not fit its shape");
    return shape;
}

void inferSparse(const Call& call, std::vector<TensorType>& outputs)
{
    outputs.push_back({call.type("nonzero_data").type.element, sparseShape(call)});
}

void storeSparse(const Call& call, std::span<StoredOutput> outputs)
{
    const auto mask = maskOf(call, "mask", elementCount(sparseShape(call)));
    requireOnes(call, *mask, "nonzero_data");
    outputs[0].values = std::make_shared<SparseValues>(valuesOf(call, "nonzero_data"), mask);
}

void inferPaletteSparse(const Call& call, std::vector<TensorType>& outputs)
{
    requireMask(call, "indices_mask");
    const TensorType& data = call.type("indices_nonzero_data").type;
    const Palette palette(call, call.type("indices_mask").shape(), data.element);
    call.require(data.shape.size() == 1, "needs a list of indices");
    outputs.push_back({ElementType::uint1, palette.shape});
    outputs.push_back({call.type("lut").type.element, {data.shape[0] * palette.vector}});
}

/// The mask with every bit repeated along the vector axis.
std::vector<std::byte> repeatedMask(const TensorView& mask, const Palette& palette)
{
    const std::int64_t inner =
        product(mask.shape(), palette.vectorAxis + 1, mask.rank());
    const std::int64_t count = elementCount(palette.shape);
    std::vector<std::byte> bytes(static_cast<std::size_t>(count) / 8 + 1);
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t place = i / inner / palette.vector * inner + i % inner;
        if (mask.integer(place) != 0) {
            storePackedBits(bytes.data(), 1, static_cast<std::uint64_t>(i), 1);
        }
    }
    return bytes;
}

void storePaletteSparse(const Call& call, std::span<StoredOutput> outputs)
{
    const TensorView& maskTensor = call.input("indices_mask");
    const TensorView& data = call.input("indices_nonzero_data");
    const Palette palette(call, maskTensor.shape(), data.type.element);
    const auto mask = maskOf(call, "indices_mask", maskTensor.elements());
    requireOnes(call, *mask, "indices_nonzero_data");
    auto parts = paletteParts(call, palette, maskTensor.shape(), data);
    parts.mask = mask;
    auto values = std::make_shared<PaletteValues>(std::move(parts));
    auto places = mask;
    if (palette.vector == 1) {
        outputs[0].operand = maskTensor.data;
    } else {
        outputs[0].bytes = repeatedMask(maskTensor, palette);
        places = std::make_shared<Mask>(outputs[0].bytes.data(), elementCount(palette.shape));
    }
    outputs[1].values = std::make_shared<PlacedValues>(std::move(values), places);
}

void inferScaledSparse(const Call& call, std::vector<TensorType>& outputs)
{
    requireMask(call, "data_mask");
    const Shape& shape = call.type("data_mask").shape();
    requireScales(call, shape);
    call.require(call.type("nonzero_data").rank() == 1, "needs a list of values");
    outputs.push_back({ElementType::uint1, shape});
    outputs.push_back(
        {call.type("scale").type.element, call.type("nonzero_data").shape()});
}

void storeScaledSparse(const Call& call, std::span<StoredOutput> outputs)
{
    const TensorView& maskTensor = call.input("data_mask");
    const auto mask = maskOf(call, "data_mask", maskTensor.elements());
    requireOnes(call, *mask, "nonzero_data");
    outputs[0].operand = maskTensor.data;
    outputs[1].values = std::make_shared<PlacedValues>(
        std::make_shared<ScaledValues>(scaledParts(call, "nonzero_data", maskTensor.shape())),
        mask);
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
    return {
        {"constexpr_affine_dequantize", "quantized_data~ scale zero_point? axis?", inferAffine,
         nullptr, stored, storeAffine},
        {"constexpr_blockwise_shift_scale", "data~ scale~ offset~?", inferBlockwise, nullptr,
         stored, storeBlockwise},
        {"constexpr_lut_to_dense", "indices lut~ shape? vector_axis?", inferPalette, nullptr,
         stored, storePalette},
        {"constexpr_sparse_to_dense", "nonzero_data~ mask shape?", inferSparse, nullptr, stored,
         storeSparse},
        {"constexpr_lut_to_sparse", "indices_mask indices_nonzero_data lut~ vector_axis?",
         inferPaletteSparse, nullptr, stored, storePaletteSparse},
        {"constexpr_sparse_blockwise_shift_scale", "data_mask nonzero_data~ scale~ offset~?",
         inferScaledSparse, nullptr, stored, storeScaledSparse},
        {"constexpr_cast", "source_val~ output_dtype?", inferConstantCast, nullptr, stored,
         storeConstantCast},
        // No program text can name this one: the builder inserts it where an operation needs a
        // stored constant as a dense tensor.
        {"expand stored", "values~", inferExpand, runExpand}};
}

} // namespace vorlin::mil
