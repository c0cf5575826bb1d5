// What the process boundary costs: a prediction through the engine process, less the same
// prediction in this process, less the kernel's own round trip over a socket pair between two
// processes. Medians, the three measured in turns. Then: memory before, during and after.
//
//     engine_cost_bench [BUNDLE]      a bundle to measure the memory with
#include "MIL/Model.h"
#include "Platform/Linux/Engine/EngineModels.h"
#include "Platform/Shared/ThreadPool.h"

#include <fmt/core.h>

#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace vorlin;
namespace fs = std::filesystem;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr int turns = 40;
constexpr int callsPerTurn = 500;
constexpr double promisedMicroseconds = 10;
// As large as the messages of a prediction with one input and one output of two axes.
constexpr std::size_t requestBytes = 62;
constexpr std::size_t replyBytes = 46;

template <class Call>
void measure(std::vector<double>& times, const Call& call)
{
    for (int i = 0; i < callsPerTurn; ++i) {
        const auto start = std::chrono::steady_clock::now();
        call();
        times.push_back(Microseconds(std::chrono::steady_clock::now() - start).count());
    }
}

double median(std::vector<double> times)
{
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

/// A process that answers packets with packets.
class Echo {
public:
    Echo()
    {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            std::abort();
        }
        process = ::fork();
        if (process == 0) {
            ::close(ends[0]);
            std::array<char, 256> packet{};
            while (::recv(ends[1], packet.data(), packet.size(), 0) > 0) {
                ::send(ends[1], packet.data(), replyBytes, MSG_NOSIGNAL);
            }
            ::_exit(0);
        }
        ::close(ends[1]);
        socket = ends[0];
    }
    Echo(const Echo&) = delete;
    Echo& operator=(const Echo&) = delete;
    ~Echo()
    {
        ::close(socket);
        ::waitpid(process, nullptr, 0);
    }

    void call() const
    {
        std::array<char, 256> packet{};
        ::send(socket, packet.data(), requestBytes, MSG_NOSIGNAL);
        ::recv(socket, packet.data(), packet.size(), 0);
    }

private:
    pid_t process = -1;
    int socket = -1;
};

template <class T>
T waitFor(Completion<T> completion)
{
    while (!completion.await_ready()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return completion.await_resume();
}

fs::path writeTrivialModel(const fs::path& folder)
{
    auto bundle = folder / "Trivial.mlmodelc";
    fs::create_directories(bundle);
    std::ofstream(bundle / "model.mil")
        << "program(1.3)\n{\n    func main<ios18>(tensor<fp32, [1, 2]> x) {\n"
           "        tensor<fp32, [1, 2]> y = add(x = x, y = x);\n        } -> (y);\n}\n";
    return bundle;
}

bool measureCalls(const fs::path& folder)
{
    const auto bundle = writeTrivialModel(folder);
    const Echo echo; // before there are threads
    ThreadPool workers([] {});
    EngineModels models(workers, VORLIN_ENGINE);
    const auto model = waitFor(models.load(bundle, {ComputeUnits::cpuOnly}));
    auto inProcess = mil::Model::load(bundle, {});
    const MLFeatures inputs{{"x", MultiArray(MLElementType::float32, {1, 2})}};
    const std::array<float, 2> values{};
    const std::vector<mil::NamedInput> milInputs{
        {"x",
         {{mil::ElementType::fp32, {1, 2}}, reinterpret_cast<const std::byte*>(values.data())}}};

    std::vector<double> roundTrips;
    std::vector<double> ours;
    std::vector<double> again;
    MLFeatures outputs;
    std::vector<double> alone;
    for (int turn = 0; turn < turns; ++turn) {
        measure(roundTrips, [&] { echo.call(); });
        measure(ours, [&] { model->predict(inputs, WorkPriority::normal, {}).await_resume(); });
        measure(again, [&] { model->predictInto(outputs, inputs, WorkPriority::normal, {}); });
        measure(alone, [&] { inProcess.predict(milInputs); });
    }
    const double roundTrip = median(roundTrips);
    const double predict = median(again);
    const double itself = median(alone);
    const double cost = predict - itself - roundTrip;
    fmt::print("kernel's round trip        {:6.1f} µs\n", roundTrip);
    fmt::print("prediction in the engine   {:6.1f} µs\n", median(ours));
    fmt::print("into arrays that stay      {:6.1f} µs\n", predict);
    fmt::print("the same in this process   {:6.1f} µs\n", itself);
    fmt::print("cost beyond the round trip {:6.1f} µs, promised {:.0f} µs\n", cost,
               promisedMicroseconds);
    return cost <= promisedMicroseconds;
}

/// Resident memory of a process, in MiB; 0 when it is gone.
double residentMiB(const std::string& process)
{
    std::ifstream status("/proc/" + process + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::stod(line.substr(line.find_first_of("0123456789"))) / 1024;
        }
    }
    return 0;
}

/// The engine among this process's children.
std::string engineProcess()
{
    for (const auto& entry : fs::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "status");
        std::string name;
        std::getline(status, name);
        for (std::string line; std::getline(status, line);) {
            if (line == "PPid:\t" + std::to_string(::getpid()) && name == "Name:\tvorlin-engine") {
                return entry.path().filename();
            }
        }
    }
    return {};
}

/// An array for every input, of zeros and as large as allowed.
MLFeatures zeros(const MLSignature& signature)
{
    MLFeatures inputs;
    for (const auto& feature : signature.inputs) {
        MultiArray::Extents shape;
        for (const auto& range : feature.shapes.front()) {
            shape.push_back(range.least == range.most ? range.most
                                                      : std::max<std::int64_t>(range.least, 1));
        }
        inputs.emplace(feature.name, MultiArray(feature.elementType.value(), shape));
    }
    return inputs;
}

void measureMemory(const fs::path& bundle)
{
    ThreadPool workers([] {});
    EngineModels models(workers, VORLIN_ENGINE);
    const auto show = [](const char* when) {
        const auto engine = engineProcess();
        fmt::print("{:28} program {:7.1f} MiB, engine {}\n", when, residentMiB("self"),
                   engine.empty() ? "none" : fmt::format("{:7.1f} MiB", residentMiB(engine)));
    };
    show("before loading");
    auto model = waitFor(models.load(bundle, {ComputeUnits::cpuAndGPU}));
    show("loaded");
    waitFor(model->predict(zeros(model->signature()), WorkPriority::normal, {}));
    show("after a prediction");
    model.reset();
    show("unloaded");
}

/// Keeps this process, and those it starts, on one processor: waking another one costs several
/// round trips, and who gets it is the scheduler's mood.
void stayOnOneProcessor()
{
    const auto here = static_cast<std::size_t>(::sched_getcpu());
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(here, &one);
    ::sched_setaffinity(0, sizeof one, &one);
}

} // namespace

int main(int argc, char** argv)
{
    std::string pattern = (fs::temp_directory_path() / "vorlin-bench-XXXXXX").string();
    const fs::path folder = ::mkdtemp(pattern.data());
    cpu_set_t all;
    ::sched_getaffinity(0, sizeof all, &all);
    stayOnOneProcessor();
    const bool kept = measureCalls(folder);
    ::sched_setaffinity(0, sizeof all, &all);
    measureMemory(argc > 1 ? fs::path(argv[1]) : folder / "Trivial.mlmodelc");
    fs::remove_all(folder);
    return kept ? 0 : 1;
}
