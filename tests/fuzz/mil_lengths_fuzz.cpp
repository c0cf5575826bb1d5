// A program text that gets one more input, a count of frames, and is derived for fewer frames of
// each of its inputs along each axis.
#include "mil_fuzz.h"

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vorlin::mil::fuzz;
    std::string text(reinterpret_cast<const char*>(data), size);
    const std::size_t function = text.find("func ");
    const std::size_t at = function == std::string::npos ? function : text.find('(', function);
    if (at == std::string::npos) {
        return 0;
    }
    text.insert(at + 1, "tensor<int32, [1]> frames_that_count, ");
    writeFile(bundleFolder() / "model.mil", text);
    prepareWeights();
    loadAndShorten("frames_that_count");
    return 0;
}
