#include "ServedModel.h"

#include "Translation.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <span>
#include <thread>
#include <utility>

namespace vorlin::engine {

namespace {

/// Whether `name` names an entry of a folder, and nothing elsewhere.
bool isPlainName(const std::string& name)
{
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

/// The model does not know a length that it was asked for.
class NoSuchLength : public mil::Error {
public:
    using mil::Error::Error;
};

/// What `compute` answers, or what it failed with.
template <class Compute>
Reply answerOf(std::uint64_t sequence, const Compute& compute)
{
    try {
        return compute();
    } catch (const mil::Stopped&) {
        return StoppedReply{sequence};
    } catch (const std::bad_alloc&) {
        return FailedReply{sequence, "there is not enough memory for the model"};
    } catch (const NoSuchLength& failure) {
        return FailedReply{sequence, failure.what(), true};
    } catch (const std::exception& failure) {
        return FailedReply{sequence, failure.what()};
    }
}

} // namespace

ServedModel::ServedModel(Descriptor channel, LoadRequest request, BackgroundLane& lane)
    : channel(std::move(channel)), request(std::move(request)), lane(lane)
{
}

void ServedModel::serve()
{
    bool loaded = false;
    if (request.background) {
        // Not on this thread, whose priority could never be raised again.
        std::thread([&] {
            lowerOwnPriority();
            loaded = load();
        }).join();
    } else {
        loaded = load();
    }
    if (!loaded) {
        return;
    }
    std::vector<std::byte> buffer(largestMessage);
    while (true) {
        Received received = receiveAttached(channel, buffer);
        if (received.what != Received::What::packet || received.size > buffer.size()) {
            return;
        }
        const auto message = parseModelRequest(std::span(buffer).first(received.size));
        const auto goesOn = [&](const auto& asked) { return answer(asked, received.attached); };
        if (!message || !std::visit(goesOn, *message)) {
            return;
        }
    }
}

void ServedModel::stop(std::uint64_t sequence)
{
    const std::scoped_lock guard(lock);
    lastToStop = std::max(lastToStop, sequence);
    if (lastBegun == sequence) {
        stopping = true;
    }
}

bool ServedModel::load()
{
    const Reply answer = answerOf(0, [&]() -> Reply {
        if (request.version != protocolVersion) {
            throw mil::Error("Vorlin was replaced while it ran; start it again");
        }
        if (!isPlainName(request.bundle)) {
            throw mil::Error("the bundle's name leaves the model folder");
        }
        // Where links may lead was decided before the confinement, which holds now.
        model = mil::Model::load(request.bundle, {.threads = std::max(1U, request.threads),
                                                  .linksOut = mil::LinksOut::followed});
        const LoadedReply signature = signatureOf(*model);
        if (encode(Reply(signature)).empty()) {
            throw mil::Error("the model has more inputs, outputs or shapes than can be used");
        }
        return signature;
    });
    reply(answer);
    return std::holds_alternative<LoadedReply>(answer);
}

bool ServedModel::answer(const PredictRequest& asked, Descriptor& attached)
{
    held.clear();
    if (asked.memory > 0 && !take(attached, asked.memory)) {
        return false;
    }
    std::optional<Reply> result;
    const auto compute = [&] { result = answerOf(asked.sequence, [&] { return predict(asked); }); };
    if (asked.background) {
        lane.run(compute);
    } else {
        compute();
    }
    reply(*result);
    return true;
}

bool ServedModel::answer(const ResumeRequest& asked, Descriptor& attached)
{
    if (!take(attached, asked.memory)) {
        return false;
    }
    reply(placed(asked.sequence, asked.outputs));
    return true;
}

/// The shared memory from now on.
bool ServedModel::take(Descriptor& attached, std::uint64_t bytes)
{
    auto mapped = SharedMemory::map(attached, bytes);
    attached.close();
    if (mapped) {
        memory = std::move(*mapped);
    }
    return mapped.has_value();
}

Reply ServedModel::predict(const PredictRequest& asked)
{
    begin(asked.sequence);
    held = compute(asked);
    return placed(asked.sequence, asked.outputs);
}

std::vector<mil::NamedOutput> ServedModel::compute(const PredictRequest& asked)
{
    const auto urgency = asked.background ? mil::Urgency::background : mil::Urgency::foreground;
    if (asked.frames == 0) {
        return model->predict(inputsOf(asked), &stopping, urgency);
    }
    const Frames& frames = request.frames;
    if (frames.data.empty()) {
        throw NoSuchLength("the model was loaded for its full length only");
    }
    // The first time; afterwards it only says what it said.
    const std::string why =
        model->shorten({frames.data, frames.axis, frames.length}, frames.lengths);
    if (!why.empty()) {
        throw NoSuchLength(why);
    }
    const auto known = model->shorterLengths();
    if (std::ranges::find(known, asked.frames) == known.end()) {
        throw NoSuchLength("the model cannot compute at length " + std::to_string(asked.frames));
    }
    return model->predictAt(asked.frames, inputsOf(asked), &stopping, urgency);
}

std::vector<mil::NamedInput> ServedModel::inputsOf(const PredictRequest& asked) const
{
    std::vector<mil::NamedInput> inputs;
    const auto& declared = model->inputs();
    for (const auto& tensor : asked.inputs) {
        const auto element = computed(tensor.element);
        if (tensor.feature >= declared.size() || !element ||
            !liesWithin(tensor, 0, memory.size())) {
            throw mil::Error("a request makes no sense");
        }
        mil::Shape shape;
        for (const auto extent : tensor.shape) {
            shape.push(extent);
        }
        inputs.push_back({declared[tensor.feature].name,
                          {{*element, shape}, memory.bytes().data() + tensor.offset}});
    }
    return inputs;
}

void ServedModel::begin(std::uint64_t sequence)
{
    const std::scoped_lock guard(lock);
    lastBegun = sequence;
    stopping = lastToStop >= sequence;
}

/// Puts the held outputs into the shared memory, from `begin` on, if they fit.
Reply ServedModel::placed(std::uint64_t sequence, std::uint64_t begin)
{
    ComputedReply done{.sequence = sequence, .outputs = {}};
    std::uint64_t end = aligned(begin);
    for (std::size_t i = 0; i < held.size(); ++i) {
        const Element element = crossing(held[i].type.element);
        if (element != Element::other) {
            const auto& shape = held[i].type.shape;
            done.outputs.push_back(
                {static_cast<std::uint32_t>(i), element, {shape.begin(), shape.end()}, end});
            end = aligned(end + held[i].bytes.size());
        }
    }
    if (end > largestMemory) {
        held.clear();
        return FailedReply{sequence, "the model's answer is too large"};
    }
    if (end > memory.size()) {
        return NeedsMemoryReply{sequence, end - aligned(begin)};
    }
    for (const auto& tensor : done.outputs) {
        const auto& bytes = held[tensor.feature].bytes;
        if (!bytes.empty()) {
            std::memcpy(memory.bytes().data() + tensor.offset, bytes.data(), bytes.size());
        }
    }
    held.clear();
    return done;
}

void ServedModel::reply(const Reply& message)
{
    // If it cannot be sent, the program is gone and this process with it.
    send(channel, encode(message), -1, Waiting::yes);
}

} // namespace vorlin::engine
