// From letting the key go to the text, with the local engine and a full-size model of random
// weights, split into where the time goes; decoding steps a second; memory before, with and after
// the model. First at the models' full length, then once the shorter ones are proved.
//
//   release_to_text_bench [MODEL-FOLDER]     builds the folder when none is given (1.3 GB)

#include "InProcessModels.h"
#include "Parakeet/ParakeetTranscriber.h"
#include "Platform/Linux/Desktop/XDGFolders.h"
#include "Platform/Linux/Engine/EngineModels.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"
#include "TimedModels.h"
#include "fakes/FakeAudioConverters.h"
#include "fakes/FakeAudioInput.h"
#include "fakes/FakeDesktop.h"

#include <QCoreApplication>

#include <fmt/core.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <numeric>
#include <random>
#include <thread>

namespace {

using namespace vorlin;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

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

/// A kind of noise that is speech to the segmenter and has no pauses.
std::vector<float> babble(double seconds)
{
    std::mt19937 random(1);
    std::normal_distribution<float> level(0, 0.1F);
    std::vector<float> samples(static_cast<std::size_t>(seconds * 16000));
    std::ranges::generate(samples, [&] { return level(random); });
    return samples;
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

class Bench {
public:
    Bench(std::filesystem::path folder, MLModels& models, MainLoop& loop, Workers& workers)
        : folder(std::move(folder)), timed(models), loop(loop),
          runtime(std::make_shared<ParakeetRuntime>(timed, folders, loop, workers, &memory))
    {
    }

    struct Result {
        std::chrono::nanoseconds total{0};
        TimedModels::Times times;
    };

    /// One dictation, all of whose audio has come at the release.
    Result dictate(double seconds, bool withDraft)
    {
        ParakeetTranscriber transcriber(folder, runtime, converters, loop);
        bool drafted = false;
        transcriber.setOnText([&](const std::string&) { drafted = true; });
        spawn(loop, transcriber.prepare());
        PCMBuffer buffer({SampleType::float32, 16000, 1, false},
                         static_cast<std::uint32_t>(seconds * 16000));
        buffer.setFrameLength(buffer.frameCapacity());
        const auto samples = babble(seconds);
        std::copy(samples.begin(), samples.end(), reinterpret_cast<float*>(buffer.plane(0).data()));
        transcriber.feed(buffer);
        if (withDraft) {
            waitFor([&] { return timed.inBackground.load(); });
        }
        timed.take();
        Result result;
        bool done = false;
        const auto released = Clock::now();
        spawn(loop,
              [](Transcriber& ending, Result& into, Clock::time_point start,
                 bool& ended) -> Task<void> {
                  co_await ending.finish();
                  into.total = Clock::now() - start;
                  ended = true;
              }(transcriber, result, released, done));
        waitFor([&] { return done; });
        result.times = timed.take();
        if (const auto failure = transcriber.failure()) {
            fmt::print(stderr, "{}\n", *failure);
            std::exit(1);
        }
        return result;
    }

    /// Waits until the lengths of the loaded models are proved; how long that took, the quiet time
    /// before it included.
    std::chrono::nanoseconds prove()
    {
        const auto begin = Clock::now();
        waitFor([&] { return !memory.values.empty(); });
        return Clock::now() - begin;
    }

    void unload()
    {
        runtime->unload();
        std::this_thread::sleep_for(500ms);
        QCoreApplication::processEvents();
    }

private:
    template <class Condition>
    static void waitFor(const Condition& condition)
    {
        if (!runUntil(condition, 5min)) {
            fmt::print(stderr, "nothing came\n");
            std::exit(1);
        }
    }

    const std::filesystem::path folder;
    TimedModels timed;
    MainLoop& loop;
    std::shared_ptr<XDGFolders> folders = std::make_shared<XDGFolders>("/nowhere");
    FakeAudioConverters converters;
    FakeDefaults memory;
    std::shared_ptr<ParakeetRuntime> runtime;
};

/// What a call of a small model costs because another process computes it: the typical time there
/// and here, each the best of several dictations in turn.
std::chrono::nanoseconds boundaryPerCall(Bench& there, Bench& here)
{
    std::map<std::string, std::chrono::nanoseconds> bestThere;
    std::map<std::string, std::chrono::nanoseconds> bestHere;
    const auto run = [](Bench& bench, auto& best) {
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

void printSplit(const Bench::Result& result, std::chrono::nanoseconds perCall)
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
               "boundary {:4.1f} + rest {:5.1f}; {} steps, {:.0f} a second\n",
               milliseconds(result.total), milliseconds(preprocessor), milliseconds(encoder),
               milliseconds(decoding - boundary), milliseconds(boundary), milliseconds(rest),
               joint.size(), static_cast<double>(joint.size()) / milliseconds(decoding) * 1000);
}

void printReleases(Bench& bench, bool withDraft, std::chrono::nanoseconds perCall)
{
    fmt::print("release to text, {}, best of {}:\n",
               withDraft ? "a draft running at the release" : "no draft running", runs);
    for (const double seconds : {2.0, 3.0, 5.0, 10.0, 13.9}) {
        std::vector<Bench::Result> results;
        for (int run = 0; run < runs; ++run) {
            results.push_back(bench.dictate(seconds, withDraft));
        }
        fmt::print("  {:4.1f} s: ", seconds);
        printSplit(*std::ranges::min_element(results, {}, &Bench::Result::total), perCall);
    }
}

void measure(const std::filesystem::path& folder)
{
    QtMainLoop loop;
    ThreadPool workers([] {});
    EngineModels engine(workers, VORLIN_ENGINE);
    InProcessModels local(std::max(1U, std::thread::hardware_concurrency()));
    Bench there(folder, engine, loop, workers);

    printMemory("at rest");
    there.dictate(2, false);
    printMemory("loaded");
    there.unload();
    printMemory("unloaded");

    std::chrono::nanoseconds perCall{0};
    {
        Bench here(folder, local, loop, workers);
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
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication qt(argc, argv);
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
