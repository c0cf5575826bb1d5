#pragma once

#include "MIL/Graph/Graph.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

namespace vorlin::mil {

/// What a value is at a shorter length: its shape and, of a constant, its data.
struct ValueSetting {
    ValueId id = 0;
    Shape shape;
    const std::byte* data = nullptr; // null: the prediction finds it
};

/// What differs from the full length in a table of values.
struct ShortForm {
    std::int64_t length = 0;
    std::vector<ValueSetting> settings;
};

/// A program at shorter lengths: one list of nodes, and for each length what its values are.
/// Nodes and settings refer to values that solving has added to the graph; everything that is
/// large lies where the full length has it.
struct ShorterForms {
    std::vector<Node> nodes;
    std::vector<ShortForm> forms;
};

/// Why a program has no shorter form, in one line.
class NoShorterForm : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Derives the program anew for inputs whose data input `input` (by position) has `lengths`,
/// each shorter than the declared extent, along `axis`. Shapes follow from the inputs; constants
/// that carry a length follow the rule of the operation that reads them, solved at all lengths
/// together. Throws NoShorterForm where no rule fits or two do, and leaves the graph as it was.
/// What is found is consistent, so that computing it is safe; whether it means the same as the
/// full length is for the caller to find out.
ShorterForms solveLengths(Graph& graph, std::size_t input, std::size_t axis,
                          std::span<const std::int64_t> lengths);

/// Puts a form's settings into the table and what was there into the form; again: undoes it.
void exchange(ValueTable& values, ShortForm& form);

} // namespace vorlin::mil
