#include "MIL/Kernels/Elementwise/Elements.h"
#include "MIL/Kernels/Indexing/Indices.h"
#include "MIL/Kernels/Movement/StridedCopy.h"
#include "MIL/Kernels/Operations.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vorlin::mil {

namespace {

std::size_t batchOf(const Call& call, const Shape& x, const Shape& indices)
{
    const std::int64_t batch = call.integer("batch_dims", 0);
    call.require(batch >= 0 &&
                     batch <= static_cast<std::int64_t>(std::min(x.size(), indices.size())),
                 "has more batch axes than its operands");
    for (std::size_t i = 0; i < static_cast<std::size_t>(batch); ++i) {
        call.require(x[i] == indices[i], "has operands with different batches");
    }
    return static_cast<std::size_t>(batch);
}

void requireElements(const Call& call, const TensorType& x)
{
    if (bitsOf(x.element) < 8) {
        call.fail("does not take " + describe(x));
    }
}

/// Copies `count` elements from flat place `from` of x to `to` of the output.
class Copier {
public:
    explicit Copier(const Call& call)
        : stored(call.stored("x")), x(call.type("x")), out(call.output()),
          bytes(static_cast<std::int64_t>(bitsOf(x.type.element) / 8))
    {
        if (stored == nullptr) {
            call.input("x"); // must be there
        }
    }

    void copy(std::int64_t from, std::int64_t to, std::int64_t count) const
    {
        if (stored == nullptr) {
            std::memcpy(out.data + to * bytes, x.data + from * bytes,
                        static_cast<std::size_t>(count * bytes));
            return;
        }
        std::array<float, chunkLength> values;
        for (std::int64_t i = 0; i < count; i += chunkLength) {
            const std::int64_t piece = std::min(chunkLength, count - i);
            stored->expand(from + i, piece, values.data());
            storeFloats(out, to + i, piece, values.data());
        }
    }

private:
    const StoredValues* stored;
    const TensorView& x;
    const TensorBuffer& out;
    std::int64_t bytes;
};

void inferGather(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const Shape& indices = call.type("indices").shape();
    requireElements(call, x);
    requireIndices(call);
    const std::size_t batch = batchOf(call, x.shape, indices);
    const std::size_t axis = call.axis("axis", 0, x.shape.size());
    call.require(axis >= batch, "gathers along a batch axis");
    Shape shape;
    for (std::size_t i = 0; i < axis; ++i) {
        shape.push(x.shape[i]);
    }
    for (std::size_t i = batch; i < indices.size(); ++i) {
        shape.push(indices[i]);
    }
    for (std::size_t i = axis + 1; i < x.shape.size(); ++i) {
        shape.push(x.shape[i]);
    }
    call.require(shape.size() <= Extents::maximumRank, "makes too many axes");
    call.require(x.shape[axis] > 0 || elementCount(indices) == 0, "has nothing to gather from");
    outputs.push_back({x.element, shape});
}

void runGather(const Call& call)
{
    const TensorView& x = call.type("x");
    const TensorView& indexTensor = call.input("indices");
    const Indices indices(call);
    const Copier copier(call);
    const std::size_t batch = batchOf(call, x.shape(), indexTensor.shape());
    const std::size_t axis = call.axis("axis", 0, x.rank());
    const std::int64_t outer = product(x.shape(), batch, axis);
    const std::int64_t inner = product(x.shape(), axis + 1, x.rank());
    const std::int64_t picks = product(indexTensor.shape(), batch, indexTensor.rank());
    const std::int64_t rows = inner == 0 || picks == 0 ? 0 : call.output().elements() / inner;
    call.parallel(rows, std::max<std::int64_t>(1, 16384 / std::max<std::int64_t>(inner, 1)),
                  [&](std::int64_t begin, std::int64_t end) {
                      for (std::int64_t row = begin; row < end; ++row) {
                          const std::int64_t block = row / picks; // batch and outer together
                          const std::int64_t place =
                              indices.at(block / outer * picks + row % picks, x.extent(axis));
                          copier.copy((block * x.extent(axis) + place) * inner, row * inner, inner);
                      }
                  });
}

void inferAlongAxis(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const Shape& indices = call.type("indices").shape();
    requireElements(call, x);
    requireIndices(call);
    const std::size_t axis = call.axis("axis", 0, x.shape.size());
    bool fits = indices.size() == x.shape.size();
    for (std::size_t i = 0; fits && i < indices.size(); ++i) {
        fits = i == axis || indices[i] == x.shape[i];
    }
    call.require(fits, "needs indices of the shape of x but for the axis");
    call.require(x.shape[axis] > 0 || elementCount(indices) == 0, "has nothing to gather from");
    outputs.push_back({x.element, indices});
}

void runAlongAxis(const Call& call)
{
    const TensorView& x = call.input("x");
    const Indices indices(call);
    const Copier copier(call);
    const std::size_t axis = call.axis("axis", 0, x.rank());
    const std::int64_t picks = call.output().extent(axis);
    const std::int64_t inner = product(x.shape(), axis + 1, x.rank());
    call.parallel(call.output().elements(), 8192, [&](std::int64_t begin, std::int64_t end) {
        for (std::int64_t i = begin; i < end; ++i) {
            const std::int64_t outer = i / inner / picks;
            const std::int64_t place = indices.at(i, x.extent(axis));
            copier.copy((outer * x.extent(axis) + place) * inner + i % inner, i, 1);
        }
    });
}

void inferGatherNd(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const Shape& indices = call.type("indices").shape();
    requireElements(call, x);
    requireIndices(call);
    const std::size_t batch = batchOf(call, x.shape, indices);
    call.require(!indices.empty() && batch < indices.size() &&
                     batch + static_cast<std::size_t>(indices.back()) <= x.shape.size(),
                 "has indices for more axes than x has");
    const auto depth = static_cast<std::size_t>(indices.back());
    Shape shape;
    for (std::size_t i = 0; i + 1 < indices.size(); ++i) {
        shape.push(indices[i]);
    }
    for (std::size_t i = batch + depth; i < x.shape.size(); ++i) {
        shape.push(x.shape[i]);
    }
    call.require(shape.size() <= Extents::maximumRank, "makes too many axes");
    call.require(elementCount(x.shape) > 0 || elementCount(shape) == 0,
                 "has nothing to gather from");
    outputs.push_back({x.element, shape});
}

void runGatherNd(const Call& call)
{
    const TensorView& x = call.input("x");
    const TensorView& indexTensor = call.input("indices");
    const Indices indices(call);
    const Copier copier(call);
    const std::size_t batch = batchOf(call, x.shape(), indexTensor.shape());
    const auto depth = static_cast<std::size_t>(indexTensor.shape().back());
    const std::int64_t inner = product(x.shape(), batch + depth, x.rank());
    const std::int64_t picks = product(indexTensor.shape(), batch, indexTensor.rank() - 1);
    const std::int64_t rows = inner == 0 ? 0 : call.output().elements() / inner;
    for (std::int64_t row = 0; row < rows; ++row) {
        call.checkStop();
        std::int64_t place = row / picks; // the batch
        for (std::size_t i = 0; i < depth; ++i) {
            const std::int64_t extent = x.extent(batch + i);
            place = place * extent + indices.at(row * static_cast<std::int64_t>(depth) +
                                                    static_cast<std::int64_t>(i),
                                                extent);
        }
        copier.copy(place * inner, row * inner, inner);
    }
}

} // namespace

Indices::Indices(const Call& call, std::string_view parameter)
    : call(call), indices(call.input(parameter)), wraps(call.opset() <= 16),
      validates(call.flag("validate_indices", false))
{
}

std::int64_t Indices::wrapped(std::int64_t position, std::int64_t extent) const
{
    const std::int64_t index = indices.integer(position);
    return wraps && index < 0 ? index + extent : index;
}

std::int64_t Indices::at(std::int64_t position, std::int64_t extent) const
{
    const std::int64_t index = wrapped(position, extent);
    if (validates && (index < 0 || index >= extent)) {
        call.fail("gets the index " + std::to_string(index) + " for an axis of " +
                  std::to_string(extent));
    }
    return std::clamp<std::int64_t>(index, 0, extent - 1);
}

bool Indices::valid(std::int64_t position, std::int64_t extent) const
{
    const std::int64_t index = wrapped(position, extent);
    const bool inside = index >= 0 && index < extent;
    if (validates && !inside) {
        call.fail("gets the index " + std::to_string(index) + " for an axis of " +
                  std::to_string(extent));
    }
    return inside;
}

void requireIndices(const Call& call, std::string_view parameter)
{
    const TensorType& type = call.type(parameter).type;
    if (!isWhole(type.element) || type.element == ElementType::boolean) {
        call.fail("cannot take " + describe(type) + " as indices");
    }
}

std::vector<OperationKind> gatherOperations()
{
    return {
        {"gather", "x~ indices axis? batch_dims? validate_indices?", inferGather, runGather},
        {"gather_along_axis", "x indices axis? validate_indices?", inferAlongAxis, runAlongAxis},
        {"gather_nd", "x indices batch_dims? validate_indices?", inferGatherNd, runGatherNd}};
}

} // namespace vorlin::mil
