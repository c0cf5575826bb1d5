#pragma once

#include "MIL/Graph/Call.h"
#include "MIL/Kernels/Elementwise/Link.h"

#include <span>
#include <string_view>
#include <vector>

namespace vorlin::mil {

struct Parameter {
    std::string_view name;
    bool optional = false;
    bool variadic = false;
    /// The operation can read this operand in its stored form.
    bool stored = false;
};

/// What the outputs of one call are, decided from its operands. Throws Error when the operands
/// do not go together, NotKnownYet when it needs a value that only the prediction knows.
using Infer = void (*)(const Call& call, std::vector<TensorType>& outputs);

/// Computes the outputs into the buffers of the call, whose types are what Infer said.
using Run = void (*)(const Call& call);

/// The same for the elements [begin, end) of the only output, which depend on the same elements of
/// operands of its shape, and of smaller ones on those that stretch there. The output may lie where
/// an operand of its size does. Any thread, several parts at once.
using RunPart = void (*)(const Call& call, std::int64_t begin, std::int64_t end);
/// Elements of a part: a few of them stay in the first-level cache.
constexpr std::int64_t partLength = 8192;

/// What such an operation does to floating numbers, if it is what a sink can do: the same to each,
/// with at most one other operand. Of a call whose operands' types are known; throws NotKnownYet
/// when it needs a value that only the prediction knows.
using LinkOf = bool (*)(const Call& call, Link& link);

/// Whether a call hands all its results to the sink's finish.
using TakesFinish = bool (*)(const Call& call);

/// For operations on stored constants: what an output is. Exactly one of the three is set.
struct StoredOutput {
    StoredValuesPointer values;         // numbers that are expanded where they are used
    std::vector<std::byte> bytes;       // a tensor as it lies in memory, made at load
    const std::byte* operand = nullptr; // the bytes of an operand, unchanged
};
using Store = void (*)(const Call& call, std::span<StoredOutput> outputs);

struct OperationKind {
    enum class Nature : std::uint8_t {
        pure,
        /// Pure, but its work may be far larger than its operands: not done at load.
        laborious,
        /// The output is the first operand's bytes under another shape.
        alias,
        /// Evaluated at load; its operands are constants.
        storedConstant,
        readsState,
        writesState,
    };

    std::string_view name;
    /// Parameter names separated by blanks; `?` behind a name: optional, `*`: variadic, `~`: may
    /// stay in its stored form.
    std::string_view signature;
    Infer infer = nullptr;
    Run run = nullptr;
    Nature nature = Nature::pure;
    Store store = nullptr;
    /// Instead of `run`, for element-wise operations.
    RunPart part = nullptr;
    LinkOf link = nullptr;
    TakesFinish takesFinish = nullptr;
    /// Makes what the first run would make of constants and keep. Looks at types and constants
    /// only.
    Run prepare = nullptr;
    std::vector<Parameter> parameters{}; // filled from the signature

    /// Computes the call's outputs on its threads.
    void compute(const Call& call) const;
};

/// The operation of that name, or null. Kinds live as long as the program.
const OperationKind* findOperation(std::string_view name);

} // namespace vorlin::mil
