#include "MIL/Lengths/LengthRules.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace vorlin::mil {

namespace {

/// An axis of an operand.
struct AxisPlace {
    OperandPlace operand;
    std::size_t axis = 0;
};

bool stays(const Series& series, std::int64_t number)
{
    return std::all_of(series.begin(), series.end(),
                       [&](std::int64_t one) { return one == number; });
}

/// Axes that must have one extent: those that vary agree, and constants are cut down to them.
void unite(LengthSolver& solver, std::size_t node, const std::vector<AxisPlace>& axes)
{
    Series wanted;
    for (const AxisPlace& place : axes) {
        const ValueId id = *solver.operand(node, place.operand);
        if (!solver.varies(id, place.axis)) {
            continue;
        }
        Series series = solver.shapes(id).series(place.axis);
        if (!wanted.empty() && wanted != series) {
            solver.refuse(node, "two lengths meet");
        }
        wanted = std::move(series);
    }
    if (wanted.empty()) {
        return;
    }
    for (const AxisPlace& place : axes) {
        if (!solver.varies(*solver.operand(node, place.operand), place.axis)) {
            solver.demand(node, place.operand, place.axis, prefixWindow(wanted));
        }
    }
}

/// The last axes of several operands, where they are not 1.
void uniteBroadcast(LengthSolver& solver, std::size_t node,
                    const std::vector<OperandPlace>& operands, std::size_t leaveOut = 0)
{
    std::map<std::size_t, std::vector<AxisPlace>> fromRight;
    for (const OperandPlace& place : operands) {
        const auto id = solver.operand(node, place);
        if (!id || !solver.isTensor(*id)) {
            continue;
        }
        const Shape& shape = solver.shape(*id);
        for (std::size_t i = 0; i + leaveOut < shape.size(); ++i) {
            if (shape[i] != 1) {
                fromRight[shape.size() - i].push_back({place, i});
            }
        }
    }
    for (const auto& [distance, axes] : fromRight) {
        unite(solver, node, axes);
    }
}

std::vector<OperandPlace> allOperands(const LengthSolver& solver, std::size_t node)
{
    std::vector<OperandPlace> places;
    const auto& operands = solver.original(node).operands;
    for (std::size_t p = 0; p < operands.size(); ++p) {
        for (std::size_t i = 0; i < operands[p].size(); ++i) {
            places.push_back({p, i});
        }
    }
    return places;
}

void elementwise(LengthSolver& solver, std::size_t node)
{
    uniteBroadcast(solver, node, allOperands(solver, node));
}

void concat(LengthSolver& solver, std::size_t node)
{
    const std::size_t parameter = solver.parameter(node, "values");
    const std::size_t rank = solver.shape(*solver.operand(node, {parameter, 0})).size();
    const std::size_t joined =
        wrapAxis(solver.integer(node, "axis", 0), std::max<std::size_t>(rank, 1));
    const std::size_t count = solver.original(node).operands[parameter].size();
    for (std::size_t axis = 0; axis < rank; ++axis) {
        std::vector<AxisPlace> places;
        for (std::size_t i = 0; i < count; ++i) {
            places.push_back({{parameter, i}, axis});
        }
        if (axis != joined) {
            unite(solver, node, places);
        }
    }
}

void stack(LengthSolver& solver, std::size_t node)
{
    const std::size_t parameter = solver.parameter(node, "values");
    std::vector<OperandPlace> places;
    for (std::size_t i = 0; i < solver.original(node).operands[parameter].size(); ++i) {
        places.push_back({parameter, i});
    }
    uniteBroadcast(solver, node, places);
}

/// A constant of 2n - 1 columns beside n rows holds what is said of the distances n - 1 to
/// 1 - n: the middle is left of it. One of n columns may hold anything.
void distances(LengthSolver& solver, std::size_t node, AxisPlace rows, AxisPlace columns)
{
    const ValueId id = *solver.operand(node, columns.operand);
    const ValueId other = *solver.operand(node, rows.operand);
    if (!solver.isConstant(id) || solver.varies(id, columns.axis) ||
        !solver.varies(other, rows.axis)) {
        return;
    }
    const std::int64_t full = solver.shape(other)[rows.axis];
    const std::int64_t extent = solver.shape(id)[columns.axis];
    if (extent == full) {
        solver.refuse(node, "two rules fit a constant factor");
    }
    if (extent != 2 * full - 1) {
        return;
    }
    Window window;
    for (std::int64_t length : solver.shapes(other).series(rows.axis)) {
        window.starts.push_back(full - length);
        window.extents.push_back(2 * length - 1);
    }
    solver.demand(node, columns.operand, columns.axis, window);
}

void matmul(LengthSolver& solver, std::size_t node)
{
    const OperandPlace x{solver.parameter(node, "x"), 0};
    const OperandPlace y{solver.parameter(node, "y"), 0};
    const std::size_t xRank = solver.shape(*solver.operand(node, x)).size();
    const std::size_t yRank = solver.shape(*solver.operand(node, y)).size();
    if (xRank < 2 || yRank < 2) {
        solver.refuse(node, "there is no rule for vectors");
    }
    const std::size_t turnX = solver.integer(node, "transpose_x", 0) != 0 ? 1 : 0;
    const std::size_t turnY = solver.integer(node, "transpose_y", 0) != 0 ? 1 : 0;
    unite(solver, node, {{x, xRank - 1 - turnX}, {y, yRank - 2 + turnY}});
    uniteBroadcast(solver, node, {x, y}, 2);
    const AxisPlace rows{x, xRank - 2 + turnX};
    const AxisPlace columns{y, yRank - 1 - turnY};
    distances(solver, node, rows, columns);
    distances(solver, node, columns, rows);
}

void attention(LengthSolver& solver, std::size_t node)
{
    const OperandPlace query{solver.parameter(node, "query"), 0};
    const OperandPlace key{solver.parameter(node, "key"), 0};
    const OperandPlace value{solver.parameter(node, "value"), 0};
    const OperandPlace mask{solver.parameter(node, "attn_mask"), 0};
    const auto rank = [&](OperandPlace place) {
        return solver.shape(*solver.operand(node, place)).size();
    };
    std::vector<AxisPlace> from{{query, rank(query) - 2}};
    std::vector<AxisPlace> to{{key, rank(key) - 2}, {value, rank(value) - 2}};
    if (solver.operand(node, mask)) {
        const Shape& shape = solver.shape(*solver.operand(node, mask));
        const auto add = [&](std::vector<AxisPlace>& axes, std::size_t distance) {
            if (shape.size() >= distance && shape[shape.size() - distance] != 1) {
                axes.push_back({mask, shape.size() - distance});
            }
        };
        add(from, 2);
        add(to, 1);
    }
    unite(solver, node, from);
    unite(solver, node, to);
}

void reshape(LengthSolver& solver, std::size_t node)
{
    const ValueId x = *solver.operand(node, {solver.parameter(node, "x"), 0});
    const auto list = solver.integers(node, "shape");
    if (!list || !solver.varies(x)) {
        solver.refuse(node, "its shape is no constant");
    }
    const ShapeSeries shapes = solver.shapes(x);
    std::vector<Series> zeros(list->size());
    for (std::size_t i = 0; i < list->size(); ++i) {
        // As the operation itself reads them; see reshape's kernel.
        const std::size_t axis = solver.opset() <= 16 ? i : i + shapes.full.size() - list->size();
        zeros[i] =
            axis < shapes.full.size() ? shapes.series(axis) : Series(solver.lengthCount(), 1);
    }
    const auto solved = solveReshape(shapes, *list, zeros);
    if (!solved) {
        solver.refuse(node, "no shape fits, or several do: " + describe(*list) + " of " +
                                describe(shapes.full));
    }
    std::map<std::size_t, Series> entries;
    for (std::size_t i = 0; i < list->size(); ++i) {
        if ((*list)[i] > 0 && !stays((*solved)[i], (*list)[i])) {
            entries[i] = (*solved)[i];
        }
    }
    solver.setEntries("shape", entries);
}

/// Solves the bounds of axes that vary; `skips` tells which need none.
template <class Skips>
void solveBounds(LengthSolver& solver, std::size_t node, std::string_view name, const Skips& skips)
{
    const ValueId x = *solver.operand(node, {solver.parameter(node, "x"), 0});
    const auto bounds = solver.integers(node, name);
    if (!bounds || !solver.varies(x) || bounds->size() != solver.shape(x).size()) {
        solver.refuse(node, "its bounds are no constants");
    }
    const ShapeSeries shapes = solver.shapes(x);
    std::map<std::size_t, Series> entries;
    for (std::size_t axis = 0; axis < bounds->size(); ++axis) {
        const std::int64_t bound = (*bounds)[axis];
        if (!shapes.varies(axis) || skips(axis, bound)) {
            continue;
        }
        const Solution solution = solveBound(shapes, axis, bound);
        if (!solution) {
            solver.refuse(node, "no rule fits the bound " + std::to_string(bound) + " of " +
                                    std::to_string(shapes.full[axis]) + ", or several do");
        }
        if (!stays(*solution, bound)) {
            entries[axis] = *solution;
        }
    }
    solver.setEntries(name, entries);
}

void sliceByIndex(LengthSolver& solver, std::size_t node)
{
    const std::size_t rank =
        solver.shape(*solver.operand(node, {solver.parameter(node, "x"), 0})).size();
    const auto flags = [&](std::string_view name, std::int64_t otherwise) {
        Extents list = solver.integers(node, name).value_or(Extents::filled(rank, otherwise));
        while (list.size() < rank) {
            list.push(otherwise);
        }
        return list;
    };
    const Extents stride = flags("stride", 1);
    const Extents noBegin = flags("begin_mask", 0);
    const Extents noEnd = flags("end_mask", 0);
    const Extents squeezed = flags("squeeze_mask", 0);
    const auto backward = [&](std::size_t axis) { return stride[axis] < 0 && squeezed[axis] == 0; };
    for (std::size_t axis = 0; axis < rank; ++axis) {
        if (backward(axis) && (noBegin[axis] == 0 || noEnd[axis] == 0)) {
            solver.refuse(node, "there is no rule for bounds from the end");
        }
    }
    // Bounds from the end keep their distance as they are; infer sees to it that they fit.
    solveBounds(solver, node, "begin", [&](std::size_t axis, std::int64_t bound) {
        return noBegin[axis] != 0 || bound < 0;
    });
    solveBounds(solver, node, "end", [&](std::size_t axis, std::int64_t bound) {
        return noEnd[axis] != 0 || squeezed[axis] != 0 || bound < 0 ||
               bound > solver.shape(*solver.operand(node, {0, 0}))[axis];
    });
}

void sliceBySize(LengthSolver& solver, std::size_t node)
{
    const auto fromEnd = [](std::size_t, std::int64_t bound) { return bound < 0; };
    solveBounds(solver, node, "begin", fromEnd);
    solveBounds(solver, node, "size", fromEnd);
}

/// Places that are read from an axis that varies must be there at every length.
void gather(LengthSolver& solver, std::size_t node)
{
    const ValueId x = *solver.operand(node, {solver.parameter(node, "x"), 0});
    const ValueId indices = *solver.operand(node, {solver.parameter(node, "indices"), 0});
    if (!solver.varies(x)) {
        return;
    }
    const ShapeSeries shapes = solver.shapes(x);
    const std::size_t axis =
        wrapAxis(solver.integer(node, "axis", 0), std::max<std::size_t>(shapes.full.size(), 1));
    if (!shapes.varies(axis)) {
        return;
    }
    const Series extents = shapes.series(axis);
    const std::int64_t least = *std::min_element(extents.begin(), extents.end());
    const auto places = solver.integers(node, "indices");
    if (!solver.isConstant(indices) || !places ||
        std::any_of(places->begin(), places->end(),
                    [&](std::int64_t place) { return place < 0 || place >= least; })) {
        solver.refuse(node, "it reads places that may be gone");
    }
}

/// A padding as long as the axis may follow it or not.
void pad(LengthSolver& solver, std::size_t node)
{
    const ValueId x = *solver.operand(node, {solver.parameter(node, "x"), 0});
    const auto amounts = solver.integers(node, "pad");
    const std::size_t rank = solver.shape(x).size();
    if (!amounts || amounts->size() > 2 * rank) {
        solver.refuse(node, "its paddings are no constants");
    }
    for (std::size_t i = 0; i < amounts->size(); ++i) {
        const std::size_t axis = rank - amounts->size() / 2 + i / 2;
        const std::int64_t beyond = (*amounts)[i] - solver.shape(x)[axis];
        if (solver.varies(x, axis) && beyond >= -1) {
            solver.refuse(node, "two rules fit a padding");
        }
    }
}

using Rules = std::map<std::string_view, LengthRule>;

Rules makeRules()
{
    Rules rules{
        {"identity", {elementwise, way_back::elementwise}},
        {"transpose", {nullptr, way_back::transpose}},
        {"tile", {nullptr, way_back::tile}},
        {"fill", {nullptr, way_back::fill}},
        {"fill_like", {nullptr, way_back::same}},
        {"concat", {concat, way_back::concat}},
        {"stack", {stack, nullptr}},
        {"linear", {nullptr, way_back::linear}},
        {"matmul", {matmul, nullptr}},
        {"scaled_dot_product_attention", {attention, nullptr}},
        {"reshape", {reshape, way_back::aligned}},
        {"slice_by_index", {sliceByIndex, nullptr}},
        {"slice_by_size", {sliceBySize, nullptr}},
        {"gather", {gather, nullptr}},
        {"pad", {pad, nullptr}},
    };
    for (const char* name : {"expand_dims", "squeeze", "flatten2d"}) {
        rules.emplace(name, LengthRule{nullptr, way_back::aligned});
    }
    for (const char* name : {"softmax", "cumsum", "band_part", "reverse"}) {
        rules.emplace(name, LengthRule{nullptr, way_back::same});
    }
    for (const char* name :
         {"conv",          "conv_transpose",  "max_pool",       "avg_pool",
          "layer_norm",    "batch_norm",      "instance_norm",  "l2_norm",
          "reduce_sum",    "reduce_mean",     "reduce_max",     "reduce_min",
          "reduce_prod",   "reduce_l1_norm",  "reduce_l2_norm", "reduce_sum_square",
          "reduce_argmax", "reduce_argmin",   "reduce_log_sum", "reduce_log_sum_exp",
          "split",         "sliding_windows", "lstm",           "upsample_nearest_neighbor",
          "prelu",         "pixel_shuffle"}) {
        rules.emplace(name, LengthRule{});
    }
    return rules;
}

} // namespace

const LengthRule* lengthRuleOf(const OperationKind& kind)
{
    static const Rules rules = makeRules();
    static const LengthRule parts{elementwise, way_back::elementwise};
    if (kind.part != nullptr) {
        return &parts;
    }
    const auto found = rules.find(kind.name);
    return found == rules.end() ? nullptr : &found->second;
}

} // namespace vorlin::mil
