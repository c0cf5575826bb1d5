// Text and weight file together: the length of the text in four bytes, the text, the weights.
#include "mil_fuzz.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vorlin::mil::fuzz;
    if (size < 4) {
        return 0;
    }
    std::uint32_t length = 0;
    std::memcpy(&length, data, 4);
    const std::string_view rest(reinterpret_cast<const char*>(data) + 4, size - 4);
    const std::size_t split = std::min<std::size_t>(length, rest.size());
    writeFile(bundleFolder() / "model.mil", rest.substr(0, split));
    writeFile(bundleFolder() / "weights" / "weight.bin", rest.substr(split));
    loadAndPredict();
    return 0;
}
