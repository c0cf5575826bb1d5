#include "Platform/Linux/Keys/SwayConfiguration.h"
#include "Platform/Linux/Keys/SwayLedger.h"
#include "Platform/Linux/Sway/SwayFrames.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace vorlin;

void require(bool condition, const char* claim)
{
    if (!condition) {
        std::fprintf(stderr, "this does not hold: %s\n", claim);
        std::abort();
    }
}

std::string bytesOf(SwayFrames& frames)
{
    std::string bytes;
    while (const auto frame = frames.next()) {
        bytes += swayFrame(frame->type, frame->payload);
    }
    return bytes;
}

void cut(std::string_view stream)
{
    SwayFrames whole;
    whole.add(stream);
    const auto read = bytesOf(whole);
    require(stream.starts_with(read), "messages are written as they were read");
    SwayFrames pieces;
    std::string again;
    for (const char byte : stream) {
        pieces.add({&byte, 1});
        again += bytesOf(pieces);
    }
    require(again == read && whole.isBroken() == pieces.isBroken(),
            "how a stream comes in does not matter");
}

void readConfiguration(std::string_view text)
{
    const auto own = swayOwnBindings(
        {"/config", std::string(text)}, [&](const std::string& pattern, const std::string&) {
            return std::vector<SwayConfigurationFile>{{"/" + pattern, std::string(text)}};
        });
    for (const auto& binding : own) {
        require(binding.code == 0 || binding.symbol.empty(), "a key is one by code or by symbol");
    }
}

void readLedger(std::string_view text)
{
    if (const auto ledger = SwayLedger::parse(text)) {
        const auto again = SwayLedger::parse(ledger->text());
        require(again && again->token == ledger->token && again->bindings == ledger->bindings,
                "a ledger is written as it was read");
        std::string commands;
        for (const auto& [mode, each] : ledger->bindings) {
            for (const auto& binding : each) {
                appendUnbind(commands, mode, binding);
            }
        }
        require(commands.find('\n') == std::string::npos, "nothing else gets into a command");
    }
    if (const auto binding = swayBindingNamed(text, "vorlin-1")) {
        require(swayBindingNamed("nop " + swayBindingName("vorlin-1", *binding), "vorlin-1") ==
                    binding,
                "a binding is named as it was");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0]) {
    case 'f': cut(rest); break;
    case 'c': readConfiguration(rest); break;
    default: readLedger(rest); break;
    }
    return 0;
}
