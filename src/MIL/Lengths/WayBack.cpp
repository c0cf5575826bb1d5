// Where the extent of an operation's output comes from.
#include "MIL/Lengths/LengthRules.h"

#include <algorithm>

namespace vorlin::mil::way_back {

namespace {

ValueId output(const LengthSolver& solver, std::size_t node)
{
    return solver.original(node).outputs.front();
}

ValueId only(const LengthSolver& solver, std::size_t node, OperandPlace place)
{
    return solver.original(node).operands[place.parameter][place.position];
}

} // namespace

/// From every operand that does not stretch there.
void elementwise(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window)
{
    const Shape& result = solver.shape(output(solver, node));
    const auto& operands = solver.original(node).operands;
    for (std::size_t p = 0; p < operands.size(); ++p) {
        for (std::size_t i = 0; i < operands[p].size(); ++i) {
            const ValueId id = operands[p][i];
            const Shape& shape = solver.shape(id);
            const std::size_t missing = result.size() - std::min(result.size(), shape.size());
            if (solver.isTensor(id) && axis >= missing && shape[axis - missing] == result[axis]) {
                solver.demand(node, {p, i}, axis - missing, window);
            }
        }
    }
}

/// From the same axis of the first operand.
void same(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window)
{
    solver.demand(node, {0, 0}, axis, window);
}

/// From the first operand's axis of that extent which has as many elements in front of it.
void aligned(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window)
{
    const Shape& result = solver.shape(output(solver, node));
    const Shape& x = solver.shape(only(solver, node, {0, 0}));
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (x[i] == result[axis] && product(x, 0, i) == product(result, 0, axis)) {
            solver.demand(node, {0, 0}, i, window);
            return;
        }
    }
    solver.refuse(node, "an axis has no origin");
}

void transpose(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window)
{
    const auto perm = solver.integers(node, "perm");
    const std::size_t rank = solver.shape(output(solver, node)).size();
    if (!perm || perm->size() != rank) {
        solver.refuse(node, "its order is no constant");
    }
    solver.demand(node, {0, 0}, wrapAxis((*perm)[axis], rank), window);
}

/// From x where it is not repeated, from the number of repeats where there is one element.
void tile(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window)
{
    const auto repeats = solver.integers(node, "reps");
    const Shape& x = solver.shape(only(solver, node, {0, 0}));
    if (repeats && axis < repeats->size() && (*repeats)[axis] == 1) {
        solver.demand(node, {0, 0}, axis, window);
    } else if (x[axis] == 1) {
        solver.demandEntry(node, "reps", axis, window.extents);
    } else {
        solver.refuse(node, "it repeats what has to become shorter");
    }
}

void fill(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window)
{
    solver.demandEntry(node, "shape", axis, window.extents);
}

void concat(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window)
{
    const std::size_t rank = solver.shape(output(solver, node)).size();
    if (axis == wrapAxis(solver.integer(node, "axis", 0), rank)) {
        solver.refuse(node, "it joins what has to become shorter");
    }
    const std::size_t parameter = solver.parameter(node, "values");
    for (std::size_t i = 0; i < solver.original(node).operands[parameter].size(); ++i) {
        solver.demand(node, {parameter, i}, axis, window);
    }
}

/// All axes but the last are those of x.
void linear(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window)
{
    if (axis + 1 >= solver.shape(output(solver, node)).size()) {
        solver.refuse(node, "an axis has no origin");
    }
    solver.demand(node, {0, 0}, axis, window);
}

} // namespace vorlin::mil::way_back
