#pragma once

#include "MIL/Graph/Call.h"
#include "MIL/Kernels/Stored/Forms.h"

#include <string_view>
#include <vector>

namespace vorlin::mil {

// What operations on stored constants read from their operands.

/// An operand in whatever form it has, not owned where the graph owns it.
StoredValuesPointer valuesOf(const Call& call, std::string_view name);

/// All of an operand's numbers; none when it is absent.
std::vector<float> numbersOf(const Call& call, std::string_view name);

/// The operand `shape`.
Shape shapeOperand(const Call& call);

/// The blocks that `parameters` (a scale, say) of the same rank cut a tensor into.
Blocks blocksOf(const Call& call, const Shape& shape, const Shape& parameters);

/// Refuses a scale and offset that do not fit data of the given shape.
void requireScales(const Call& call, const Shape& shape);

/// The operand `data` with its scale and offset; `shape` is that of the dense tensor.
ScaledValues::Parts scaledParts(const Call& call, std::string_view data, const Shape& shape);

/// What a palette operand [*groups, entries, vector] says.
struct Palette {
    Extents groups;
    std::int64_t size = 0;
    std::int64_t vector = 1;
    std::size_t vectorAxis = 0;
    Shape shape; // of the result

    /// `indices` is the shape of the indices, or of their mask; `element` is their type.
    Palette(const Call& call, const Shape& indices, ElementType element);
};

/// A palette's parts for indices that are stored as `stored`, without a mask.
PaletteValues::Parts paletteParts(const Call& call, const Palette& palette, const Shape& indices,
                                  const TensorView& stored);

} // namespace vorlin::mil
