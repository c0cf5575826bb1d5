#include "MIL/Kernels/Movement/StridedCopy.h"
#include "MIL/Kernels/Operations.h"

#include <algorithm>
#include <array>

namespace vorlin::mil {

namespace {

void requireWholeBytes(const Call& call, const TensorType& type)
{
    if (bitsOf(type.element) < 8) {
        call.fail("does not take " + describe(type));
    }
}

std::size_t bytesOf(const TensorType& type)
{
    return bitsOf(type.element) / 8;
}

/// Copies `in` to `out`, reading with the given strides.
void gatherStrided(const Call& call, const std::byte* in, const Extents& inStrides,
                   const Extents& extents)
{
    const TensorBuffer& out = call.output();
    copyStrided(call, {.extents = extents,
                       .in = in,
                       .inStrides = inStrides,
                       .out = out.data,
                       .outStrides = denseStrides(extents),
                       .elementBytes = bytesOf(out.type)});
}

void inferTranspose(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    requireWholeBytes(call, x);
    const std::size_t rank = x.shape.size();
    call.require(call.integers("perm").size() == rank, "needs one axis for each of x");
    call.axes("perm", rank); // none twice
    Shape shape;
    for (std::int64_t axis : call.integers("perm")) {
        shape.push(x.shape[wrapAxis(axis, rank)]);
    }
    outputs.push_back({x.element, shape});
}

void runTranspose(const Call& call)
{
    const TensorView& x = call.input("x");
    const Extents dense = denseStrides(x.shape());
    Extents strides;
    for (std::int64_t axis : call.integers("perm")) {
        strides.push(dense[wrapAxis(axis, x.rank())]);
    }
    gatherStrided(call, x.data, strides, call.output().shape());
}

void inferReverse(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    requireWholeBytes(call, x);
    call.axes("axes", x.shape.size());
    outputs.push_back(x);
}

void runReverse(const Call& call)
{
    const TensorView& x = call.input("x");
    if (x.elements() == 0) {
        return;
    }
    Extents strides = denseStrides(x.shape());
    std::int64_t start = 0;
    for (std::int64_t axis : call.axes("axes", x.rank())) {
        const auto i = static_cast<std::size_t>(axis);
        start += (x.extent(i) - 1) * strides[i];
        strides[i] = -strides[i];
    }
    gatherStrided(call, x.data + start * static_cast<std::int64_t>(bytesOf(x.type)), strides,
                  x.shape());
}

void inferTile(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    requireWholeBytes(call, x);
    const Extents repeats = call.integers("reps");
    call.require(repeats.size() == x.shape.size(), "needs one repeat for each axis");
    Shape shape;
    for (std::size_t i = 0; i < repeats.size(); ++i) {
        // None at all comes from counts that a prediction finds, of elements that are not zero.
        call.require(repeats[i] >= 0 && repeats[i] < (std::int64_t{1} << 31),
                     "needs repeats of zero or more");
        const Shape grown{x.shape[i], repeats[i]};
        shape.push(elementCount(grown));
    }
    outputs.push_back({x.element, shape});
}

/// Each axis becomes two: the repeats, over which reading stands still, and the axis itself.
void runTile(const Call& call)
{
    const TensorView& x = call.input("x");
    const Extents repeats = call.integers("reps");
    const Extents dense = denseStrides(x.shape());
    Extents extents;
    Extents strides;
    for (std::size_t i = 0; i < repeats.size(); ++i) {
        extents.push(repeats[i]);
        strides.push(0);
        extents.push(x.extent(i));
        strides.push(dense[i]);
    }
    gatherStrided(call, x.data, strides, extents);
}

void inferConcat(const Call& call, std::vector<TensorType>& outputs)
{
    const std::size_t count = call.count("values");
    TensorType result = call.type("values").type;
    requireWholeBytes(call, result);
    if (result.shape.empty()) { // scalars become a vector
        result.shape = {1};
    }
    const Shape first = result.shape;
    const std::size_t axis = call.axis("axis", 0, first.size());
    const bool interleave = call.flag("interleave", false);
    for (std::size_t i = 1; i < count; ++i) {
        TensorType next = call.type("values", i).type;
        if (next.shape.empty()) {
            next.shape = {1};
        }
        bool fits = next.element == result.element && next.shape.size() == result.shape.size();
        for (std::size_t k = 0; fits && k < next.shape.size(); ++k) {
            fits = (k == axis && !interleave) || next.shape[k] == first[k];
        }
        if (!fits) {
            call.fail("cannot join " + describe(call.type("values").type) + " and " +
                      describe(next));
        }
        result.shape[axis] += next.shape[axis];
    }
    outputs.push_back(result);
}

void runConcat(const Call& call)
{
    const TensorBuffer& out = call.output();
    const std::size_t axis = call.axis("axis", 0, out.rank());
    const bool interleave = call.flag("interleave", false);
    const auto count = static_cast<std::int64_t>(call.count("values"));
    const Extents dense = denseStrides(out.shape());
    std::int64_t start = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        const TensorView& value = call.input("values", static_cast<std::size_t>(i));
        const Shape extents = value.rank() == 0 ? Shape{1} : value.shape();
        StridedCopy copy{.extents = extents,
                         .in = value.data,
                         .inStrides = denseStrides(extents),
                         .out = nullptr,
                         .outStrides = dense,
                         .elementBytes = bytesOf(out.type)};
        if (interleave) {
            copy.outStrides[axis] *= count;
        }
        const std::int64_t offset = (interleave ? i : start) * dense[axis];
        copy.out = out.data + offset * static_cast<std::int64_t>(copy.elementBytes);
        copyStrided(call, copy);
        start += extents[axis];
    }
}

void inferStack(const Call& call, std::vector<TensorType>& outputs)
{
    TensorType result = call.type("values").type;
    requireWholeBytes(call, result);
    const std::size_t count = call.count("values");
    for (std::size_t i = 1; i < count; ++i) {
        call.require(call.type("values", i).type == result, "needs operands of one type");
    }
    call.require(result.shape.size() < Extents::maximumRank, "makes too many axes");
    const std::size_t axis = call.axis("axis", 0, result.shape.size() + 1);
    result.shape.insert(axis, static_cast<std::int64_t>(count));
    outputs.push_back(result);
}

void runStack(const Call& call)
{
    const TensorBuffer& out = call.output();
    const std::size_t axis = call.axis("axis", 0, out.rank());
    Extents dense = denseStrides(out.shape());
    const auto step = dense[axis] * static_cast<std::int64_t>(bytesOf(out.type));
    dense.erase(axis);
    for (std::size_t i = 0; i < call.count("values"); ++i) {
        const TensorView& value = call.input("values", i);
        copyStrided(call, {.extents = value.shape(),
                           .in = value.data,
                           .inStrides = denseStrides(value.shape()),
                           .out = out.data + static_cast<std::int64_t>(i) * step,
                           .outStrides = dense,
                           .elementBytes = bytesOf(out.type)});
    }
}

void inferSplit(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    requireWholeBytes(call, x);
    const std::size_t axis = call.axis("axis", 0, x.shape.size());
    TensorType part = x;
    std::int64_t sum = 0;
    if (call.has("split_sizes")) {
        const TensorView& sizes = call.input("split_sizes");
        call.require(!isFloat(sizes.type.element) && sizes.rank() == 1, "needs a list of sizes");
        for (std::int64_t i = 0; i < sizes.elements(); ++i) {
            part.shape[axis] = sizes.integer(i);
            call.require(part.shape[axis] >= 0 && part.shape[axis] <= x.shape[axis] - sum,
                         "has sizes that do not add up to the axis");
            sum += part.shape[axis];
            outputs.push_back(part);
        }
        call.require(sum == x.shape[axis], "has sizes that do not add up to the axis");
        return;
    }
    const std::int64_t parts = call.integer("num_splits");
    constexpr std::int64_t mostParts = 1 << 14; // of which a text names every one
    call.require(parts > 0 && parts <= mostParts && x.shape[axis] % parts == 0,
                 "cannot cut the axis into equal parts");
    part.shape[axis] /= parts;
    outputs.assign(static_cast<std::size_t>(parts), part);
}

void runSplit(const Call& call)
{
    const TensorView& x = call.input("x");
    const std::size_t axis = call.axis("axis", 0, x.rank());
    const Extents dense = denseStrides(x.shape());
    std::int64_t start = 0;
    for (std::size_t i = 0; i < call.outputs(); ++i) {
        const TensorBuffer& part = call.output(i);
        const auto bytes = static_cast<std::int64_t>(bytesOf(x.type));
        copyStrided(call, {.extents = part.shape(),
                           .in = x.data + start * dense[axis] * bytes,
                           .inStrides = dense,
                           .out = part.data,
                           .outStrides = denseStrides(part.shape()),
                           .elementBytes = bytesOf(x.type)});
        start += part.extent(axis);
    }
}

void inferPixelShuffle(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    requireWholeBytes(call, x);
    const std::int64_t r = call.integer("upscale_factor");
    call.require(x.shape.size() == 4 && r > 0 && r < 65536 && x.shape[1] % (r * r) == 0,
                 "needs rank 4 and channels that the factor's square divides");
    outputs.push_back(
        {x.element, {x.shape[0], x.shape[1] / (r * r), x.shape[2] * r, x.shape[3] * r}});
}

void runPixelShuffle(const Call& call)
{
    const TensorView& x = call.input("x");
    const std::int64_t r = call.integer("upscale_factor");
    const Shape& s = x.shape();
    const std::int64_t plane = s[2] * s[3];
    gatherStrided(call, x.data, {s[1] * plane, r * r * plane, s[3], r * plane, 1, plane},
                  {s[0], s[1] / (r * r), s[2], r, s[3], r});
}

void inferSlidingWindows(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    requireWholeBytes(call, x);
    const std::size_t axis = call.axis("axis", 0, x.shape.size());
    const std::int64_t size = call.integer("size");
    const std::int64_t stride = call.integer("stride", 1);
    call.require(size > 0 && size <= x.shape[axis] && stride > 0 &&
                     x.shape.size() < Extents::maximumRank,
                 "has windows that do not fit");
    Shape shape = x.shape;
    shape[axis] = (x.shape[axis] - size) / stride + 1;
    shape.insert(axis + 1, size);
    outputs.push_back({x.element, shape});
}

void runSlidingWindows(const Call& call)
{
    const TensorView& x = call.input("x");
    const std::size_t axis = call.axis("axis", 0, x.rank());
    Extents strides = denseStrides(x.shape());
    strides.insert(axis + 1, strides[axis]);
    strides[axis] *= call.integer("stride", 1);
    gatherStrided(call, x.data, strides, call.output().shape());
}

} // namespace

std::vector<OperationKind> movementOperations()
{
    return {upsampleOperation(),
            {"transpose", "x perm", inferTranspose, runTranspose},
            {"reverse", "x axes?", inferReverse, runReverse},
            {"tile", "x reps", inferTile, runTile},
            {"concat", "values* axis interleave?", inferConcat, runConcat},
            {"stack", "values* axis", inferStack, runStack},
            {"split", "x axis num_splits? split_sizes?", inferSplit, runSplit},
            {"pixel_shuffle", "x upscale_factor", inferPixelShuffle, runPixelShuffle},
            {"sliding_windows", "x axis size stride?", inferSlidingWindows, runSlidingWindows}};
}

} // namespace vorlin::mil
