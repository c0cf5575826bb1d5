#include "Platform/Linux/Engine/EngineTensors.h"
#include "Platform/Linux/Engine/Wire/Messages.h"
#include "Platform/Linux/Engine/Wire/RepeatedMessages.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

namespace {

using namespace vorlin;

void require(bool condition, const char* claim)
{
    if (!condition) {
        std::fprintf(stderr, "this does not hold: %s\n", claim);
        std::abort();
    }
}

/// Outputs of many shapes, so that some tensors fit.
const MLSignature& signature()
{
    static const MLSignature declared{
        .inputs = {},
        .outputs = {{"a", MLElementType::float32, {{{0, 64}}, {{1, 1}, {0, 64}}}, false},
                    {"b", MLElementType::float16, {{{1, 1}, {80, 80}, {0, 4}}, {}}, false},
                    {"c", MLElementType::int32, {{{1, 1}}}, false}}};
    return declared;
}

void check(const engine::Reply& reply)
{
    if (const auto* computed = std::get_if<engine::ComputedReply>(&reply)) {
        static const std::array<std::byte, 1024> memory{};
        MLFeatures features;
        const bool fits = collect(computed->outputs, signature(), memory, 64, features);
        require(!fits || features.size() == computed->outputs.size(),
                "every tensor becomes an array of its own");
    } else if (const auto* loaded = std::get_if<engine::LoadedReply>(&reply)) {
        const auto declared = signatureOf(*loaded);
        require(expectedBytes(declared.outputs) <= std::uint64_t{64} << 20,
                "no signature makes the program take much memory");
    } else if (const auto* failed = std::get_if<engine::FailedReply>(&reply)) {
        const auto line = shown(failed->text);
        require(std::none_of(line.begin(), line.end(),
                             [](char c) { return static_cast<unsigned char>(c) < 0x20; }),
                "what is shown is one line");
    }
}

/// Reads the packet twice, then under another number: what is known is what parsing would say.
template <class Messages, class Parse>
void checkRepeated(std::span<const std::byte> packet, const Parse& parse)
{
    Messages messages;
    engine::Packet renumbered(packet.begin(), packet.end());
    if (renumbered.size() > 1) {
        renumbered[1] ^= std::byte{1};
    }
    for (const auto& each : {packet, packet, std::span<const std::byte>(renumbered), packet}) {
        const auto* const read = messages.read(each);
        const auto parsed = parse(each);
        require((read != nullptr) == parsed.has_value() && (!parsed || *read == *parsed),
                "a repeated message is read as it would be parsed");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::span packet(reinterpret_cast<const std::byte*>(data), size);
    const auto isThePacket = [&](const engine::Packet& again) {
        return std::equal(again.begin(), again.end(), packet.begin(), packet.end());
    };
    if (const auto reply = engine::parseReply(packet)) {
        require(isThePacket(engine::encode(*reply)), "a reply is written as it was read");
        check(*reply);
    }
    if (const auto request = engine::parseModelRequest(packet)) {
        require(isThePacket(engine::encode(*request)), "a request is written as it was read");
    }
    if (const auto request = engine::parseControlRequest(packet)) {
        require(isThePacket(engine::encode(*request)), "a request is written as it was read");
    }
    checkRepeated<engine::RepeatedReplies>(packet, engine::parseReply);
    checkRepeated<engine::RepeatedRequests>(packet, engine::parseModelRequest);
    return 0;
}
