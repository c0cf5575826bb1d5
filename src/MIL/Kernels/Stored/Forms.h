#pragma once

#include "MIL/Kernels/Stored/Blocks.h"
#include "MIL/Kernels/Stored/Mask.h"
#include "MIL/Kernels/Stored/Unpack.h"
#include "MIL/Tensor.h"
#include "MIL/Weights/StoredValues.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace vorlin::mil {

/// A dense tensor of any element type, as it lies.
class DenseValues final : public StoredValues {
public:
    explicit DenseValues(const TensorView& tensor) : tensor(tensor) {}
    void expand(std::int64_t first, std::int64_t count, float* out) const override;
    std::span<const std::byte> lying(std::int64_t first, std::int64_t count) const override
    {
        return bytesOf(tensor, first, count);
    }
    std::optional<ScaledBytes> scaledBytes(std::int64_t first, std::int64_t count) const override;

private:
    const TensorView tensor;
};

/// scale[block] (data - offset[block]), rounded to `result`. Affine quantisation is the same with
/// blocks along one axis.
class ScaledValues final : public StoredValues {
public:
    struct Parts {
        StoredValuesPointer data;
        Blocks scaleBlocks;
        std::vector<float> scales;
        Blocks offsetBlocks;
        std::vector<float> offsets; // may be empty
        ElementType result = ElementType::fp32;
    };
    explicit ScaledValues(Parts given);
    void expand(std::int64_t first, std::int64_t count, float* out) const override;
    void expandAt(std::int64_t first, std::span<const std::int64_t> positions,
                  float* out) const override;
    std::span<const std::byte> lying(std::int64_t first, std::int64_t count) const override
    {
        return parts.data->lying(first, count);
    }
    std::optional<ScaledBytes> scaledBytes(std::int64_t first, std::int64_t count) const override;

private:
    void expandFine(std::int64_t first, std::int64_t count, float* out) const;

    Parts parts;
    /// The last axis where scales, and offsets if there are any, belong to single elements.
    std::int64_t period = 0;
};

/// Palettes: element i is entry indices[i] of its block's palette.
class PaletteValues final : public StoredValues {
public:
    struct Parts {
        TensorView indices; // of `shape`, or the stored ones of a sparse tensor of that shape
        Shape shape;
        Blocks blocks;              // which palette, by place in `shape`
        std::vector<float> entries; // [palettes, size, vector]
        std::int64_t size = 0;
        /// One index stands for this many neighbours along `vectorAxis`, which is that much
        /// longer in the result.
        std::int64_t vector = 1;
        std::size_t vectorAxis = 0;
        std::shared_ptr<const Mask> mask; // of a sparse tensor
    };
    explicit PaletteValues(Parts parts);
    void expand(std::int64_t first, std::int64_t count, float* out) const override;
    void expandAt(std::int64_t first, std::span<const std::int64_t> positions,
                  float* out) const override;
    std::span<const std::byte> lying(std::int64_t first, std::int64_t count) const override;
    /// Rounds the palette instead of the elements.
    bool round(std::int64_t first, std::int64_t count, float inverse,
               std::int8_t* out) const override;

private:
    float entry(std::int64_t palette, std::uint32_t index, std::int64_t lane) const
    {
        return parts.entries[static_cast<std::size_t>(
            (palette * parts.size + static_cast<std::int64_t>(index)) * parts.vector + lane)];
    }
    /// Place and lane in `shape` of a place in the longer result.
    std::int64_t shorten(std::int64_t place, std::int64_t& lane) const;

    const Parts parts;
    std::vector<PaletteTable> tables; // of the palettes, where `vector` is 1
    std::size_t bits = 8;
    std::int64_t inner = 1; // elements behind the vector axis
};

/// Zeros with the set elements of the mask filled in.
class SparseValues final : public StoredValues {
public:
    SparseValues(StoredValuesPointer values, std::shared_ptr<const Mask> mask)
        : values(std::move(values)), mask(std::move(mask))
    {
    }
    void expand(std::int64_t first, std::int64_t count, float* out) const override;

private:
    const StoredValuesPointer values;
    const std::shared_ptr<const Mask> mask;
};

/// Values of a sparse tensor that were asked for without their places: finds the places.
class PlacedValues final : public StoredValues {
public:
    PlacedValues(StoredValuesPointer values, std::shared_ptr<const Mask> mask)
        : values(std::move(values)), mask(std::move(mask))
    {
    }
    void expand(std::int64_t first, std::int64_t count, float* out) const override;
    void expandAt(std::int64_t first, std::span<const std::int64_t> positions,
                  float* out) const override
    {
        values->expandAt(first, positions, out);
    }
    /// Whether the places of that mask are the places of these values.
    bool liesAt(const Mask& other) const { return mask->sameBits(other); }

private:
    const StoredValuesPointer values;
    const std::shared_ptr<const Mask> mask;
};

/// Values of a list that became those of a sparse tensor: a block of the list says nothing of
/// places in the tensor.
class ListedValues final : public StoredValues {
public:
    explicit ListedValues(StoredValuesPointer values) : values(std::move(values)) {}
    void expand(std::int64_t first, std::int64_t count, float* out) const override
    {
        values->expand(first, count, out);
    }

private:
    const StoredValuesPointer values;
};

} // namespace vorlin::mil
