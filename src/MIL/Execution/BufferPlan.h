#pragma once

#include "MIL/Graph/Graph.h"

#include <cstddef>
#include <span>
#include <vector>

namespace vorlin::mil {

/// Where each computed value lives. Values whose size is known at load lie in one arena, at
/// places that others use before and after them; the rest take turns in slots that grow.
struct BufferPlan {
    enum class Place : std::uint8_t { elsewhere, arena, slot, alias };
    struct Home {
        Place place = Place::elsewhere; // constants, inputs, states
        std::size_t index = 0;          // offset, slot, or the value whose bytes these are
    };

    std::vector<Home> homes; // by value
    std::size_t arenaBytes = 0;
    std::size_t slots = 0;
};

/// Plans by lifetime: from the step that writes a value to the last that reads it, aliases
/// included, `outputs` being read in the end. `steps` is what `stepsOf` says of the nodes. An
/// element-wise operation writes over an operand of its size that nobody reads afterwards.
BufferPlan planBuffers(std::span<const Node> nodes, const ValueTable& values,
                       std::span<const ValueId> outputs, const std::vector<std::size_t>& steps);

} // namespace vorlin::mil
