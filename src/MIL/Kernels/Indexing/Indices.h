#pragma once

#include "MIL/Graph/Call.h"

namespace vorlin::mil {

/// Turns indices as a program holds them into places of an axis. Before iOS 17 negative ones
/// count from the end; from then on they are out of range.
class Indices {
public:
    explicit Indices(const Call& call, std::string_view parameter = "indices");

    /// The place in an axis of `extent`. Out of range it fails if the program asked for
    /// validation, else takes the nearest place there is; `extent` is above 0.
    std::int64_t at(std::int64_t position, std::int64_t extent) const;
    /// Whether the index is in range; for writing, where others are left out.
    bool valid(std::int64_t position, std::int64_t extent) const;

private:
    std::int64_t wrapped(std::int64_t position, std::int64_t extent) const;

    const Call& call;
    const TensorView& indices;
    bool wraps;
    bool validates;
};

/// Refuses index operands that hold no integers.
void requireIndices(const Call& call, std::string_view parameter = "indices");

} // namespace vorlin::mil
