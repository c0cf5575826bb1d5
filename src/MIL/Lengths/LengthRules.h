#pragma once

#include "MIL/Lengths/LengthSolver.h"

#include <string_view>

namespace vorlin::mil {

/// How an operation takes part in solving.
struct LengthRule {
    /// Makes the operands of a node go together at the shorter lengths, by demands and solved
    /// entries; null where they do as they are. Throws NoShorterForm.
    void (*forward)(LengthSolver& solver, std::size_t node) = nullptr;
    /// What has to become shorter so that an axis of the output does; null where nothing can.
    void (*backward)(LengthSolver& solver, std::size_t node, std::size_t axis,
                     const Window& window) = nullptr;
};

/// The rule for operations of that kind, or null.
const LengthRule* lengthRuleOf(const OperationKind& kind);

/// The ways back of `LengthRule::backward`.
namespace way_back {
void elementwise(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window);
void same(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window);
void aligned(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window);
void transpose(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window);
void tile(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window);
void fill(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window);
void concat(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window);
void linear(LengthSolver& solver, std::size_t node, std::size_t axis, const Window& window);
} // namespace way_back

} // namespace vorlin::mil
