#include "MIL/Execution/Finishing.h"

#include "MIL/Error.h"

#include <algorithm>
#include <numeric>
#include <optional>

namespace vorlin::mil {

namespace {

/// Whether the elements of an operand, over and over, are what it stretches to.
bool repeatsEvenly(const Shape& operand, const Shape& result)
{
    if (elementCount(operand) == 1) {
        return true;
    }
    std::size_t first = 0;
    while (first < operand.size() && operand[first] == 1) {
        ++first;
    }
    const std::size_t axes = operand.size() - first;
    return axes <= result.size() &&
           std::equal(operand.begin() + static_cast<std::ptrdiff_t>(first), operand.end(),
                      result.end() - static_cast<std::ptrdiff_t>(axes));
}

class Planner {
public:
    Planner(std::span<const Node> nodes, const ValueTable& values, std::span<const ValueId> outputs,
            int opset)
        : nodes(nodes), values(values), opset(opset), roots(values.views.size()),
          readers(values.views.size())
    {
        std::iota(roots.begin(), roots.end(), ValueId{0});
        for (const Node& node : nodes) {
            for (const auto& ids : node.operands) {
                for (const ValueId id : ids) {
                    ++readers[id];
                }
            }
            if (node.kind->nature == OperationKind::Nature::alias) {
                roots[node.outputs.front()] = roots[node.operands.front().front()];
            }
        }
        for (const ValueId id : outputs) {
            ++readers[id];
        }
    }

    FinishPlan run() const
    {
        FinishPlan plan(nodes.size());
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if (!takesFinish(nodes[i])) {
                continue;
            }
            for (std::size_t next = i + 1; next < nodes.size(); ++next) {
                const auto link = linkOf(nodes[next], nodes[next - 1].outputs.front(), nodes[i]);
                if (!link) {
                    break;
                }
                plan[i].push_back(*link);
            }
        }
        return plan;
    }

private:
    bool takesFinish(const Node& node) const
    {
        return node.known && node.kind->takesFinish != nullptr &&
               node.kind->takesFinish(callOf(node));
    }

    /// A node as a link behind `before`, which the sink of `product` computes.
    std::optional<PlannedLink> linkOf(const Node& node, ValueId before, const Node& product) const
    {
        const TensorType& type = values.views[before].type;
        if (!node.known || node.kind->link == nullptr || readers[before] != 1 ||
            values.views[node.outputs.front()].type != type) {
            return std::nullopt;
        }
        PlannedLink link;
        if (!knows(node, link.link)) {
            return std::nullopt;
        }
        link.binary = std::holds_alternative<BinaryFunction>(link.link);
        if (!link.binary) {
            return node.operands.front().front() == before ? std::optional(link) : std::nullopt;
        }
        const ValueId x = node.operands[0].front();
        const ValueId y = node.operands[1].front();
        link.otherFirst = y == before;
        link.other = link.otherFirst ? x : y;
        if ((x != before && y != before) || isReadBy(product, link.other) ||
            !repeatsEvenly(values.views[link.other].type.shape, type.shape)) {
            return std::nullopt;
        }
        return link;
    }

    bool knows(const Node& node, Link& link) const
    {
        try {
            return node.kind->link(callOf(node), link);
        } catch (const NotKnownYet&) {
            return false;
        } catch (const Error&) {
            return false; // the node itself will say what is wrong
        }
    }

    bool isReadBy(const Node& node, ValueId id) const
    {
        return std::any_of(node.operands.begin(), node.operands.end(), [&](const auto& ids) {
            return std::any_of(ids.begin(), ids.end(),
                               [&](ValueId read) { return roots[read] == roots[id]; });
        });
    }

    Call callOf(const Node& node) const
    {
        return {*node.kind, node.operands, opset, values, {}, nowhere};
    }

    std::span<const Node> nodes;
    const ValueTable& values;
    const int opset;
    const Execution nowhere{};
    std::vector<ValueId> roots;       // the value whose bytes an alias shows
    std::vector<std::size_t> readers; // how often a value is read
};

} // namespace

FinishPlan planFinishes(std::span<const Node> nodes, const ValueTable& values,
                        std::span<const ValueId> outputs, int opset)
{
    return Planner(nodes, values, outputs, opset).run();
}

} // namespace vorlin::mil
