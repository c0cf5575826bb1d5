// An engine process in the hands of an attacker: it answers in whatever way the bundle's name
// says. The first answer is a signature of one input, `x`, and two outputs, `y` and `z`, of two
// numbers each; a third output is of a type that does not cross.
#include "Platform/Linux/Engine/Wire/Channel.h"
#include "Platform/Linux/Engine/Wire/Messages.h"
#include "Platform/Linux/Engine/Wire/Startup.h"

#include <unistd.h>

#include <array>
#include <functional>
#include <limits>
#include <map>
#include <span>
#include <string>
#include <thread>
#include <utility>

namespace {

using namespace vorlin::engine;
using vorlin::Descriptor;

Feature twoNumbers(std::string name)
{
    return {.name = std::move(name),
            .element = Element::float32,
            .optional = false,
            .shapes = {{{2, 2}}}};
}

LoadedReply signature()
{
    Feature text = twoNumbers("text");
    text.element = Element::other;
    return {{twoNumbers("x")}, {twoNumbers("y"), twoNumbers("z"), text}};
}

const Tensor y{0, Element::float32, {2}, 64};
const Tensor z{1, Element::float32, {2}, 128};

using Answer = std::function<Packet(const PredictRequest&)>;

Answer outputs(const std::vector<Tensor>& tensors)
{
    return [=](const PredictRequest& asked) {
        return encode(Reply(ComputedReply{asked.sequence, tensors}));
    };
}

/// Answers to a prediction, by name.
const std::map<std::string, Answer>& answers()
{
    static const auto with = [](Element element, std::vector<std::int64_t> shape,
                                std::uint64_t offset) {
        return outputs({{0, element, std::move(shape), offset}, z});
    };
    constexpr std::uint64_t far = std::numeric_limits<std::uint64_t>::max() - 63;
    static const std::map<std::string, Answer> all{
        {"fitting", with(Element::float32, {2}, 64)},
        {"beyond-the-end", with(Element::float32, {2}, std::uint64_t{1} << 20)},
        {"at-the-very-end", with(Element::float32, {2}, far)},
        {"among-the-inputs", with(Element::float32, {2}, 0)},
        {"unaligned", with(Element::float32, {2}, 65)},
        {"of-another-type", with(Element::int32, {2}, 64)},
        {"of-no-type", with(Element::other, {2}, 64)},
        {"of-another-shape", with(Element::float32, {3}, 64)},
        {"of-another-rank", with(Element::float32, {2, 1}, 64)},
        {"huge", with(Element::float32, {std::numeric_limits<std::int64_t>::max()}, 64)},
        {"negative", with(Element::float32, {-2}, 64)},
        {"no-output", outputs({})},
        {"one-missing", outputs({y})},
        {"one-twice", outputs({y, z, y})},
        {"one-for-the-other", outputs({y, y})},
        {"one-too-many", outputs({y, z, {7, Element::float32, {2}, 192}})},
        {"one-that-does-not-cross", outputs({y, z, {2, Element::other, {2}, 192}})},
        {"to-another-question",
         [](const PredictRequest& asked) {
             return encode(Reply(ComputedReply{asked.sequence + 1, {y, z}}));
         }},
        {"signature-again", [](const PredictRequest&) { return encode(Reply(signature())); }},
        {"garbage", [](const PredictRequest&) { return Packet(100, std::byte{0xAB}); }},
        {"too-long", [](const PredictRequest&) { return Packet(largestMessage + 1000); }},
        {"too-much-memory",
         [](const PredictRequest& asked) {
             return encode(Reply(NeedsMemoryReply{asked.sequence, largestMemory}));
         }},
        {"needless-memory",
         [](const PredictRequest& asked) {
             return encode(Reply(NeedsMemoryReply{asked.sequence, 8}));
         }},
        {"control-characters",
         [](const PredictRequest& asked) {
             return encode(Reply(FailedReply{asked.sequence, "a\n\x1b[31mb\xff\xc3\xa9"}));
         }},
        {"nothing", [](const PredictRequest&) { return Packet(); }},
    };
    return all;
}

void serve(const LoadRequest& load, const Descriptor& channel)
{
    if (load.bundle == "garbage-at-once") {
        send(channel, Packet(7, std::byte{1}), -1, Waiting::yes);
        ::pause();
    }
    if (load.bundle == "leaves") {
        return;
    }
    if (load.bundle == "never") {
        ::pause();
    }
    if (load.bundle == "fitting-after-five-seconds-of-trickling") {
        for (int i = 0; i < 100; ++i) { // as one does who is woken by each page of a slow disk
            ::usleep(50'000);
        }
    }
    send(channel, encode(Reply(signature())), -1, Waiting::yes);
    std::array<std::byte, largestMessage> buffer{};
    while (true) {
        const Received received = receiveAttached(channel, buffer);
        const auto request = received.what == Received::What::packet
                                 ? parseModelRequest(std::span(buffer).first(received.size))
                                 : std::nullopt;
        if (!request) {
            return;
        }
        if (const auto* predict = std::get_if<PredictRequest>(&*request)) {
            const Packet packet = answers().at(load.bundle)(*predict);
            if (!packet.empty()) {
                send(channel, packet, -1, Waiting::yes);
            }
        }
    }
}

} // namespace

int main()
{
    const Descriptor control(controlDescriptor);
    std::array<std::byte, largestMessage> buffer{};
    while (true) {
        Received received = receiveAttached(control, buffer);
        const auto request = received.what == Received::What::packet
                                 ? parseControlRequest(std::span(buffer).first(received.size))
                                 : std::nullopt;
        if (!request) {
            ::_exit(0);
        }
        if (const auto* load = std::get_if<LoadRequest>(&*request)) {
            std::thread([load = *load, channel = std::move(received.attached)] {
                serve(load, channel);
            }).detach();
        }
    }
}
