#pragma once

#include "MIL/Execution/BufferPlan.h"
#include "MIL/Execution/Finishing.h"
#include "MIL/Execution/WorkerPool.h"
#include "MIL/Graph/Graph.h"
#include "MIL/Kernels/Product/IntegerWeights.h"
#include "MIL/LargeProducts.h"
#include "MIL/Lengths/ShorterForms.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vorlin::mil {

/// Bytes that come zeroed and cost memory only where they are touched.
class ZeroedBytes {
public:
    ZeroedBytes() = default;
    /// At least `bytes`, 64-byte aligned; forgets what was there if it has to grow.
    std::byte* ensure(std::size_t bytes);
    std::size_t size() const { return capacity; }

private:
    struct Release {
        void operator()(std::byte* data) const;
    };
    std::unique_ptr<std::byte, Release> data;
    std::size_t capacity = 0;
};

/// Time spent in the operations of one kind; chains of operations are kinds of their own.
struct OperationTime {
    std::size_t calls = 0;
    std::chrono::nanoseconds time{0};
};

/// Computes one graph, prediction after prediction, in memory that it keeps. One thread at a
/// time.
class Executor {
public:
    struct Settings {
        std::size_t threads = 1;
        bool referenceKernels = false;
        SumVectors sumVectors = SumVectors::fitting;
        LargeProducts largeProducts = LargeProducts::singlePrecision;
        /// No prediction takes more buffer memory than this; beyond it fails with Error.
        std::size_t largestBuffers = 0;
    };

    Executor(const Graph& graph, const Settings& settings);

    /// From now on computes these forms, too, which solving has added to the graph. Once.
    void add(ShorterForms forms);
    /// The lengths of those, ascending as they were added.
    std::vector<std::int64_t> lengths() const;

    /// Inputs by position of `graph.inputs`, their types already checked: those of the full
    /// length, or of the form `length` if it is not 0. Afterwards `output` shows the results,
    /// until the next call. Throws Error or Stopped; states then keep what was written so far.
    void run(std::span<const TensorView> inputs, std::int64_t length, const std::atomic<bool>* stop,
             WorkerPool::Kind urgency = WorkerPool::Kind::foreground);

    /// Makes one piece of what the first prediction at full length would make and later ones keep,
    /// counted from 0. False behind the last one.
    bool prepare(std::size_t piece, const std::atomic<bool>& stop);

    const TensorView& output(std::size_t position) const;

    /// Bytes the planned buffers take.
    std::size_t plannedBytes() const { return procedures.front().plan.arenaBytes; }
    /// Bytes of all buffers, scratch memory and states as they are now.
    std::size_t heldBytes() const;

    void collectTimes(bool collect) { timing = collect; }
    const std::map<std::string, OperationTime>& times() const { return timeByKind; }

private:
    /// One way through the program: at its full length, or at another.
    struct Procedure {
        std::span<const Node> nodes;
        ShortForm form; // empty at the full length
        FinishPlan finishes;
        std::vector<std::size_t> steps;
        BufferPlan plan;
    };

    void addProcedure(std::span<const Node> nodes, ShortForm form);
    void turnTo(std::int64_t length);
    void place(const Node& node);
    void inferOutputs(const Node& node);
    void runStep(std::size_t first, std::size_t last);
    void runNode(const Node& node);
    void runChain(std::size_t first, std::size_t last);
    void runFinished(std::size_t first, std::size_t last);
    void transferState(const Node& node);
    std::byte* home(ValueId id, std::size_t bytes);

    const Graph& graph;
    Settings settings;
    ValueTable values; // as the current procedure has them
    std::vector<Node> shorterNodes;
    std::vector<Procedure> procedures; // the first is that of the full length
    std::size_t current = 0;
    ZeroedBytes arena; // for all of them
    std::vector<ZeroedBytes> slots;
    std::vector<ZeroedBytes> states; // empty until the first prediction
    std::vector<std::byte> scratch;
    std::shared_ptr<WorkerPool> foreground;
    std::shared_ptr<WorkerPool> background;
    IntegerWeights integerWeights;
    Execution execution;
    Finish finish;                     // of the product that runs
    std::vector<TensorBuffer> outputs; // of the nodes that run
    std::vector<TensorType> inferred;  // of the node that runs
    bool timing = false;
    std::map<std::string, OperationTime> timeByKind;
};

} // namespace vorlin::mil
