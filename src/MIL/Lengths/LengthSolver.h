#pragma once

#include "MIL/Lengths/Series.h"
#include "MIL/Lengths/ShorterForms.h"

#include <cstddef>
#include <deque>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vorlin::mil {

/// An operand of a node: the parameter and the position in it, by number.
struct OperandPlace {
    std::size_t parameter = 0;
    std::size_t position = 0;

    friend auto operator<=>(const OperandPlace&, const OperandPlace&) = default;
};

/// Derives the shapes of a program node by node, at all lengths side by side.
///
/// Most of them follow from the operands. A constant that an operation reads beside an operand
/// that varies is cut down or solved by that operation's rule. Where what has to become shorter
/// was made of constants by earlier operations (a mask, made of a range), the demand goes back to
/// those constants, operation by operation, and the derivation goes on from there anew.
class LengthSolver {
public:
    LengthSolver(const Graph& graph, std::size_t input, std::size_t axis,
                 std::span<const std::int64_t> lengths);

    /// Throws NoShorterForm.
    ShorterForms solve();

    /// What solving has added, to be kept with the graph: values beyond its own, and their bytes.
    ValueTable& values() { return table; }
    std::deque<std::vector<std::byte>>& bytes() { return owned; }

    // For the rules; `node` is the number of the node under derivation or on the way back.

    const Node& original(std::size_t node) const { return graph.nodes[node]; }
    /// A parameter's number by its name; the kind has it.
    std::size_t parameter(std::size_t node, std::string_view name) const;
    /// The operand as it now is, or nothing where the node has none.
    std::optional<ValueId> operand(std::size_t node, OperandPlace place) const;
    bool isTensor(ValueId id) const;
    const Shape& shape(ValueId id) const { return table.views[id].type.shape; }
    bool varies(ValueId id) const { return courses.contains(id); }
    bool varies(ValueId id, std::size_t axis) const;
    ShapeSeries shapes(ValueId id) const;
    /// Made of constants alone.
    bool isConstant(ValueId id) const;
    /// The integers of a constant list, nothing if it is none.
    std::optional<Extents> integers(std::size_t node, std::string_view name) const;
    std::int64_t integer(std::size_t node, std::string_view name, std::int64_t otherwise) const;
    int opset() const { return graph.opset; }
    std::size_t lengthCount() const { return lengths.size(); }

    /// The operand's axis has to be cut down to that window: at the node itself if the operand is a
    /// constant, else where it comes from.
    void demand(std::size_t node, OperandPlace place, std::size_t axis, const Window& window);
    /// An entry of the constant list has to become these numbers.
    void demandEntry(std::size_t node, std::string_view name, std::size_t entry,
                     const Series& numbers);
    /// The same at once, for the node under derivation.
    void setEntries(std::string_view name, const std::map<std::size_t, Series>& entries);

    [[noreturn]] void refuse(std::size_t node, const std::string& why) const;

private:
    /// A value that differs at the lengths.
    struct Course {
        std::vector<Shape> shapes;
        std::vector<const std::byte*> data; // empty for what a prediction finds
    };
    /// A node as it is at the shorter lengths, and what has to run in front of it.
    struct Built {
        std::vector<Node> before;
        Node node;
    };
    struct Demand {
        OperandPlace place;
        bool isEntry = false;
        std::size_t index = 0; // of the axis, or of the entry
        Window window;         // of an entry: its numbers are the extents
        std::size_t round = 0;
    };

    static constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

    void derive(std::size_t node);
    void forget(std::size_t from, std::size_t to);
    void satisfyDemands(std::size_t node);
    void infer(const Node& node);
    void checkShorter(std::size_t node, const TensorType& full, const TensorType& shorter) const;
    void trace(std::size_t node, OperandPlace place, std::size_t axis, const Window& window);
    void record(std::size_t node, Demand demand);
    ValueId cut(ValueId id, std::size_t axis, const Window& window);
    ValueId slice(ValueId id, std::size_t axis, const Window& window);
    ValueId list(ValueId id, const std::map<std::size_t, Series>& entries);
    ValueId addValue(const TensorType& type);
    std::byte* own(std::size_t count);
    bool computesDense(std::size_t node) const;
    ShorterForms assemble() const;

    const Graph& graph;
    const std::vector<std::int64_t> lengths;
    ValueTable table;
    std::deque<std::vector<std::byte>> owned;
    std::unordered_map<ValueId, Course> courses;
    std::unordered_map<ValueId, std::size_t> producers;
    std::vector<bool> constantNodes;
    std::vector<Built> built;
    std::map<std::size_t, std::vector<Demand>> demands;
    std::set<std::tuple<ValueId, std::size_t>> traced; // by the demand under way
    std::size_t depth = 0;
    std::size_t round = 0;
    std::size_t resumeAt = none;
    std::size_t current = 0;
    std::vector<std::byte> scratch;
    Execution loading{};
};

} // namespace vorlin::mil
