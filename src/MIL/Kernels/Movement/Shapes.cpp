#include "MIL/Kernels/Operations.h"

#include <algorithm>

namespace vorlin::mil {

namespace {

void fit(const Call& call, Shape shape, std::vector<TensorType>& outputs)
{
    const TensorView& x = call.type("x");
    const bool negative =
        std::any_of(shape.begin(), shape.end(), [](std::int64_t e) { return e < 0; });
    if (negative || elementCount(shape) != x.elements()) {
        call.fail("cannot give " + describe(x.type) + " the shape " + describe(shape));
    }
    outputs.push_back({x.type.element, shape});
}

/// Zeros stand for extents of x: at the same place before iOS 17, from then on matched from the
/// right and 1 beyond the left end.
void replaceZeros(const Call& call, Shape& shape, const Shape& x)
{
    for (std::size_t i = 0; i < shape.size(); ++i) {
        if (shape[i] != 0) {
            continue;
        }
        if (call.opset() <= 16) {
            call.require(shape.size() == x.size(), "copies extents only between equal ranks");
            shape[i] = x[i];
        } else {
            const std::size_t fromRight = shape.size() - i;
            shape[i] = fromRight <= x.size() ? x[x.size() - fromRight] : 1;
        }
    }
}

void inferReshape(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorView& x = call.type("x");
    Shape shape = call.integers("shape");
    call.require(shape.size() <= Extents::maximumRank, "makes too many axes");
    replaceZeros(call, shape, x.shape());
    const auto open = std::find(shape.begin(), shape.end(), -1);
    if (open != shape.end()) {
        *open = 1;
        const bool again = std::find(shape.begin(), shape.end(), -1) != shape.end();
        call.require(!again, "has more than one -1");
        const bool negative =
            std::any_of(shape.begin(), shape.end(), [](std::int64_t e) { return e < 0; });
        call.require(!negative, "has a negative extent");
        const std::int64_t rest = elementCount(shape);
        call.require(rest != 0 && x.elements() % rest == 0, "has no extent that fits -1");
        *open = x.elements() / rest;
    }
    fit(call, shape, outputs);
}

void inferExpand(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const std::size_t added = call.integers("axes").size();
    const std::size_t rank = x.shape.size() + added;
    call.require(rank <= Extents::maximumRank, "makes too many axes");
    Shape shape = x.shape;
    for (std::int64_t axis : call.axes("axes", rank)) {
        shape.insert(static_cast<std::size_t>(axis), 1);
    }
    outputs.push_back({x.element, shape});
}

/// The axes `axes` go where `extents` has a 1.
Shape withoutOnes(const Shape& x, const Extents& axes, const Shape& extents)
{
    Shape shape;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const bool named =
            std::find(axes.begin(), axes.end(), static_cast<std::int64_t>(i)) != axes.end();
        if (!named || extents[i] != 1) {
            shape.push(x[i]);
        }
    }
    return shape;
}

/// The exporter keeps an axis whose extent it does not know, also where a prediction makes it 1:
/// the declared rank tells.
void inferSqueeze(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const Extents axes = call.axes("axes", x.shape.size());
    const Shape shape = withoutOnes(x.shape, axes, x.shape);
    const Shape& declared = call.declaredShape("x");
    const bool keepsOpen = call.outputs() == 1 && declared.size() == x.shape.size() &&
                           call.output().rank() > shape.size();
    outputs.push_back({x.element, keepsOpen ? withoutOnes(x.shape, axes, declared) : shape});
}

void inferFlatten(const Call& call, std::vector<TensorType>& outputs)
{
    const TensorType& x = call.type("x").type;
    const std::int64_t given = call.integer("axis", 1);
    const auto rank = static_cast<std::int64_t>(x.shape.size());
    call.require(given >= -rank && given <= rank, "has no such axis");
    const auto axis = static_cast<std::size_t>(given < 0 ? given + rank : given);
    outputs.push_back(
        {x.element, {product(x.shape, 0, axis), product(x.shape, axis, x.shape.size())}});
}

/// The shape is made of slices of the shapes of other tensors, one after the other.
void inferReshapeLike(const Call& call, std::vector<TensorType>& outputs)
{
    const std::size_t count = call.count("ref_tensors");
    call.require(call.count("begins") == count && call.count("ends") == count &&
                     call.count("end_masks") == count,
                 "needs a begin, an end and a mask for each reference");
    Shape shape;
    for (std::size_t i = 0; i < count; ++i) {
        const Shape& reference = call.type("ref_tensors", i).shape();
        const auto rank = static_cast<std::int64_t>(reference.size());
        const auto one = [&](std::string_view name) {
            const Extents values = call.integers(name, i);
            call.require(values.size() == 1, "takes one number for each reference");
            return values[0];
        };
        const auto wrap = [&](std::int64_t v) {
            return std::clamp<std::int64_t>(v < 0 ? v + rank : v, 0, rank);
        };
        const std::int64_t begin = wrap(one("begins"));
        const std::int64_t end = one("end_masks") != 0 ? rank : wrap(one("ends"));
        for (std::int64_t k = begin; k < end; ++k) {
            call.require(shape.size() < Extents::maximumRank, "makes too many axes");
            shape.push(reference[static_cast<std::size_t>(k)]);
        }
    }
    fit(call, shape, outputs);
}

} // namespace

std::vector<OperationKind> shapeOperations()
{
    constexpr auto alias = OperationKind::Nature::alias;
    return {{"reshape", "x shape", inferReshape, nullptr, alias},
            {"expand_dims", "x axes", inferExpand, nullptr, alias},
            {"squeeze", "x axes?", inferSqueeze, nullptr, alias},
            {"flatten2d", "x axis?", inferFlatten, nullptr, alias},
            {"reshape_like", "x ref_tensors* begins* ends* end_masks*", inferReshapeLike, nullptr,
             alias}};
}

} // namespace vorlin::mil
