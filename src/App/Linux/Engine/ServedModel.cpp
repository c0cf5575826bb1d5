#include "ServedModel.h"

#include "Translation.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <span>
#include <system_error>
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

/// Gets a model ready for its first prediction as long as it lives, giving way to all ordinary
/// work.
class Preparation {
public:
    explicit Preparation(std::shared_ptr<const mil::Model> model)
    {
        try {
            // Nobody waits for the thread, which may hang on a disk; the model goes with the last.
            std::thread([state = state, model = std::move(model)] {
                lowerOwnPriority();
                try {
                    model->readWeights(state->ended);
                    model->prepare(state->asked);
                } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
                    // Too little memory: predictions will say so.
                }
            }).detach();
        } catch (const std::system_error&) { // NOLINT(bugprone-empty-catch)
            // No thread is left: predictions make what they need.
        }
    }
    Preparation(const Preparation&) = delete;
    Preparation& operator=(const Preparation&) = delete;
    ~Preparation()
    {
        state->ended = true;
        state->asked = true;
    }

    /// From the first request on, predictions make what they need: none shall wait for the rest.
    void giveWay() { state->asked = true; }

private:
    struct State {
        std::atomic<bool> ended = false;
        std::atomic<bool> asked = false;
    };
    const std::shared_ptr<State> state = std::make_shared<State>();
};

/// Calls `compute`, which makes `reply` what it answers; else that becomes what it failed with.
template <class Compute>
void answer(Reply& reply, std::uint64_t sequence, const Compute& compute)
{
    try {
        compute();
    } catch (const mil::Stopped&) {
        reply = StoppedReply{sequence};
    } catch (const std::bad_alloc&) {
        reply = FailedReply{sequence, "there is not enough memory for the model"};
    } catch (const NoSuchLength& failure) {
        reply = FailedReply{sequence, failure.what(), true};
    } catch (const std::exception& failure) {
        reply = FailedReply{sequence, failure.what()};
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
    Preparation preparation(model);
    std::vector<std::byte> buffer(largestMessage);
    RepeatedRequests requests;
    while (true) {
        Received received = receiveAttached(channel, buffer);
        if (received.what != Received::What::packet || received.size > buffer.size()) {
            return;
        }
        preparation.giveWay();
        const auto* const message = requests.read(std::span(buffer).first(received.size));
        const auto goesOn = [&](const auto& asked) { return follow(asked, received.attached); };
        if (message == nullptr || !std::visit(goesOn, *message)) {
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
    answer(reply, 0, [&] {
        if (request.version != protocolVersion) {
            throw mil::Error("Vorlin was replaced while it ran; start it again");
        }
        if (!isPlainName(request.bundle)) {
            throw mil::Error("the bundle's name leaves the model folder");
        }
        // Where links may lead was decided before the confinement, which holds now.
        model = std::make_shared<mil::Model>(mil::Model::load(
            request.bundle,
            {.threads = std::max(1U, request.threads),
             .linksOut = mil::LinksOut::followed,
             .largeProducts = request.integers ? mil::LargeProducts::integers
                                               : mil::LargeProducts::singlePrecision}));
        reply = signatureOf(*model);
        if (encode(reply).empty()) {
            throw mil::Error("the model has more inputs, outputs or shapes than can be used");
        }
    });
    sendReply();
    return std::holds_alternative<LoadedReply>(reply);
}

bool ServedModel::follow(const PredictRequest& asked, Descriptor& attached)
{
    held.clear();
    if (asked.memory > 0 && !take(attached, asked.memory)) {
        return false;
    }
    const auto compute = [&] { answer(reply, asked.sequence, [&] { predict(asked); }); };
    if (asked.background) {
        lane.run(std::cref(compute)); // a copy might take memory
    } else {
        compute();
    }
    sendReply();
    return true;
}

bool ServedModel::follow(const ResumeRequest& asked, Descriptor& attached)
{
    if (!take(attached, asked.memory)) {
        return false;
    }
    std::vector<mil::TensorView> outputs;
    for (const auto& [type, bytes] : held) {
        outputs.push_back({type, bytes.data()});
    }
    if (place(asked.sequence, asked.outputs, outputs)) {
        held.clear();
    }
    sendReply();
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

void ServedModel::predict(const PredictRequest& asked)
{
    begin(asked.sequence);
    if (asked.frames != 0) {
        checkLength(asked.frames);
    }
    arrangeInputs(asked);
    model->predict(
        asked.frames, inputs,
        [&](std::span<const mil::TensorView> outputs) {
            if (!place(asked.sequence, asked.outputs, outputs)) {
                hold(outputs);
            }
        },
        &stopping, asked.background ? mil::Urgency::background : mil::Urgency::foreground);
}

/// Throws unless the model computes at that length.
void ServedModel::checkLength(std::int64_t frames)
{
    const Frames& known = request.frames;
    if (known.data.empty()) {
        throw NoSuchLength("the model was loaded for its full length only");
    }
    // The first time; afterwards it only says what it said.
    const std::string why = model->shorten({known.data, known.axis, known.length}, known.lengths);
    if (!why.empty()) {
        throw NoSuchLength(why);
    }
    const auto lengths = model->shorterLengths();
    if (std::ranges::find(lengths, frames) == lengths.end()) {
        throw NoSuchLength("the model cannot compute at length " + std::to_string(frames));
    }
}

void ServedModel::arrangeInputs(const PredictRequest& asked)
{
    inputs.clear();
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
}

void ServedModel::begin(std::uint64_t sequence)
{
    const std::scoped_lock guard(lock);
    lastBegun = sequence;
    stopping = lastToStop >= sequence;
}

/// Puts outputs into the shared memory, from `begin` on, and makes `reply` say so, or why not.
/// False if they are to be kept until there is room.
bool ServedModel::place(std::uint64_t sequence, std::uint64_t begin,
                        std::span<const mil::TensorView> outputs)
{
    if (!std::holds_alternative<ComputedReply>(reply)) {
        reply = ComputedReply{};
    }
    auto& done = std::get<ComputedReply>(reply); // whose memory serves again
    done.sequence = sequence;
    std::uint64_t end = aligned(begin);
    std::size_t count = 0;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const Element element = crossing(outputs[i].type.element);
        if (element != Element::other) {
            done.outputs.resize(std::max(done.outputs.size(), count + 1));
            auto& tensor = done.outputs[count++];
            tensor.feature = static_cast<std::uint32_t>(i);
            tensor.element = element;
            tensor.shape.assign(outputs[i].shape().begin(), outputs[i].shape().end());
            tensor.offset = end;
            end = aligned(end + byteCount(outputs[i].type));
        }
    }
    done.outputs.resize(count);
    if (end > largestMemory) {
        reply = FailedReply{sequence, "the model's answer is too large"};
        return true;
    }
    if (end > memory.size()) {
        reply = NeedsMemoryReply{sequence, end - aligned(begin)};
        return false;
    }
    for (const auto& tensor : done.outputs) {
        const auto& output = outputs[tensor.feature];
        const std::size_t bytes = byteCount(output.type);
        if (bytes > 0) {
            // An output may be an input as it came.
            std::memmove(memory.bytes().data() + tensor.offset, output.data, bytes);
        }
    }
    return true;
}

void ServedModel::hold(std::span<const mil::TensorView> outputs)
{
    for (const auto& output : outputs) {
        held.push_back({output.type, {output.data, output.data + byteCount(output.type)}});
    }
}

void ServedModel::sendReply()
{
    packet = encode(reply, std::move(packet));
    // If it cannot be sent, the program is gone and this process with it.
    send(channel, packet, -1, Waiting::yes);
}

} // namespace vorlin::engine
