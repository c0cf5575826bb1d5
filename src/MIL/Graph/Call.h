#pragma once

#include "MIL/Execution/FunctionRef.h"
#include "MIL/SumVectors.h"
#include "MIL/Tensor.h"
#include "MIL/Weights/StoredValues.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin::mil {

class Finish;
class IntegerWeights;
class WorkerPool;
struct OperationKind;

using ValueId = std::uint32_t;

/// All values of a program as far as they are known: at load the constants' data and everybody's
/// type, during a prediction everything that has been computed.
struct ValueTable {
    std::vector<TensorView> views;
    std::vector<const StoredValues*> stored; // set for constants kept in their stored form
    std::vector<const std::string*> texts;   // set for string constants
    std::vector<bool> constants;             // whether it is the same in every prediction
    std::vector<Shape> declared;             // as the text writes them, with every `?`
};

/// Thrown while shapes are inferred at load, when a shape depends on a value that only a
/// prediction knows.
struct NotKnownYet {};

/// How a prediction runs.
struct Execution {
    WorkerPool* pool = nullptr;
    std::size_t threads = 1;
    const std::atomic<bool>* stop = nullptr; // null where nobody stops it
    bool referenceKernels = false;
    SumVectors sumVectors = SumVectors::fitting;
    /// Kernels refuse to work in more memory of their own than this.
    std::size_t largestScratch = std::size_t{1} << 30;
    /// Bytes that stored constants may still take while a program is loaded; null afterwards.
    std::size_t* loadBudget = nullptr;
    /// Memory that kernels share between their tasks; grows to the largest need and stays.
    std::vector<std::byte>* scratch = nullptr;

    /// What the product that runs does to its results, if anything.
    const Finish* finish = nullptr;
    /// Of products in 8 bits; null where there are none.
    IntegerWeights* integerWeights = nullptr;

    bool mustStop() const { return stop != nullptr && *stop; }
};

/// One operation about to be checked or computed: its operands by parameter name, its outputs by
/// position. Every accessor throws NotKnownYet when it needs a value that is not computed yet and
/// Error when an operand is not what the operation can take.
class Call {
public:
    using Operands = std::vector<std::vector<ValueId>>; // by parameter, then by position

    Call(const OperationKind& kind, const Operands& operands, int opset, const ValueTable& values,
         std::span<TensorBuffer> outputs, const Execution& execution)
        : kind(kind), operands(operands), opsetVersion(opset), values(values),
          outputBuffers(outputs), execution(execution)
    {
    }

    /// 15 to 18 and above; decides what the operation means.
    int opset() const { return opsetVersion; }
    std::string_view operation() const;

    bool has(std::string_view parameter) const { return count(parameter) != 0; }
    std::size_t count(std::string_view parameter) const;
    /// An operand's type. Its data may be null while shapes are inferred.
    const TensorView& type(std::string_view parameter, std::size_t position = 0) const;
    /// An operand with its data.
    const TensorView& input(std::string_view parameter, std::size_t position = 0) const;
    bool isConstant(std::string_view parameter) const;
    /// The operand's stored form, or null when it is dense.
    const StoredValues* stored(std::string_view parameter) const;

    std::int64_t integer(std::string_view parameter) const;
    std::int64_t integer(std::string_view parameter, std::int64_t otherwise) const;
    double number(std::string_view parameter, double otherwise) const;
    bool flag(std::string_view parameter, bool otherwise) const;
    std::string_view text(std::string_view parameter, std::string_view otherwise) const;
    /// The same in lower case, for the parameters that may be written in either.
    std::string word(std::string_view parameter, std::string_view otherwise) const;
    /// The numbers of a tensor of rank 0 or 1.
    Extents integers(std::string_view parameter, std::size_t position = 0) const;
    Extents integers(std::string_view parameter, const Extents& otherwise) const;
    /// An axis in [0, rank); negative ones count from the end.
    std::size_t axis(std::string_view parameter, std::int64_t otherwise, std::size_t rank) const;
    /// Several axes, in ascending order, none twice. All of them when the operand is absent.
    Extents axes(std::string_view parameter, std::size_t rank) const;

    /// An operand's shape as the text declares it.
    const Shape& declaredShape(std::string_view parameter) const
    {
        return values.declared[only(parameter, 0)];
    }

    /// While shapes are inferred, the outputs have the types the text declares, and no data.
    const TensorBuffer& output(std::size_t position = 0) const { return outputBuffers[position]; }
    std::size_t outputs() const { return outputBuffers.size(); }

    /// Throws Error with the operation's name in front.
    [[noreturn]] void fail(const std::string& what) const;
    void require(bool condition, const char* what) const
    {
        if (!condition) {
            fail(what);
        }
    }

    /// Calls `task(begin, end)` for pieces of [0, count) of about `grain`, on all threads of the
    /// model. Throws Stopped between pieces once a stop was requested.
    void parallel(std::int64_t count, std::int64_t grain,
                  FunctionRef<void(std::int64_t, std::int64_t)> task) const;
    std::size_t threads() const { return execution.threads; }
    /// Throws Stopped once a stop was requested; for long work on one thread.
    void checkStop() const;
    bool referenceKernels() const { return execution.referenceKernels; }
    const Finish* finish() const { return execution.finish; }
    /// Where the call's large products are to be computed in 8 bits: what is known of their
    /// weights.
    IntegerWeights* integerWeights() const { return execution.integerWeights; }
    SumVectors sumVectors() const { return execution.sumVectors; }
    /// Memory for this call only, 64-byte aligned, uninitialised. One call's requests replace
    /// each other.
    std::byte* scratch(std::size_t bytes) const;
    /// Refuses to take that much memory where a prediction may not.
    void checkScratch(std::size_t bytes) const;
    /// Accounts for memory that loading takes beside the files; throws Error beyond the budget.
    void spend(std::size_t bytes) const;

private:
    /// Refuses numbers that no extent or index has, so that sums and products fit.
    std::int64_t bounded(std::int64_t value) const;
    const std::vector<ValueId>& operand(std::string_view parameter) const;
    ValueId only(std::string_view parameter, std::size_t position) const;

    const OperationKind& kind;
    const Operands& operands;
    int opsetVersion;
    const ValueTable& values;
    std::span<TensorBuffer> outputBuffers;
    const Execution& execution;
};

/// `axis` in [0, rank), negative ones counted from the end; throws Error.
std::size_t wrapAxis(std::int64_t axis, std::size_t rank);

} // namespace vorlin::mil
