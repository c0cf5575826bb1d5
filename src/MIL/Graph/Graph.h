#pragma once

#include "MIL/FlexibleShapes.h"
#include "MIL/Graph/Operation.h"
#include "MIL/Weights/WeightFile.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin::mil {

/// A named tensor of a function's signature. Extents that vary are `Extents::unknown`.
struct Feature {
    std::string name;
    TensorType type;
};

/// An operation that a prediction computes.
struct Node {
    const OperationKind* kind = nullptr;
    Call::Operands operands;
    std::vector<ValueId> outputs;
    std::size_t line = 0;
    /// The outputs' shapes were inferred at load and hold for every prediction.
    bool known = false;
};

/// A function with its names resolved, its shapes inferred and its constants folded. Nodes are in
/// the order in which they run; only those the outputs or the states need are left.
struct Graph {
    /// By value. A node's outputs have their declared type, `?` and all, until they are inferred.
    ValueTable values;
    /// The declared type is too small, or may be, by a known slip of the exporter: the inferred
    /// one holds. Until it is inferred all extents are open.
    std::vector<bool> slipped;
    std::vector<Node> nodes;
    int opset = 0;

    std::vector<Feature> inputs;
    std::vector<ValueId> inputIds;
    /// Which shapes of inputs the text accepts, beyond what their types say.
    FlexibleShapes flexible;
    std::vector<Feature> outputs;
    std::vector<ValueId> outputIds;
    std::vector<Feature> states;
    std::vector<ValueId> stateIds;

    /// Stored bytes of the constants the text and the weight files hold, by element type.
    std::map<std::string, std::size_t> constantBytes;

    // What the table points to.
    WeightFiles files;
    std::deque<std::vector<std::byte>> owned;
    std::deque<std::string> ownedTexts;
    std::vector<StoredValuesPointer> ownedStored;

    Graph(const std::filesystem::path& bundle, LinksOut linksOut) : files(bundle, linksOut) {}
};

/// Parses and resolves a program. `function` names the function to build, empty for `main` or
/// the only one. Throws Error with the place; all unknown operations are listed in one.
/// Memory is bounded: the constants written in the text, and folded ones of at most 1 MiB each
/// and 1 MiB plus 16 times the text together.
Graph buildGraph(std::string_view text, const std::filesystem::path& bundle,
                 std::string_view function, LinksOut linksOut = LinksOut::refused);

/// Compares what was inferred with what the text declares and merges them. Returns the empty
/// string if they agree, else what is wrong.
std::string disagreement(const TensorType& declared, const TensorType& inferred);

} // namespace vorlin::mil
