#include "MIL/Kernels/Operations.h"
#include "MIL/Kernels/Stored/StoredOperands.h"

#include <memory>
#include <utility>

namespace vorlin::mil {

namespace {

std::shared_ptr<const Mask> maskOf(const Call& call, std::string_view name, std::int64_t count)
{
    call.spend(static_cast<std::size_t>(count) / 64 + 64);
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

/// The operand `nonzero_data`, to be read with the places that the mask gives it.
StoredValuesPointer nonzeroValues(const Call& call, const Mask& mask)
{
    StoredValuesPointer values = valuesOf(call, "nonzero_data");
    const auto* placed = dynamic_cast<const PlacedValues*>(values.get());
    if (placed != nullptr && placed->liesAt(mask)) {
        return values;
    }
    return std::make_shared<ListedValues>(std::move(values));
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
    outputs[0].values = std::make_shared<SparseValues>(nonzeroValues(call, *mask), mask);
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
std::vector<std::byte> repeatedMask(const Call& call, const TensorView& mask,
                                    const Palette& palette)
{
    const std::int64_t inner = product(mask.shape(), palette.vectorAxis + 1, mask.rank());
    const std::int64_t count = elementCount(palette.shape);
    call.spend(static_cast<std::size_t>(count) / 8 + static_cast<std::size_t>(count) / 64 + 64);
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
        outputs[0].bytes = repeatedMask(call, maskTensor, palette);
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
    outputs.push_back({call.type("scale").type.element, call.type("nonzero_data").shape()});
}

void storeScaledSparse(const Call& call, std::span<StoredOutput> outputs)
{
    const TensorView& maskTensor = call.input("data_mask");
    const auto mask = maskOf(call, "data_mask", maskTensor.elements());
    requireOnes(call, *mask, "nonzero_data");
    outputs[0].operand = maskTensor.data;
    auto parts = scaledParts(call, "nonzero_data", maskTensor.shape());
    parts.data = nonzeroValues(call, *mask);
    outputs[1].values =
        std::make_shared<PlacedValues>(std::make_shared<ScaledValues>(std::move(parts)), mask);
}

} // namespace

std::vector<OperationKind> sparseOperations()
{
    constexpr auto stored = OperationKind::Nature::storedConstant;
    return {{"constexpr_sparse_to_dense", "nonzero_data~ mask shape?", inferSparse, nullptr, stored,
             storeSparse},
            {"constexpr_lut_to_sparse", "indices_mask indices_nonzero_data lut~ vector_axis?",
             inferPaletteSparse, nullptr, stored, storePaletteSparse},
            {"constexpr_sparse_blockwise_shift_scale", "data_mask nonzero_data~ scale~ offset~?",
             inferScaledSparse, nullptr, stored, storeScaledSparse}};
}

} // namespace vorlin::mil
