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
        completer.complete(compute(frames, inputs, priority, stop));
    } catch (...) {
        completer.fail(std::current_exception());
    }
    return completion;
}

/// Computes so many frames, or all if it is 0.
MLFeatures EngineModel::compute(std::int64_t frames, const MLFeatures& inputs,
                                WorkPriority priority, const StopToken& stop)
{
    const std::scoped_lock mine(turn);
    if (stop.stopRequested()) {
        throw MLStopped();
    }
    if (unanswered) {
        nextReply(stop); // of a prediction that did not stop in time; it still uses the memory
    }
    auto arranged = arrange(inputs, declared);
    const std::uint64_t outputs = arranged.bytes;
    const Descriptor fresh = makeRoom(outputs + expectedOutputs);
    auto place = arranged.tensors.begin();
    for (const auto& [name, array] : inputs) {
        copyIn(array, memory.bytes().data() + (place++)->offset);
    }
    ++sequence;
    ask(engine::PredictRequest{.sequence = sequence,
                               .background = priority == WorkPriority::background,
                               .frames = frames,
                               .memory = fresh ? memory.size() : 0,
                               .outputs = outputs,
                               .inputs = std::move(arranged.tensors)},
        fresh.number());
    const StopCallback stopping(stop, [this] { process->stop(id, sequence); });
    return await(outputs, stop);
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

/// The outputs of the request just made.
MLFeatures EngineModel::await(std::uint64_t outputs, const StopToken& stop)
{
    while (true) {
        const Reply reply = nextReply(stop);
        if (const auto* wanted = std::get_if<engine::NeedsMemoryReply>(&reply)) {
            provide(*wanted, outputs);
        } else if (const auto* done = std::get_if<engine::ComputedReply>(&reply)) {
            auto features = collect(done->outputs, declared, memory.bytes(), outputs);
            if (!features) {
                fail(nonsense);
            }
            return std::move(*features);
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

/// Waits for the answer to the last request.
Reply EngineModel::nextReply(const StopToken& stop)
{
    EnginePatience patience(process->limits.silence, process->limits.longest);
    std::chrono::milliseconds sinceStop{0};
    while (true) {
        const auto received = engine::receive(channel, buffer);
        if (received.what == engine::Received::What::packet) {
            auto reply = received.size <= buffer.size()
                             ? engine::parseReply(std::span(buffer).first(received.size))
                             : std::nullopt;
            if (!reply || sequenceOf(*reply) != sequence) {
                fail(nonsense);
            }
            unanswered = false;
            return std::move(*reply);
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
    const auto packet = engine::encode(request);
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
