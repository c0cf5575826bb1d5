#include "Platform/Linux/Engine/EngineModel.h"

#include "Platform/Linux/Engine/EnginePatience.h"

#include <exception>
#include <span>
#include <utility>

namespace vorlin {

using engine::Reply;

namespace {

constexpr const char* nonsense = "The speech engine answered nonsense.";

/// The number of the request that a reply answers.
std::uint64_t sequenceOf(const Reply& reply)
{
    return std::visit(
        [](const auto& message) -> std::uint64_t {
            if constexpr (requires { message.sequence; }) {
                return message.sequence;
            } else {
                return 0;
            }
        },
        reply);
}

} // namespace

EngineModel::EngineModel(std::shared_ptr<EngineProcess> process, std::uint32_t id,
                         Descriptor channel, MLSignature signature)
    : process(std::move(process)), id(id), channel(std::move(channel)),
      declared(std::move(signature)), expectedOutputs(expectedBytes(declared.outputs)),
      buffer(engine::largestMessage)
{
}

EngineModel::~EngineModel()
{
    if (unanswered) {
        process->stop(id, sequence); // so that the rest of the process has the processor
    }
}

Completion<MLFeatures> EngineModel::predict(const MLFeatures& inputs, WorkPriority priority,
                                            StopToken stop)
{
    return predictAt(0, inputs, priority, std::move(stop));
}

Completion<MLFeatures> EngineModel::predictAt(std::int64_t frames, const MLFeatures& inputs,
                                              WorkPriority priority, StopToken stop)
{
    Completion<MLFeatures> completion;
    const auto completer = completion.completer();
    try {
        MLFeatures outputs;
        compute(frames, inputs, outputs, priority, stop);
        completer.complete(std::move(outputs));
    } catch (...) {
        completer.fail(std::current_exception());
    }
    return completion;
}

bool EngineModel::predictInto(MLFeatures& outputs, const MLFeatures& inputs, WorkPriority priority,
                              const StopToken& stop)
{
    compute(0, inputs, outputs, priority, stop);
    return true;
}

/// Computes so many frames, or all if it is 0.
void EngineModel::compute(std::int64_t frames, const MLFeatures& inputs, MLFeatures& outputs,
                          WorkPriority priority, const StopToken& stop)
{
    const std::scoped_lock mine(turn);
    if (stop.stopRequested()) {
        throw MLStopped();
    }
    if (unanswered) {
        nextReply(stop); // of a prediction that did not stop in time; it still uses the memory
    }
    auto& asked = std::get<engine::PredictRequest>(prediction);
    if (!areArrangedAs(asked.inputs, inputs, declared)) {
        auto arranged = arrange(inputs, declared);
        asked.inputs = std::move(arranged.tensors);
        asked.outputs = arranged.bytes;
    }
    const Descriptor fresh = makeRoom(asked.outputs + expectedOutputs);
    auto place = asked.inputs.begin();
    for (const auto& [name, array] : inputs) {
        copyIn(array, memory.bytes().data() + (place++)->offset);
    }
    asked.sequence = ++sequence;
    asked.background = priority == WorkPriority::background;
    asked.frames = frames;
    asked.memory = fresh ? memory.size() : 0;
    ask(prediction, fresh.number());
    const StopCallback stopping(stop, [this] { process->stop(id, sequence); });
    await(asked.outputs, outputs, stop);
}

/// Makes the shared memory at least that large. Returns what the engine must be handed if it is
/// new.
Descriptor EngineModel::makeRoom(std::uint64_t bytes)
{
    constexpr std::uint64_t page = 4096;
    const std::uint64_t wanted = std::max(page, (bytes + page - 1) / page * page);
    if (wanted <= memory.size()) {
        return {};
    }
    auto created =
        wanted <= engine::largestMemory ? engine::SharedMemory::create(wanted) : std::nullopt;
    if (!created) {
        throw std::runtime_error("there is not enough memory for the tensors");
    }
    memory = std::move(created->first);
    return std::move(created->second);
}

/// The outputs of the request just made, which lie in the shared memory from `begin` on.
void EngineModel::await(std::uint64_t begin, MLFeatures& outputs, const StopToken& stop)
{
    while (true) {
        const Reply& reply = nextReply(stop);
        if (const auto* wanted = std::get_if<engine::NeedsMemoryReply>(&reply)) {
            provide(*wanted, begin);
        } else if (const auto* done = std::get_if<engine::ComputedReply>(&reply)) {
            if (!collect(done->outputs, declared, memory.bytes(), begin, outputs)) {
                fail(nonsense);
            }
            return;
        } else if (std::holds_alternative<engine::StoppedReply>(reply)) {
            throw MLStopped();
        } else {
            const auto& failed = std::get<engine::FailedReply>(reply);
            if (failed.noSuchLength) {
                throw MLNoSuchLength(shown(failed.text));
            }
            throw std::runtime_error(shown(failed.text));
        }
    }
}

/// Waits for the answer to the last request; it stays until the next one.
const Reply& EngineModel::nextReply(const StopToken& stop)
{
    EnginePatience patience(process->limits.silence, process->limits.longest);
    std::chrono::milliseconds sinceStop{0};
    while (true) {
        const auto received = engine::receive(channel, buffer);
        if (received.what == engine::Received::What::packet) {
            const auto* const reply = received.size <= buffer.size()
                                          ? replies.read(std::span(buffer).first(received.size))
                                          : nullptr;
            if (reply == nullptr || sequenceOf(*reply) != sequence) {
                fail(nonsense);
            }
            unanswered = false;
            return *reply;
        }
        if (received.what == engine::Received::What::end) {
            lost();
        }
        if (process->ended()) {
            lost(); // the kernel may not let go of it yet
        }
        if (patience.endsAfterTick(process->processorTime())) {
            fail("The speech engine stopped responding.");
        }
        sinceStop += stop.stopRequested() ? engineTick : std::chrono::milliseconds(0);
        if (sinceStop >= process->limits.stopping) {
            throw MLStopped();
        }
    }
}

void EngineModel::provide(const engine::NeedsMemoryReply& wanted, std::uint64_t outputs)
{
    if (wanted.bytes > engine::largestMemory - outputs) {
        fail(nonsense);
    }
    // The inputs have been computed with; nothing is kept.
    const Descriptor fresh = makeRoom(outputs + wanted.bytes);
    if (!fresh) {
        fail(nonsense); // there was room
    }
    ask(engine::ResumeRequest{.sequence = sequence, .memory = memory.size(), .outputs = outputs},
        fresh.number());
}

void EngineModel::ask(const engine::ModelRequest& request, int attached)
{
    packet = engine::encode(request, std::move(packet));
    if (packet.empty() || !engine::send(channel, packet, attached, engine::Waiting::no)) {
        lost();
    }
    unanswered = true;
}

void EngineModel::lost()
{
    const auto why = process->lastWords();
    process->end(why); // if it lives on without this model, it is of no use
    throw MLModelLost(why);
}

void EngineModel::fail(const std::string& reason)
{
    process->end(reason);
    throw MLModelLost(process->lastWords());
}

} // namespace vorlin
