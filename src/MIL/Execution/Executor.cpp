#include "MIL/Execution/Executor.h"

#include "MIL/Execution/Chains.h"
#include "MIL/Kernels/Product/IntegerKernels.h"

#include "MIL/Error.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace vorlin::mil {

namespace {

constexpr std::size_t alignment = 64;

} // namespace

std::byte* ZeroedBytes::ensure(std::size_t bytes)
{
    if (data == nullptr || bytes > capacity) {
        // Large blocks come from calloc untouched, so that unused parts cost nothing; the block
        // holds its own start in front of the aligned part.
        data.reset();
        capacity = 0;
        void* const block = std::calloc(1, bytes + 2 * alignment);
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        auto* const start = static_cast<std::byte*>(block) + alignment;
        const auto address = reinterpret_cast<std::uintptr_t>(start);
        std::byte* const aligned = start + (alignment - address % alignment) % alignment;
        std::memcpy(aligned - sizeof(void*), &block, sizeof(void*));
        data.reset(aligned);
        capacity = bytes;
    }
    return data.get();
}

void ZeroedBytes::Release::operator()(std::byte* aligned) const
{
    void* block = nullptr;
    std::memcpy(&block, aligned - sizeof(void*), sizeof(void*));
    std::free(block);
}

Executor::Executor(const Graph& graph, const Settings& settings)
    : graph(graph), settings(settings), values(graph.values),
      foreground(WorkerPool::shared(WorkerPool::Kind::foreground)),
      background(WorkerPool::shared(WorkerPool::Kind::background))
{
    addProcedure(graph.nodes, {});
    for (const Feature& state : graph.states) {
        if (byteCount(state.type) > settings.largestBuffers) {
            throw Error("the state '" + state.name + "' is too large");
        }
    }
    states.resize(graph.states.size());
    execution = {.pool = foreground.get(),
                 .threads = std::max<std::size_t>(settings.threads, 1),
                 .stop = nullptr,
                 .referenceKernels = settings.referenceKernels,
                 .sumVectors = settings.sumVectors,
                 .largestScratch = settings.largestBuffers,
                 .scratch = &scratch};
    // Number by number they would take far longer than in single precision.
    const bool fast = integerKernels().front() != &plainIntegerKernels();
    if (settings.largeProducts == LargeProducts::integers && fast) {
        execution.integerWeights = &integerWeights;
    }
}

void Executor::addProcedure(std::span<const Node> nodes, ShortForm form)
{
    exchange(values, form);
    Procedure procedure{nodes, {}, FinishPlan(nodes.size()), {}, {}};
    if (!settings.referenceKernels) {
        procedure.finishes = planFinishes(nodes, values, graph.outputIds, graph.opset);
    }
    procedure.steps = stepsOf(nodes, values, procedure.finishes);
    procedure.plan = planBuffers(nodes, values, graph.outputIds, procedure.steps);
    exchange(values, form);
    if (procedure.plan.arenaBytes > settings.largestBuffers) {
        throw Error("the program needs " + std::to_string(procedure.plan.arenaBytes >> 20) +
                    " MiB of buffers, more than allowed");
    }
    slots.resize(std::max(slots.size(), procedure.plan.slots));
    procedure.form = std::move(form);
    procedures.push_back(std::move(procedure));
}

void Executor::add(ShorterForms forms)
{
    turnTo(0);
    const auto append = [](auto& to, const auto& from) {
        to.insert(to.end(), from.begin() + static_cast<std::ptrdiff_t>(to.size()), from.end());
    };
    append(values.views, graph.values.views);
    append(values.stored, graph.values.stored);
    append(values.texts, graph.values.texts);
    append(values.constants, graph.values.constants);
    append(values.declared, graph.values.declared);
    shorterNodes = std::move(forms.nodes);
    try {
        for (ShortForm& form : forms.forms) {
            addProcedure(shorterNodes, std::move(form));
        }
    } catch (...) {
        procedures.resize(1);
        throw;
    }
}

std::vector<std::int64_t> Executor::lengths() const
{
    std::vector<std::int64_t> result;
    for (std::size_t i = 1; i < procedures.size(); ++i) {
        result.push_back(procedures[i].form.length);
    }
    return result;
}

/// Makes the table of values that of the full length (0) or of a form that was added.
void Executor::turnTo(std::int64_t length)
{
    const auto wanted = std::find_if(procedures.begin(), procedures.end(),
                                     [&](const Procedure& p) { return p.form.length == length; });
    const auto next = static_cast<std::size_t>(wanted - procedures.begin());
    if (next != current) {
        exchange(values, procedures[current].form);
        exchange(values, procedures[next].form);
        current = next;
    }
}

const TensorView& Executor::output(std::size_t position) const
{
    return values.views[graph.outputIds[position]];
}

std::size_t Executor::heldBytes() const
{
    std::size_t sum = arena.size() + scratch.size() + integerWeights.bytes();
    for (const ZeroedBytes& slot : slots) {
        sum += slot.size();
    }
    for (const ZeroedBytes& state : states) {
        sum += state.size();
    }
    return sum;
}

void Executor::run(std::span<const TensorView> inputs, std::int64_t length,
                   const std::atomic<bool>* stop, WorkerPool::Kind urgency)
{
    turnTo(length);
    const std::span<const Node> nodes = procedures[current].nodes;
    const std::vector<std::size_t>& steps = procedures[current].steps;
    execution.stop = stop;
    execution.pool = (urgency == WorkerPool::Kind::background ? background : foreground).get();
    const WorkerPool::Expectation expectation(*execution.pool);
    arena.ensure(procedures[current].plan.arenaBytes + alignment);
    for (std::size_t i = 0; i < states.size(); ++i) {
        const std::size_t bytes = std::max<std::size_t>(byteCount(graph.states[i].type), 1);
        values.views[graph.stateIds[i]].data = states[i].ensure(bytes);
    }
    static constexpr std::byte nothing[alignment] = {};
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        TensorView& view = values.views[graph.inputIds[i]];
        view = inputs[i];
        if (view.data == nullptr) {
            view.data = nothing; // an empty tensor is known, too
        }
    }
    for (std::size_t first = 0; first < nodes.size();) {
        const auto end =
            std::find_if(steps.begin() + static_cast<std::ptrdiff_t>(first), steps.end(),
                         [&](std::size_t step) { return step != steps[first]; });
        const auto last = static_cast<std::size_t>(end - steps.begin());
        runStep(first, last);
        first = last;
    }
}

bool Executor::prepare(std::size_t piece, const std::atomic<bool>& stop)
{
    turnTo(0);
    const std::span<const Node> nodes = procedures.front().nodes;
    if (piece == 0) {
        foreground->run(execution.threads, execution.threads, [](std::size_t) {});
        const std::size_t bytes = procedures.front().plan.arenaBytes + alignment;
        if (arena.size() < bytes) {
            std::memset(arena.ensure(bytes), 0, bytes);
        }
        return !nodes.empty();
    }
    const Node& node = nodes[piece - 1];
    if (node.kind->prepare != nullptr && node.known) {
        outputs.clear();
        execution.stop = &stop;
        execution.pool = background.get();
        try {
            node.kind->prepare(
                {*node.kind, node.operands, graph.opset, values, outputs, execution});
        } catch (const Stopped&) { // NOLINT(bugprone-empty-catch): somebody wants to get on
        } catch (const Error&) {   // NOLINT(bugprone-empty-catch): predictions will say so
        }
        execution.stop = nullptr;
    }
    return piece < nodes.size();
}

/// Runs the nodes [first, last).
void Executor::runStep(std::size_t first, std::size_t last)
{
    if (execution.mustStop()) {
        throw Stopped();
    }
    const std::span<const Node> nodes = procedures[current].nodes;
    const Node& node = nodes[first];
    const auto start =
        timing ? std::chrono::steady_clock::now() : std::chrono::steady_clock::time_point();
    outputs.clear();
    try {
        if (last - first == 1) {
            runNode(node);
        } else if (!procedures[current].finishes[first].empty()) {
            runFinished(first, last);
        } else {
            runChain(first, last);
        }
    } catch (const Error& error) {
        throw Error("model.mil:" + std::to_string(node.line) + ": " + error.what());
    }
    if (timing) {
        std::string name(node.kind->name);
        for (std::size_t i = first + 1; i < last; ++i) {
            name += " " + std::string(nodes[i].kind->name);
        }
        OperationTime& entry = timeByKind[name];
        ++entry.calls;
        entry.time += std::chrono::steady_clock::now() - start;
    }
}

void Executor::runChain(std::size_t first, std::size_t last)
{
    const std::span<const Node> nodes = procedures[current].nodes;
    for (std::size_t i = first; i < last; ++i) {
        place(nodes[i]);
    }
    const auto callOf = [&](std::size_t i) {
        const Node& node = nodes[i];
        return Call(*node.kind, node.operands, graph.opset, values,
                    std::span(outputs).subspan(i - first, 1), execution);
    };
    const auto task = [&](std::int64_t begin, std::int64_t end) {
        for (std::size_t i = first; i < last; ++i) {
            nodes[i].kind->part(callOf(i), begin, end);
        }
    };
    callOf(first).parallel(elementCount(outputs.front().shape()), partLength, task);
}

/// A product that puts what its finish makes of its results where the last operation's are to be.
void Executor::runFinished(std::size_t first, std::size_t last)
{
    const std::span<const Node> nodes = procedures[current].nodes;
    for (std::size_t i = first; i < last; ++i) {
        place(nodes[i]);
    }
    finish.reset(outputs.front().type.element);
    for (const PlannedLink& link : procedures[current].finishes[first]) {
        finish.add(
            {link.link, link.binary ? values.views[link.other] : TensorView{}, link.otherFirst});
    }
    const Node& node = nodes[first];
    execution.finish = &finish;
    const struct Ended {
        Execution& execution;
        ~Ended() { execution.finish = nullptr; }
    } ended{execution};
    node.kind->compute(
        {*node.kind, node.operands, graph.opset, values, std::span(outputs).last(1), execution});
}

void Executor::runNode(const Node& node)
{
    using Nature = OperationKind::Nature;
    if (!node.known) {
        inferOutputs(node);
    }
    if (node.kind->nature == Nature::alias) {
        values.views[node.outputs.front()].data = values.views[node.operands.front().front()].data;
        return;
    }
    place(node);
    if (node.kind->nature == Nature::readsState || node.kind->nature == Nature::writesState) {
        transferState(node);
        return;
    }
    node.kind->compute({*node.kind, node.operands, graph.opset, values, outputs, execution});
}

/// Shapes that only this prediction knows.
void Executor::inferOutputs(const Node& node)
{
    inferred.clear();
    outputs.clear();
    for (ValueId id : node.outputs) {
        outputs.push_back({graph.values.views[id].type, nullptr});
    }
    node.kind->infer({*node.kind, node.operands, graph.opset, values, outputs, execution},
                     inferred);
    outputs.clear();
    if (inferred.size() != node.outputs.size()) {
        throw Error("operation '" + std::string(node.kind->name) + "' has " +
                    std::to_string(inferred.size()) + " outputs");
    }
    for (std::size_t i = 0; i < inferred.size(); ++i) {
        const ValueId id = node.outputs[i];
        const TensorType& declared = graph.values.views[id].type;
        const std::string wrong = disagreement(declared, inferred[i]);
        if (!wrong.empty() && (!graph.slipped[id] || inferred[i].element != declared.element)) {
            throw Error("an output " + wrong);
        }
        values.views[id].type = inferred[i];
    }
}

void Executor::place(const Node& node)
{
    for (ValueId id : node.outputs) {
        TensorView& view = values.views[id];
        std::byte* const data = home(id, byteCount(view.type));
        view.data = data;
        outputs.push_back({view.type, data});
    }
}

std::byte* Executor::home(ValueId id, std::size_t bytes)
{
    const BufferPlan::Home& where = procedures[current].plan.homes[id];
    if (where.place == BufferPlan::Place::arena) {
        return arena.ensure(0) + where.index;
    }
    if (bytes > settings.largestBuffers) {
        throw Error("a buffer of " + std::to_string(bytes >> 20) + " MiB is more than allowed");
    }
    return slots[where.index].ensure(std::max<std::size_t>(bytes, alignment));
}

void Executor::transferState(const Node& node)
{
    // The state is the operand `input`, which stands first in both signatures.
    const ValueId id = node.operands.front().front();
    const auto position = static_cast<std::size_t>(
        std::find(graph.stateIds.begin(), graph.stateIds.end(), id) - graph.stateIds.begin());
    const std::size_t bytes = byteCount(graph.states[position].type);
    std::byte* const state = states[position].ensure(bytes);
    if (node.kind->nature == OperationKind::Nature::readsState) {
        std::memcpy(outputs.front().data, state, bytes);
        return;
    }
    const TensorView& data = values.views[node.operands[1].front()];
    if (data.type != graph.states[position].type) {
        throw Error("operation 'write_state' gets " + describe(data.type) + " for a state of " +
                    describe(graph.states[position].type));
    }
    std::memcpy(state, data.data, bytes);
}

} // namespace vorlin::mil
