#include "Engine.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<Engine> engines;
    try {
        engines = Engine::decode({reinterpret_cast<const char*>(data), size});
    } catch (const std::runtime_error&) {
        return 0;
    }
    const auto stored = Engine::encoded(engines);
    require(stored.has_value(), "what was read is text that can be stored");
    require(Engine::decode(*stored) == engines, "engines survive their encoding");
    for (const Engine& engine : engines) {
        require(std::hash<Engine>{}(engine) == std::hash<Engine>{}(Engine(engine)),
                "equal engines have one hash");
    }
    return 0;
}
