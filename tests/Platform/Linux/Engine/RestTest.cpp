// What the engine process does while nobody asks it for anything.
#include "EngineFixture.h"

#include <string>
#include <thread>
#include <utility>

namespace vorlin::test {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

/// How often a process's threads have gone to sleep, and so been woken, in all.
long sleepsOf(pid_t process)
{
    long sum = 0;
    const auto tasks = fs::path("/proc") / std::to_string(process) / "task";
    for (const auto& thread : fs::directory_iterator(tasks)) {
        constexpr std::string_view name = "voluntary_ctxt_switches:";
        const auto text = textOf(thread.path() / "status");
        // The line, and not that of the switches that were not voluntary.
        const auto at = text.find("\n" + std::string(name));
        if (at != std::string::npos) { // else the thread has just ended
            sum += std::stol(text.substr(at + 1 + name.size()));
        }
    }
    return sum;
}

} // namespace

class RestTest : public EngineTest {
protected:
    /// What the engine process has in memory of files, in kB.
    static long ofFiles() { return std::stol(statusOf(engine(), "RssFile")); }
};

TEST_F(RestTest, weightsAreReadInBeforeAnybodyAsks)
{
    writeDouble();
    writeWeighty("Encoder.mlmodelc");
    const auto small = load("Double.mlmodelc");
    doubled(*small);
    const long before = ofFiles();
    const auto model = load("Encoder.mlmodelc");
    EXPECT_TRUE(eventually([&] { return ofFiles() >= before + 4096; }));
}

TEST_F(RestTest, loadedAndIdleItNeverWakes)
{
    write("Product.mlmodelc", "tensor<fp32, [512, 512]>",
          "tensor<fp32, [512, 512]> y = matmul(x = x, y = x, transpose_x = bool(false), "
          "transpose_y = bool(false));");
    const auto model = load("Product.mlmodelc", ComputeUnits::cpuAndGPU);
    const MLFeatures inputs{{"x", MultiArray(MLElementType::float32, {512, 512})}};
    predict(*model, inputs);
    predict(*model, inputs, {}, WorkPriority::background);
    // Its threads look out for more for a moment, and then sleep.
    long sleeps = -1;
    int quiet = 0;
    ASSERT_TRUE(eventually([&] {
        const long before = std::exchange(sleeps, sleepsOf(engine()));
        quiet = before == sleeps ? quiet + 1 : 0;
        return quiet == 50;
    }));
    EXPECT_GT(sleeps, 0);
    std::this_thread::sleep_for(2s); // what does not happen cannot be waited for
    EXPECT_EQ(sleepsOf(engine()), sleeps);
}

} // namespace vorlin::test
