#include "EngineFixture.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

namespace vorlin::test {

namespace fs = std::filesystem;

namespace {
constexpr std::int64_t large = 1000;
constexpr int steps = 5000;
} // namespace

fs::path milFixtures()
{
    return VORLIN_MIL_FIXTURES;
}

fs::path builtEngine()
{
    return VORLIN_ENGINE;
}

bool eventually(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::vector<pid_t> children()
{
    std::vector<pid_t> result;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const auto name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") == std::string::npos) {
            const auto process = static_cast<pid_t>(std::stol(name));
            if (statusOf(process, "PPid") == std::to_string(::getpid())) {
                result.push_back(process);
            }
        }
    }
    return result;
}

std::string textOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string statusOf(pid_t process, std::string_view name)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(std::string(name) + ":")) {
            const auto value = line.find_first_not_of(" \t", name.size() + 1);
            return value == std::string::npos ? std::string() : line.substr(value);
        }
    }
    return {};
}

long processorTicks(pid_t process)
{
    const auto text = textOf("/proc/" + std::to_string(process) + "/stat");
    std::istringstream rest(text.substr(std::min(text.size(), text.rfind(')') + 1)));
    std::string skipped;
    constexpr int before = 11; // fields between the name and the time spent
    for (int i = 0; i < before; ++i) {
        rest >> skipped;
    }
    long user = 0;
    long system = 0;
    rest >> user >> system;
    return user + system;
}

MultiArray floats(const std::vector<float>& values, MultiArray::Extents shape)
{
    MultiArray array(MLElementType::float32, std::move(shape));
    std::memcpy(array.data(), values.data(), values.size() * sizeof(float));
    return array;
}

std::vector<float> floatsOf(const MultiArray& array)
{
    return {array.as<float>(), array.as<float>() + array.elementCount()};
}

EngineTest::EngineTest() : workers([] {})
{
    useEngine(builtEngine());
}

EngineTest::~EngineTest()
{
    models.reset();
    EXPECT_TRUE(eventually([] { return children().empty(); })) << "a process is left behind";
}

void EngineTest::useEngine(const fs::path& program, const EngineLimits& limits)
{
    models = std::make_unique<EngineModels>(workers, program, limits);
}

void EngineTest::write(const std::string& name, std::string_view type, std::string_view body)
{
    mil::test::writeBundle(folder.path / name, mil::test::programOf(type, body));
}

void EngineTest::writeDouble(const std::string& name)
{
    write(name, "tensor<fp32, [2]>", "tensor<fp32, [2]> y = add(x = x, y = x);");
}

void EngineTest::writeWeighty(const std::string& name)
{
    mil::test::WeightBytes weights;
    const auto offset = weights.add(1, std::vector<std::uint16_t>(std::size_t{2048} * 1024, 0));
    mil::test::writeBundle(
        folder.path / name,
        mil::test::programOf(
            "tensor<fp16, [2048, 1024]>",
            "tensor<fp16, [2048, 1024]> w = const()[name = string(\"w\"), val = tensor<fp16, "
            "[2048, 1024]>(BLOBFILE(path = string(\"@model_path/weights/weight.bin\"), offset "
            "= uint64(" +
                std::to_string(offset) +
                ")))];\n"
                "tensor<fp16, [2048, 1024]> y = add(x = x, y = w);"),
        weights.bytes);
}

void EngineTest::writeEndless(const std::string& name)
{
    std::string body;
    std::string last = "x";
    for (int i = 0; i < steps; ++i) {
        const std::string next = i == steps - 1 ? "y" : "v" + std::to_string(i);
        body += "tensor<fp32, [1000, 1000]> " + next + " = matmul(x = " + last + ", y = x);\n";
        last = next;
    }
    write(name, "tensor<fp32, [1000, 1000]>", body);
}

MultiArray EngineTest::largeInput()
{
    return {MLElementType::float32, {large, large}};
}

std::unique_ptr<MLModel> EngineTest::load(const std::string& name, ComputeUnits units)
{
    return loadFrom(folder.path / name, units);
}

std::unique_ptr<MLModel> EngineTest::loadFrom(const fs::path& bundle, ComputeUnits units)
{
    return waitFor(models->load(bundle, {units}));
}

MLFeatures EngineTest::predict(MLModel& model, const MLFeatures& inputs, StopToken stop,
                               WorkPriority priority)
{
    return waitFor(model.predict(inputs, priority, std::move(stop)));
}

std::vector<float> EngineTest::doubled(MLModel& model)
{
    return floatsOf(predict(model, {{"x", floats({1, 2}, {2})}}).at("y"));
}

std::future<std::string> EngineTest::predictAside(MLModel& model, MLFeatures inputs, StopToken stop)
{
    return std::async(std::launch::async,
                      [&model, inputs = std::move(inputs), stop = std::move(stop)] {
                          return thrownBy([&] { predict(model, inputs, stop); });
                      });
}

bool EngineTest::isComputing()
{
    const auto before = processorTicks(engine());
    return eventually([&] { return processorTicks(engine()) > before + 5; });
}

pid_t EngineTest::engine()
{
    const auto all = children();
    return all.size() == 1 ? all.front() : -1;
}

} // namespace vorlin::test
