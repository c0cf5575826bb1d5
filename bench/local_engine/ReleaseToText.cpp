// From letting the key go to the text, with the local engine and a full-size model of random
// weights, split into where the time goes; decoding steps; memory before, with and after
// the model. First at the models' full length, then once the shorter ones are proved; then long
// dictations with pauses, and how often the idle engine wakes.
//
//   release_to_text_bench [MODEL-FOLDER]     builds the folder when none is given (1.3 GB)
//   release_to_text_bench --promised MODEL-FOLDER [8-BIT-FOLDER]     3 s of speech only; of the
//                         second folder with products in 8 bits
//   release_to_text_bench --first MODEL-FOLDER        what the first utterance after a load costs

#include "DictationBench.h"
#include "InProcessModels.h"
#include "Platform/Linux/Engine/EngineModels.h"
#include "Platform/Shared/Descriptor.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"

#include <QCoreApplication>

#include <fmt/core.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <numeric>
#include <sstream>
#include <string_view>
#include <thread>

namespace {

using namespace vorlin;
using namespace std::chrono_literals;

constexpr int runs = 3;

double milliseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

std::chrono::nanoseconds sum(const std::vector<std::chrono::nanoseconds>& times)
{
    return std::accumulate(times.begin(), times.end(), std::chrono::nanoseconds(0));
}

std::chrono::nanoseconds median(std::vector<std::chrono::nanoseconds> times)
{
    if (times.empty()) {
        return {};
    }
    std::ranges::sort(times);
    return times[times.size() / 2];
}

/// Resident memory of a process in MB, by a line of its status.
double memory(const std::string& process, const std::string& line)
{
    std::ifstream status("/proc/" + process + "/status");
    for (std::string text; std::getline(status, text);) {
        if (text.starts_with(line + ":")) {
            return std::strtod(text.c_str() + line.size() + 1, nullptr) / 1024;
        }
    }
    return 0;
}

/// The process that this one started; empty when there is none.
std::string engineProcess()
{
    const auto self = std::to_string(QCoreApplication::applicationPid());
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (line == "PPid:\t" + self) {
                return entry.path().filename().string();
            }
        }
    }
    return {};
}

void printMemory(const char* when)
{
    const auto engine = engineProcess();
    fmt::print("memory {:9}: program {:6.1f} MB", when, memory("self", "VmRSS"));
    if (engine.empty()) {
        fmt::print(", no engine process\n");
    } else {
        fmt::print(", engine process {:7.1f} MB (its own {:6.1f}, of files {:7.1f})\n",
                   memory(engine, "VmRSS"), memory(engine, "RssAnon"), memory(engine, "RssFile"));
    }
}

/// What a call of a small model costs because another process computes it: the typical time there
/// and here, each the best of several dictations in turn.
std::chrono::nanoseconds boundaryPerCall(DictationBench& there, DictationBench& here)
{
    std::map<std::string, std::chrono::nanoseconds> bestThere;
    std::map<std::string, std::chrono::nanoseconds> bestHere;
    const auto run = [](DictationBench& bench, auto& best) {
        for (const auto& [name, times] : bench.dictate(13.9, false).times) {
            const auto typical = median(times);
            const auto known = best.try_emplace(name, typical).first;
            known->second = std::min(known->second, typical);
        }
    };
    for (int i = 0; i < runs; ++i) {
        run(there, bestThere);
        run(here, bestHere);
    }
    return (bestThere.at("Decoder") - bestHere.at("Decoder") + bestThere.at("JointDecisionv3") -
            bestHere.at("JointDecisionv3")) /
           2;
}

void printSplit(const DictationBench::Result& result, std::chrono::nanoseconds perCall)
{
    const auto& decoder = result.times.at("Decoder");
    const auto& joint = result.times.at("JointDecisionv3");
    const auto preprocessor = sum(result.times.at("Preprocessor"));
    const auto encoder = sum(result.times.at("Encoder"));
    const auto calls = static_cast<std::int64_t>(decoder.size() + joint.size() + 2);
    const auto boundary = perCall * calls;
    const auto decoding = sum(decoder) + sum(joint);
    const auto rest = result.total - preprocessor - encoder - decoding;
    fmt::print("{:8.0f} ms = preprocessor {:5.1f} + encoder {:7.1f} + decoding {:6.1f} + process "
               "boundary {:4.1f} + rest {:5.1f}; {} joint and {} decoder steps in {:.1f} ms\n",
               milliseconds(result.total), milliseconds(preprocessor), milliseconds(encoder),
               milliseconds(decoding - boundary), milliseconds(boundary), milliseconds(rest),
               joint.size(), decoder.size(), milliseconds(decoding + rest));
}

void printReleases(DictationBench& bench, bool withDraft, std::chrono::nanoseconds perCall)
{
    fmt::print("release to text, {}, best of {}:\n",
               withDraft ? "a draft running at the release" : "no draft running", runs);
    for (const double seconds : {2.0, 3.0, 5.0, 10.0, 13.9}) {
        std::vector<DictationBench::Result> results;
        for (int run = 0; run < runs; ++run) {
            results.push_back(bench.dictate(seconds, withDraft));
        }
        fmt::print("  {:4.1f} s: ", seconds);
        printSplit(*std::ranges::min_element(results, {}, &DictationBench::Result::total), perCall);
    }
}

/// With pauses in it, of which each ends what was said before it.
void printLongDictations(DictationBench& bench)
{
    constexpr int dictations = 7;
    fmt::print("release to text, with pauses, {} each:\n", dictations);
    for (const double seconds : {30.0, 120.0}) {
        std::vector<std::chrono::nanoseconds> waits;
        for (int i = 0; i < dictations; ++i) {
            waits.push_back(bench.dictateWithPauses(seconds, static_cast<unsigned>(i)));
        }
        std::ranges::sort(waits);
        fmt::print("  {:5.0f} s: median {:.0f} ms, worst {:.0f} ms\n", seconds,
                   milliseconds(median(waits)), milliseconds(waits.back()));
    }
}

/// How often the threads of a process have been woken, in all.
long wakesOf(const std::string& process)
{
    long sum = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + process + "/task")) {
        std::ifstream status(thread.path() / "status");
        for (std::string line; std::getline(status, line);) {
            constexpr std::string_view name = "voluntary_ctxt_switches:";
            if (line.starts_with(name)) {
                sum += std::strtol(line.c_str() + name.size(), nullptr, 10);
            }
        }
    }
    return sum;
}

/// While the models are loaded and nobody wants them.
void printWakes()
{
    constexpr auto time = 10s;
    std::this_thread::sleep_for(1s);
    const long before = wakesOf(engineProcess());
    std::this_thread::sleep_for(time);
    fmt::print("engine process loaded and idle: {} wake-ups in {} s\n",
               wakesOf(engineProcess()) - before, time.count());
}

/// Only what is promised of 3 s of speech, for when there is little time.
void measurePromised(const std::filesystem::path& folder, EngineModels::Products products)
{
    constexpr int releases = 15;
    QtMainLoop loop;
    ThreadPool workers([] {});
    EngineModels engine(workers, VORLIN_ENGINE, {}, products);
    DictationBench bench(folder, engine, loop, workers);
    printMemory("at rest");
    bench.dictate(2, false);
    printMemory("loaded");
    fmt::print("lengths proved after {:.0f} s\n", milliseconds(bench.prove()) / 1000);
    std::vector<std::chrono::nanoseconds> waits;
    std::vector<std::chrono::nanoseconds> encoders;
    for (int i = 0; i < releases; ++i) {
        const auto result = bench.dictate(3, false);
        waits.push_back(result.total);
        encoders.push_back(sum(result.times.at("Encoder")));
    }
    fmt::print("release to text, 3 s: median {:.0f} ms, of which the encoder {:.0f} ms\n",
               milliseconds(median(waits)), milliseconds(median(encoders)));
    printWakes();
    bench.unload();
    printMemory("unloaded");
}

/// Calls `look` with each file of a folder.
template <class Look>
void forEachFile(const std::filesystem::path& folder, const Look& look)
{
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            const Descriptor file(::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC));
            look(file.number());
        }
    }
}

/// Has the system forget what it keeps of the files in memory.
void forget(const std::filesystem::path& folder)
{
    forEachFile(folder, [](int file) { ::posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED); });
}

/// How long it takes to read the files once.
std::chrono::nanoseconds read(const std::filesystem::path& folder)
{
    std::vector<char> buffer(std::size_t{4} << 20);
    const auto start = std::chrono::steady_clock::now();
    forEachFile(folder, [&](int file) {
        while (::read(file, buffer.data(), buffer.size()) > 0) {
        }
    });
    return std::chrono::steady_clock::now() - start;
}

/// Until the engine process has nothing to do any more.
void waitForRest()
{
    const auto spent = [] {
        std::ifstream stat("/proc/" + engineProcess() + "/stat");
        const std::string text{std::istreambuf_iterator<char>(stat), {}};
        std::istringstream rest(text.substr(std::min(text.size(), text.rfind(')') + 1)));
        std::vector<std::string> fields{std::istream_iterator<std::string>(rest), {}};
        return std::stol(fields.at(11)) + std::stol(fields.at(12));
    };
    long before = -1;
    for (long now = spent(); now != before; now = spent()) {
        before = now;
        std::this_thread::sleep_for(300ms);
    }
}

/// The first utterance after a load, and those after it: with the files in memory, and from disk.
void measureFirst(const std::filesystem::path& folder)
{
    constexpr int rounds = 5;
    QtMainLoop loop;
    ThreadPool workers([] {});
    EngineModels engine(workers, VORLIN_ENGINE);
    DictationBench bench(folder, engine, loop, workers);
    const auto dictated = [&] { return bench.dictate(3, false); };
    std::map<std::string, std::vector<std::chrono::nanoseconds>> times;
    for (int i = 0; i < rounds; ++i) {
        bench.unload();
        times["first, loaded and at rest"].push_back(
            (bench.load(), waitForRest(), dictated().total));
        times["second"].push_back(dictated().total);
        times["third"].push_back(dictated().total);
        bench.unload();
        const auto begin = std::chrono::steady_clock::now();
        dictated();
        times["first, with its load"].push_back(std::chrono::steady_clock::now() - begin);
        printMemory("loaded");
        bench.unload();
        forget(folder);
        times["reading the files from disk"].push_back(read(folder));
        forget(folder);
        const auto beginCold = std::chrono::steady_clock::now();
        const auto cold = dictated();
        times["first, with its load, from disk"].push_back(std::chrono::steady_clock::now() -
                                                           beginCold);
        times["the encoder of that"].push_back(sum(cold.times.at("Encoder")));
    }
    for (const auto& [what, each] : times) {
        fmt::print("{:32} median {:6.0f} ms of", what, milliseconds(median(each)));
        for (const auto& one : each) {
            fmt::print(" {:.0f}", milliseconds(one));
        }
        fmt::print("\n");
    }
}

void measure(const std::filesystem::path& folder)
{
    QtMainLoop loop;
    ThreadPool workers([] {});
    EngineModels engine(workers, VORLIN_ENGINE);
    InProcessModels local(std::max(1U, std::thread::hardware_concurrency()));
    DictationBench there(folder, engine, loop, workers);

    printMemory("at rest");
    there.dictate(2, false);
    printMemory("loaded");
    there.unload();
    printMemory("unloaded");

    std::chrono::nanoseconds perCall{0};
    {
        DictationBench here(folder, local, loop, workers);
        perCall = boundaryPerCall(there, here);
        here.unload();
    }
    fmt::print("process boundary: {:.1f} µs a call\n", milliseconds(perCall) * 1000);

    printReleases(there, false, perCall);
    printReleases(there, true, perCall);
    fmt::print("lengths proved after {:.0f} s\n", milliseconds(there.prove()) / 1000);
    printReleases(there, false, perCall);
    printReleases(there, true, perCall);
    printMemory("proved");
    printLongDictations(there);
    printWakes();
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication qt(argc, argv);
    if (argc > 2 && std::string_view(argv[1]) == "--promised") {
        measurePromised(argv[2], EngineModels::Products::singlePrecision);
        if (argc > 3) {
            fmt::print("products in 8 bits:\n");
            measurePromised(argv[3], EngineModels::Products::integers);
        }
        return 0;
    }
    if (argc > 2 && std::string_view(argv[1]) == "--first") {
        measureFirst(argv[2]);
        return 0;
    }
    if (argc > 1) {
        measure(argv[1]);
        return 0;
    }
    const auto folder = std::filesystem::temp_directory_path() / "vorlin-full-size-model";
    const auto build =
        fmt::format("/usr/bin/python3 '{}' '{}'", VORLIN_FULL_SIZE_MODEL, folder.string());
    const int built = std::system(build.c_str()); // NOLINT(concurrency-mt-unsafe): one thread yet
    if (built == 0) {
        measure(folder);
    }
    std::filesystem::remove_all(folder);
    return built == 0 ? 0 : 1;
}
