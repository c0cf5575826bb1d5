// A program text; the weight file beside it is always the same small one.
#include "mil_fuzz.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace vorlin::mil::fuzz;
    prepareWeights();
    writeFile(bundleFolder() / "model.mil", {reinterpret_cast<const char*>(data), size});
    loadAndPredict();
    return 0;
}
