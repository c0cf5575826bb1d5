// How long from the key to the first captured buffer: from AudioInput::start to the first call
// of the tap, on the sound server of the desktop it runs in.

#include "Platform/Linux/Audio/PulseAudioInput.h"
#include "Platform/Linux/Audio/PulseSounds.h"
#include "Platform/Shared/QtMainLoop.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <fmt/core.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <optional>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

void runFor(std::chrono::milliseconds span)
{
    QEventLoop loop;
    QTimer::singleShot(span, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Starts, waits for the first buffer and a little longer, drops. Nothing when none comes.
std::optional<double> measure(vorlin::PulseAudioInput& input)
{
    std::atomic<Clock::rep> first = 0;
    const auto begin = Clock::now();
    const auto started = input.start(
        [&first](const vorlin::PCMBuffer&) {
            Clock::rep none = 0;
            first.compare_exchange_strong(none, Clock::now().time_since_epoch().count());
        },
        [](const std::string& reason) { fmt::print("failed: {}\n", reason); });
    for (int i = 0; i < 500 && first == 0; ++i) {
        runFor(10ms);
    }
    runFor(100ms);
    input.drop();
    if (first == 0) {
        return std::nullopt;
    }
    return Milliseconds(Clock::duration(first) - begin.time_since_epoch()).count();
}

void print(const char* what, std::vector<double> milliseconds)
{
    if (milliseconds.empty()) {
        fmt::print("{}: no buffer came\n", what);
        return;
    }
    std::ranges::sort(milliseconds);
    fmt::print("{} ({}): median {:.1f} ms, min {:.1f} ms, max {:.1f} ms\n", what,
               milliseconds.size(), milliseconds[milliseconds.size() / 2], milliseconds.front(),
               milliseconds.back());
}

/// `rounds` captures, a sound before each if `sounds` are given.
std::vector<double> measureAll(vorlin::PulseAudioInput& input, int rounds,
                               vorlin::PulseSounds* sounds)
{
    std::vector<double> results;
    for (int i = 0; i < rounds; ++i) {
        runFor(300ms);
        if (sounds != nullptr) {
            sounds->play("Tink");
        }
        if (const auto result = measure(input)) {
            results.push_back(*result);
        }
    }
    return results;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    vorlin::QtMainLoop loop;
    std::vector<double> first;
    std::vector<double> atOnce;
    for (int i = 0; i < 10; ++i) {
        vorlin::PulseContext context;
        vorlin::PulseAudioInput input(context, loop);
        if (i % 2 == 0) {
            runFor(1s);
        }
        if (const auto result = measure(input)) {
            (i % 2 == 0 ? first : atOnce).push_back(*result);
        }
    }
    print("first capture, 1 s after the program's start", first);
    print("first capture, with the program's start", atOnce);

    vorlin::PulseContext context;
    vorlin::PulseAudioInput input(context, loop);
    vorlin::PulseSounds sounds(context);
    print("later captures", measureAll(input, 31, nullptr));
    print("later captures, with a sound", measureAll(input, 31, &sounds));
    return 0;
}
