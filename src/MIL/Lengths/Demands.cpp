// What the rules see of a node and its operands, and how their demands find the constants.
#include "MIL/Lengths/LengthRules.h"
#include "MIL/Lengths/LengthSolver.h"

#include <algorithm>

namespace vorlin::mil {

namespace {

/// Operations on the way from a demand to a constant; masks take about ten.
constexpr std::size_t longestWay = 200;

} // namespace

std::size_t LengthSolver::parameter(std::size_t node, std::string_view name) const
{
    const auto& parameters = graph.nodes[node].kind->parameters;
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [&](const Parameter& p) { return p.name == name; });
    return static_cast<std::size_t>(found - parameters.begin());
}

std::optional<ValueId> LengthSolver::operand(std::size_t node, OperandPlace place) const
{
    const Node& now = node == current ? built[node].node : graph.nodes[node];
    if (place.parameter >= now.operands.size() ||
        place.position >= now.operands[place.parameter].size()) {
        return std::nullopt;
    }
    return now.operands[place.parameter][place.position];
}

bool LengthSolver::isTensor(ValueId id) const
{
    return table.texts[id] == nullptr;
}

bool LengthSolver::varies(ValueId id, std::size_t axis) const
{
    const auto found = courses.find(id);
    return found != courses.end() &&
           std::any_of(found->second.shapes.begin(), found->second.shapes.end(),
                       [&](const Shape& s) { return s[axis] != shape(id)[axis]; });
}

ShapeSeries LengthSolver::shapes(ValueId id) const
{
    return {shape(id), courses.at(id).shapes};
}

bool LengthSolver::isConstant(ValueId id) const
{
    const auto found = producers.find(id);
    return found == producers.end() ? table.constants[id] : constantNodes[found->second];
}

std::optional<Extents> LengthSolver::integers(std::size_t node, std::string_view name) const
{
    const auto id = operand(node, {parameter(node, name), 0});
    if (!id || varies(*id)) {
        return std::nullopt;
    }
    const TensorView& view = table.views[*id];
    if (view.data == nullptr || isFloat(view.type.element) || view.rank() > 1 ||
        view.elements() > static_cast<std::int64_t>(Extents::capacity)) {
        return std::nullopt;
    }
    Extents result;
    for (std::int64_t i = 0; i < view.elements(); ++i) {
        result.push(view.integer(i));
    }
    return result;
}

std::int64_t LengthSolver::integer(std::size_t node, std::string_view name,
                                   std::int64_t otherwise) const
{
    const auto list = integers(node, name);
    return list && list->size() == 1 ? (*list)[0] : otherwise;
}

void LengthSolver::demand(std::size_t node, OperandPlace place, std::size_t axis,
                          const Window& window)
{
    if (depth == 0) {
        traced.clear();
    }
    trace(node, place, axis, window);
}

void LengthSolver::demandEntry(std::size_t node, std::string_view name, std::size_t entry,
                               const Series& numbers)
{
    record(node, {{parameter(node, name), 0}, true, entry, {{}, numbers}, round});
}

void LengthSolver::setEntries(std::string_view name, const std::map<std::size_t, Series>& entries)
{
    if (!entries.empty()) {
        ValueId& id = built[current].node.operands[parameter(current, name)].front();
        id = list(id, entries);
    }
}

/// Follows a demand from the operand of a node to where its axis comes from.
void LengthSolver::trace(std::size_t node, OperandPlace place, std::size_t axis,
                         const Window& window)
{
    // What was found for the operands so far is of no use on the way back.
    const ValueId id = graph.nodes[node].operands[place.parameter][place.position];
    if (varies(id, axis)) {
        if (shapes(id).series(axis) != window.extents) {
            refuse(node, "two lengths meet");
        }
        return;
    }
    const auto producer = producers.find(id);
    if (producer == producers.end() || computesDense(producer->second)) {
        if (!isConstant(id)) {
            refuse(node, "an input has another length");
        }
        record(node, {place, false, axis, window, round});
        return;
    }
    if (!traced.emplace(id, axis).second) {
        return;
    }
    const std::size_t from = producer->second;
    const LengthRule* const rule = lengthRuleOf(*graph.nodes[from].kind);
    if (rule == nullptr || rule->backward == nullptr || graph.nodes[from].outputs.front() != id) {
        refuse(from, "there is no rule for it");
    }
    if (++depth > longestWay) {
        refuse(from, "a length comes from too far away");
    }
    rule->backward(*this, from, axis, window);
    --depth;
}

/// A demand that was there in an earlier round has not helped.
void LengthSolver::record(std::size_t node, Demand demand)
{
    for (const Demand& other : demands[node]) {
        if (other.place == demand.place && other.isEntry == demand.isEntry &&
            other.index == demand.index) {
            if (other.round != demand.round || other.window != demand.window) {
                refuse(node, "two lengths meet");
            }
            return;
        }
    }
    demands[node].push_back(std::move(demand));
    resumeAt = std::min(resumeAt, node);
}

} // namespace vorlin::mil
