#include "DictationBench.h"

#include "Platform/RunUntil.h"

#include <QCoreApplication>

#include <fmt/core.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <thread>
#include <utility>

namespace vorlin {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr double samplesPerSecond = 16000;

/// A kind of noise that is speech to the segmenter and has no pauses.
std::vector<float> babble(double seconds)
{
    std::mt19937 random(1);
    std::normal_distribution<float> level(0, 0.1F);
    std::vector<float> samples(static_cast<std::size_t>(seconds * 16000));
    std::ranges::generate(samples, [&] { return level(random); });
    return samples;
}

PCMBuffer bufferOf(const std::vector<float>& samples)
{
    PCMBuffer buffer({SampleType::float32, 16000, 1, false},
                     static_cast<std::uint32_t>(samples.size()));
    buffer.setFrameLength(buffer.frameCapacity());
    std::copy(samples.begin(), samples.end(), reinterpret_cast<float*>(buffer.plane(0).data()));
    return buffer;
}

template <class Condition>
void waitFor(const Condition& condition)
{
    if (!runUntil(condition, 5min)) {
        fmt::print(stderr, "nothing came\n");
        std::exit(1); // NOLINT(concurrency-mt-unsafe): nothing is to be saved
    }
}

} // namespace

DictationBench::DictationBench(std::filesystem::path folder, MLModels& models, MainLoop& loop,
                               Workers& workers)
    : folder(std::move(folder)), timed(models), loop(loop),
      runtime(std::make_shared<ParakeetRuntime>(timed, folders, loop, workers, &memory))
{
}

DictationBench::Result DictationBench::dictate(double seconds, bool withDraft)
{
    ParakeetTranscriber transcriber(folder, runtime, converters, loop);
    transcriber.setOnText([](const std::string&) {});
    spawn(loop, transcriber.prepare());
    transcriber.feed(bufferOf(babble(seconds)));
    if (withDraft) {
        waitFor([&] { return timed.inBackground.load(); });
    }
    timed.take();
    Result result;
    result.total = release(transcriber);
    result.times = timed.take();
    return result;
}

std::chrono::nanoseconds DictationBench::dictateWithPauses(double seconds, unsigned seed)
{
    constexpr double pause = 0.6;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> length(2, 10);
    ParakeetTranscriber transcriber(folder, runtime, converters, loop);
    transcriber.setOnText([](const std::string&) {});
    spawn(loop, transcriber.prepare());
    for (double said = 0; said < seconds;) {
        const double now = std::min(length(random), seconds - said);
        transcriber.feed(bufferOf(babble(now)));
        said += now + pause;
        if (said < seconds) {
            const auto silence = static_cast<std::size_t>(pause * samplesPerSecond);
            transcriber.feed(bufferOf(std::vector<float>(silence)));
            waitFor([&] { return transcriber.queued() == 0; });
        }
    }
    return release(transcriber);
}

/// Ends a dictation; how long its text took.
std::chrono::nanoseconds DictationBench::release(ParakeetTranscriber& transcriber)
{
    bool done = false;
    std::chrono::nanoseconds took{0};
    const auto released = Clock::now();
    spawn(loop,
          [](Transcriber& ending, std::chrono::nanoseconds& into, Clock::time_point start,
             bool& ended) -> Task<void> {
              co_await ending.finish();
              into = Clock::now() - start;
              ended = true;
          }(transcriber, took, released, done));
    waitFor([&] { return done; });
    if (const auto failure = transcriber.failure()) {
        fmt::print(stderr, "{}\n", *failure);
        std::exit(1); // NOLINT(concurrency-mt-unsafe): nothing is to be saved
    }
    return took;
}

void DictationBench::load()
{
    timed.loaded = 0;
    runtime->warm(folder, WorkPriority::normal, {});
    waitFor([&] { return timed.loaded == 4; });
}

std::chrono::nanoseconds DictationBench::prove()
{
    const auto begin = Clock::now();
    waitFor([&] { return !memory.values.empty(); });
    return Clock::now() - begin;
}

void DictationBench::unload()
{
    runtime->unload();
    std::this_thread::sleep_for(500ms);
    QCoreApplication::processEvents();
}

} // namespace vorlin
