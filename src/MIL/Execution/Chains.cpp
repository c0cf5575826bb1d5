#include "MIL/Execution/Chains.h"

#include <algorithm>

namespace vorlin::mil {

namespace {

/// Longer chains gain nothing, and their parts leave the cache.
constexpr std::size_t mostLinks = 16;

/// Whether `node` can join the step of the nodes [first, last).
bool joins(const Graph& graph, std::size_t first, std::size_t last, const Node& node)
{
    const auto isLink = [](const Node& link) { return link.known && link.kind->part != nullptr; };
    const auto shapeOf = [&](ValueId id) -> const Shape& {
        return graph.values.views[id].type.shape;
    };
    if (first == last || last - first == mostLinks || !isLink(node) ||
        !isLink(graph.nodes[first])) {
        return false;
    }
    const Shape& shape = shapeOf(graph.nodes[first].outputs.front());
    // What the step itself makes is ready only up to the part that is being computed.
    const auto isReady = [&](ValueId id) {
        const auto begin = graph.nodes.begin() + static_cast<std::ptrdiff_t>(first);
        const auto end = graph.nodes.begin() + static_cast<std::ptrdiff_t>(last);
        return shapeOf(id) == shape ||
               std::none_of(begin, end, [&](const Node& n) { return n.outputs.front() == id; });
    };
    return shapeOf(node.outputs.front()) == shape &&
           std::all_of(node.operands.begin(), node.operands.end(), [&](const auto& ids) {
               return std::all_of(ids.begin(), ids.end(), isReady);
           });
}

} // namespace

std::vector<std::size_t> stepsOf(const Graph& graph)
{
    std::vector<std::size_t> steps(graph.nodes.size());
    std::size_t first = 0;
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        if (joins(graph, first, i, graph.nodes[i])) {
            steps[i] = steps[first];
        } else {
            steps[i] = i == 0 ? 0 : steps[i - 1] + 1;
            first = i;
        }
    }
    return steps;
}

} // namespace vorlin::mil
