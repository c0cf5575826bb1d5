#pragma once

#include "MIL/Execution/Finishing.h"
#include "MIL/Graph/Graph.h"

#include <cstddef>
#include <span>
#include <vector>

namespace vorlin::mil {

/// Which step of a prediction each node belongs to; steps are numbered in the order in which they
/// run, the nodes of one stand side by side. A step of several nodes is a chain: element-wise
/// operations on one shape that run part by part, all of them on one part before the next, so
/// that what they hand on stays in the cache. Each of them computes what it would compute alone.
/// A product and the operations of its finish are a step, too.
std::vector<std::size_t> stepsOf(std::span<const Node> nodes, const ValueTable& values,
                                 const FinishPlan& finishes);

} // namespace vorlin::mil
