#pragma once

#include "MIL/Execution/BufferPlan.h"
#include "MIL/Execution/WorkerPool.h"
#include "MIL/Graph/Graph.h"

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
        /// No prediction takes more buffer memory than this; beyond it fails with Error.
        std::size_t largestBuffers = 0;
    };

    Executor(const Graph& graph, const Settings& settings);

    /// Inputs by position of `graph.inputs`, their types already checked. Afterwards `output`
    /// shows the results, until the next call. Throws Error or Stopped; states then keep what
    /// was written so far.
    void run(std::span<const TensorView> inputs, const std::atomic<bool>* stop,
             WorkerPool::Kind urgency = WorkerPool::Kind::foreground);

    const TensorView& output(std::size_t position) const;

    /// Bytes the planned buffers take.
    std::size_t plannedBytes() const { return plan.arenaBytes; }
    /// Bytes of all buffers, scratch memory and states as they are now.
    std::size_t heldBytes() const;

    void collectTimes(bool collect) { timing = collect; }
    const std::map<std::string, OperationTime>& times() const { return timeByKind; }

private:
    void place(const Node& node);
    void inferOutputs(const Node& node);
    void runStep(std::size_t first, std::size_t last);
    void runNode(const Node& node);
    void runChain(std::size_t first, std::size_t last);
    void transferState(const Node& node);
    std::byte* home(ValueId id, std::size_t bytes);

    const Graph& graph;
    Settings settings;
    std::vector<std::size_t> steps;
    BufferPlan plan;
    ValueTable values;
    ZeroedBytes arena;
    std::vector<ZeroedBytes> slots;
    std::vector<ZeroedBytes> states; // empty until the first prediction
    std::vector<std::byte> scratch;
    std::shared_ptr<WorkerPool> foreground;
    std::shared_ptr<WorkerPool> background;
    Execution execution;
    std::vector<TensorBuffer> outputs; // of the nodes that run
    std::vector<TensorType> inferred;  // of the node that runs
    bool timing = false;
    std::map<std::string, OperationTime> timeByKind;
};

} // namespace vorlin::mil
