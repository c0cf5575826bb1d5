#include "MIL/Execution/Chains.h"

namespace vorlin::mil {

namespace {

/// Longer chains gain nothing, and their parts leave the cache.
constexpr std::size_t mostLinks = 16;

/// Whether these nodes can be links of one chain. All links have one shape, so what one of them
/// reads of another is of the part that is being computed.
bool fitTogether(const ValueTable& values, const Node& a, const Node& b)
{
    const auto isLink = [](const Node& node) { return node.known && node.kind->part != nullptr; };
    const auto shapeOf = [&](const Node& node) -> const Shape& {
        return values.views[node.outputs.front()].type.shape;
    };
    return isLink(a) && isLink(b) && shapeOf(a) == shapeOf(b);
}

} // namespace

std::vector<std::size_t> stepsOf(std::span<const Node> nodes, const ValueTable& values,
                                 const FinishPlan& finishes)
{
    std::vector<std::size_t> steps(nodes.size());
    std::size_t first = 0;
    for (std::size_t i = 1; i < nodes.size(); ++i) {
        const std::size_t finished = finishes[first].size();
        const bool joins = i - first <= finished || (finished == 0 && i - first < mostLinks &&
                                                     fitTogether(values, nodes[first], nodes[i]));
        steps[i] = joins ? steps[first] : steps[first] + 1;
        first = joins ? first : i;
    }
    return steps;
}

} // namespace vorlin::mil
