#include "MIL/Kernels/Indexing/Slice.h"

#include "MIL/Kernels/Movement/StridedCopy.h"
#include "MIL/Kernels/Operations.h"

#include <algorithm>
#include <cstring>

namespace vorlin::mil {

namespace {

/// The slice of one axis of extent n, by Python's rules.
SliceAxis sliceAxis(std::int64_t n, std::int64_t begin, std::int64_t end, std::int64_t stride,
                    bool fromStart, bool toEnd)
{
    const bool forward = stride > 0;
    const std::int64_t low = forward ? 0 : -1;
    const std::int64_t high = forward ? n : n - 1;
    const auto bound = [&](std::int64_t index) {
        return std::clamp(index < 0 ? index + n : index, low, high);
    };
    const std::int64_t b = fromStart ? (forward ? 0 : n - 1) : bound(begin);
    const std::int64_t e = toEnd ? (forward ? n : -1) : bound(end);
    const std::int64_t distance = forward ? e - b : b - e;
    const std::int64_t step = forward ? stride : -stride;
    return {b, stride, distance <= 0 ? 0 : (distance + step - 1) / step, false};
}

void requireSliceable(const Call& call, const TensorType& x)
{
    if (bitsOf(x.element) < 8) {
        call.fail("does not take " + describe(x));
    }
}

void inferSliceByIndex(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    requireSliceable(call, x);
    outputs.push_back({x.element, Slice(call, x.shape).shape()});
}

void runSliceByIndex(const Call& call)
{
    const TensorView& x = call.input("x");
    const Slice slice(call, x.shape());
    if (call.output().elements() == 0) {
        return;
    }
    const Extents dense = denseStrides(x.shape());
    const auto bytes = static_cast<std::int64_t>(bitsOf(x.type.element) / 8);
    const Extents extents = slice.extents();
    copyStrided(call, {.extents = extents,
                       .in = x.data + slice.offset(dense) * bytes,
                       .inStrides = slice.strides(dense),
                       .out = call.output().data,
                       .outStrides = denseStrides(extents),
                       .elementBytes = static_cast<std::size_t>(bytes)});
}

void inferSliceUpdate(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    requireSliceable(call, x);
    const TensorType& update = call.type("update").type;
    const Shape shape = Slice(call, x.shape).shape();
    if (update.element != x.element || update.shape != shape) {
        call.fail("has a slice of shape " + describe(shape) + " but an update of " +
                  describe(update));
    }
    outputs.push_back(x);
}

void runSliceUpdate(const Call& call)
{
    const TensorView& x = call.input("x");
    const TensorView& update = call.input("update");
    const Slice slice(call, x.shape());
    const TensorBuffer& out = call.output();
    std::memcpy(out.data, x.data, byteCount(x.type));
    if (update.elements() == 0) {
        return;
    }
    const Extents dense = denseStrides(x.shape());
    const auto bytes = static_cast<std::int64_t>(bitsOf(x.type.element) / 8);
    const Extents extents = slice.extents();
    copyStrided(call, {.extents = extents,
                       .in = update.data,
                       .inStrides = denseStrides(extents),
                       .out = out.data + slice.offset(dense) * bytes,
                       .outStrides = slice.strides(dense),
                       .elementBytes = static_cast<std::size_t>(bytes)});
}

/// Start and size of a `slice_by_size`; size -1 means to the end.
void sizedSlice(const Call& call, const Shape& x, Extents& begin, Extents& size)
{
    begin = call.integers("begin");
    size = call.integers("size");
    call.require(begin.size() == x.size() && size.size() == x.size(),
                 "needs one begin and one size for each axis");
    for (std::size_t i = 0; i < x.size(); ++i) {
        begin[i] += begin[i] < 0 ? x[i] : 0;
        size[i] = size[i] == -1 ? x[i] - begin[i] : size[i];
        call.require(begin[i] >= 0 && begin[i] <= x[i] && size[i] >= 0 &&
                         size[i] <= x[i] - begin[i],
                     "takes more than there is");
    }
}

void inferSliceBySize(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    requireSliceable(call, x);
    Extents begin;
    Extents size;
    sizedSlice(call, x.shape, begin, size);
    outputs.push_back({x.element, size});
}

void runSliceBySize(const Call& call)
{
    const TensorView& x = call.input("x");
    Extents begin;
    Extents size;
    sizedSlice(call, x.shape(), begin, size);
    const Extents dense = denseStrides(x.shape());
    std::int64_t offset = 0;
    for (std::size_t i = 0; i < x.rank(); ++i) {
        offset += begin[i] * dense[i];
    }
    const auto bytes = static_cast<std::int64_t>(bitsOf(x.type.element) / 8);
    copyStrided(call, {.extents = size,
                       .in = x.data + offset * bytes,
                       .inStrides = dense,
                       .out = call.output().data,
                       .outStrides = denseStrides(size),
                       .elementBytes = static_cast<std::size_t>(bytes)});
}

} // namespace

Slice::Slice(const Call& call, const Shape& x) : rank(x.size())
{
    const Extents none = Extents::filled(rank, 0);
    const Extents begin = call.integers("begin");
    const Extents end = call.integers("end");
    const Extents stride = call.integers("stride", Extents::filled(rank, 1));
    const Extents beginMask = call.integers("begin_mask", none);
    const Extents endMask = call.integers("end_mask", none);
    const Extents squeezeMask = call.integers("squeeze_mask", none);
    for (const Extents* list : {&begin, &end, &stride, &beginMask, &endMask, &squeezeMask}) {
        call.require(list->size() == rank, "needs one number for each axis");
    }
    for (std::size_t i = 0; i < rank; ++i) {
        if (squeezeMask[i] != 0) {
            std::int64_t index = beginMask[i] != 0 ? 0 : begin[i];
            index += index < 0 ? x[i] : 0;
            call.require(index >= 0 && index < x[i], "takes an index that is not there");
            axes[i] = {index, 1, 1, true};
            continue;
        }
        call.require(stride[i] != 0 && stride[i] > -(std::int64_t{1} << 40), "has a stride of 0");
        axes[i] = sliceAxis(x[i], begin[i], end[i], stride[i], beginMask[i] != 0, endMask[i] != 0);
    }
}

Shape Slice::shape() const
{
    Shape result;
    for (std::size_t i = 0; i < rank; ++i) {
        if (!axes[i].squeezed) {
            result.push(axes[i].length);
        }
    }
    return result;
}

Extents Slice::extents() const
{
    Extents result;
    for (std::size_t i = 0; i < rank; ++i) {
        result.push(axes[i].length);
    }
    return result;
}

std::int64_t Slice::offset(const Extents& dense) const
{
    std::int64_t result = 0;
    for (std::size_t i = 0; i < rank; ++i) {
        result += axes[i].start * dense[i];
    }
    return result;
}

Extents Slice::strides(const Extents& dense) const
{
    Extents result;
    for (std::size_t i = 0; i < rank; ++i) {
        result.push(axes[i].step * dense[i]);
    }
    return result;
}

std::vector<OperationKind> sliceOperations()
{
    std::vector<OperationKind> kinds{
        {"slice_by_index", "x begin end stride? begin_mask? end_mask? squeeze_mask?",
         inferSliceByIndex, runSliceByIndex},
        {"slice_update", "x update begin end stride? begin_mask? end_mask? squeeze_mask?",
         inferSliceUpdate, runSliceUpdate},
        {"slice_by_size", "x begin size", inferSliceBySize, runSliceBySize}};
    kinds.push_back(padOperation());
    return kinds;
}

} // namespace vorlin::mil
