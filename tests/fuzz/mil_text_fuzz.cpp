// A program text; the weight file beside it is always the same small one.
#include "mil_fuzz.h"

#include <cstdint>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vorlin::mil::fuzz;
    static const bool prepared = [] {
        // One record of 16 halves at 64.
        std::string weights(64 + 64 + 64, '\1');
        const std::uint32_t header[] = {1, 2};
        const std::uint64_t record[] = {0x1DEADBEEF, 32, 128, 0};
        std::memcpy(weights.data(), header, sizeof(header));
        std::memcpy(weights.data() + 64, record, sizeof(record));
        writeFile(bundleFolder() / "weights" / "weight.bin", weights);
        return true;
    }();
    (void)prepared;
    writeFile(bundleFolder() / "model.mil", {reinterpret_cast<const char*>(data), size});
    loadAndPredict();
    return 0;
}
