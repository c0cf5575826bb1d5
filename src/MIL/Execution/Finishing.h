#pragma once

#include "MIL/Graph/Graph.h"
#include "MIL/Kernels/Product/Finish.h"

#include <cstddef>
#include <span>
#include <vector>

namespace vorlin::mil {

/// An element-wise operation that the product in front of it computes in its sink.
struct PlannedLink {
    Link link;
    bool binary = false;
    ValueId other = 0; // of a binary one
    bool otherFirst = false;
};

/// By node: the operations right behind it, in order, that it computes in its sink; none for most.
/// Each reads what the one before gives, which nobody else reads, and nothing that the product
/// reads, since it may write over what it reads.
using FinishPlan = std::vector<std::vector<PlannedLink>>;

FinishPlan planFinishes(std::span<const Node> nodes, const ValueTable& values,
                        std::span<const ValueId> outputs, int opset);

} // namespace vorlin::mil
