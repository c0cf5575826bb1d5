#pragma once

#include "MIL/Graph/Graph.h"
#include "MIL/Model.h"

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace vorlin::mil {

/// What a program takes and gives.
class Signature {
public:
    /// `graph` must outlive this object.
    explicit Signature(const Graph& graph);

    /// Inputs in the order of the signature.
    struct Arranged {
        std::vector<TensorView> inputs;
        std::vector<bool> filled; // which of them there are
    };

    /// Arranges the inputs in memory that serves again and again. Throws Error for any that the
    /// program cannot take, alone or with the others.
    void arrange(std::span<const NamedInput> given, Arranged& result) const;
    /// Of that input; `inputs.size()` if there is none.
    std::size_t position(std::string_view name) const;

    const std::vector<FeatureDescription> inputs;
    const std::vector<FeatureDescription> outputs;
    const std::vector<FeatureDescription> states;

private:
    void checkCombination(const std::vector<TensorView>& arranged) const;

    const FlexibleShapes& flexible;
};

} // namespace vorlin::mil
