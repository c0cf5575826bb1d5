#pragma once

#include "MIL/Extents.h"

#include <string>
#include <vector>

namespace vorlin::mil {

/// Shapes that a program accepts: every extent from `least` to `most`, both included. Where
/// `most` is `Extents::unknown` nothing limits the axis.
struct ShapeRange {
    Shape least;
    Shape most;

    bool contains(const Shape& shape) const;

    friend bool operator==(const ShapeRange&, const ShapeRange&) = default;
};

/// "[1, 1..40, 8 or more]".
std::string describe(const ShapeRange& range);

/// What a function's text says about inputs of varying shape.
struct FlexibleShapes {
    struct Entry {
        std::string input;
        ShapeRange range;
    };
    /// Shapes of several inputs that go together.
    using Configuration = std::vector<Entry>;

    /// The shape the program was exported with, as a range of one.
    Configuration defaults;
    /// One for a range, one for each enumerated combination.
    std::vector<Configuration> configurations;
};

} // namespace vorlin::mil
