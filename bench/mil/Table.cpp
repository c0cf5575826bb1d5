#include "Table.h"

#include "Measuring.h"
#include "Yardstick.h"

#include <cstdio>

namespace vorlin::mil::bench {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t threads = 2;
constexpr int stepsPerRound = 20;
constexpr double mebibyte = 1048576;
/// What an utterance of 3 s is computed at: its frames, and room for what the last one sees.
constexpr std::int64_t threeSeconds = 317;

void row(const char* what, double figure, double bar, const char* unit)
{
    std::printf("%-42s %8.3f %-12s at most %.2f  %s\n", what, figure, unit, bar,
                figure <= bar ? "met" : "NOT met");
}

/// By both clocks: on a busy machine the processor's says more.
void rows(const char* what, const Series& series, const Series& yardstick, double bar,
          const char* unit)
{
    row(what, median(series.wall) / median(yardstick.wall), bar, unit);
    row("  by processor time", median(series.processor) / median(yardstick.processor), bar, unit);
    row("  by its minima", least(series.processor) / least(yardstick.processor), bar, unit);
}

std::size_t bytesBelow(const fs::path& folder)
{
    std::size_t sum = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        sum += entry.is_regular_file() ? static_cast<std::size_t>(entry.file_size()) : 0;
    }
    return sum;
}

/// A small program beside a plain sum of its weights, on one thread.
class Step {
public:
    Step(const fs::path& bundle, std::size_t bytes) : subject(bundle, 1), weights(bundle, bytes) {}

    void measure()
    {
        sum.measure([&] {
            for (int i = 0; i < stepsPerRound; ++i) {
                keep = weights.run();
            }
        });
        step.measure([&] {
            for (int i = 0; i < stepsPerRound; ++i) {
                subject.run();
            }
        });
    }
    void print(const char* name) const
    {
        rows(name, step, sum, 1.3, "x plain sum");
        std::printf("  %.1f us, of which the sum %.1f us\n",
                    1000 * median(step.wall) / stepsPerRound,
                    1000 * median(sum.wall) / stepsPerRound);
    }

private:
    Subject subject;
    const PlainSum weights;
    Series step;
    Series sum;
    volatile std::uint64_t keep = 0;
};

void printSteps(const fs::path& folder, int rounds)
{
    constexpr std::size_t hidden = 640;
    Step decoder(folder / "Decoder.mlmodelc", std::size_t{32} * hidden * hidden);
    Step joint(folder / "JointDecisionv3.mlmodelc",
               2 * (hidden * 1024 + hidden * hidden + 8198 * hidden));
    for (int i = 0; i < 5 * rounds; ++i) {
        decoder.measure();
        joint.measure();
    }
    decoder.print("decoder step, one thread");
    joint.print("joint step, one thread");
}

/// Products in 8 bits against our own in single precision.
void printIntegers(const fs::path& halves, const fs::path& palettes, const fs::path& bytes,
                   int rounds)
{
    constexpr auto integers = LargeProducts::integers;
    constexpr auto fitting = SumVectors::fitting;
    Subject full(halves / "Encoder.mlmodelc", threads);
    Subject stored(bytes / "Encoder.mlmodelc", threads, fitting, integers);
    Subject palettised(palettes / "Encoder.mlmodelc", threads, fitting, integers);
    Subject rounded(halves / "Encoder.mlmodelc", threads, fitting, integers);
    stored.shorten({"mel", 2, "mel_length"}, threeSeconds);
    Series fullTimes;
    Series storedTimes;
    Series palettisedTimes;
    Series roundedTimes;
    Series shortTimes;
    for (int i = 0; i < rounds; ++i) {
        fullTimes.measure([&] { full.run(); });
        storedTimes.measure([&] { stored.run(); });
        palettisedTimes.measure([&] { palettised.run(); });
        roundedTimes.measure([&] { rounded.run(); });
        shortTimes.measure([&] { stored.runShorter(); });
    }
    std::printf("products in 8 bits: %s\n", describeIntegers().c_str());
    const char* const unit = "of single";
    rows("encoder in 8 bits, 15 s, stored in 8", storedTimes, fullTimes, 0.4, unit);
    rows("encoder in 8 bits, 15 s, palettes of 6", palettisedTimes, fullTimes, 0.4, unit);
    rows("encoder in 8 bits, 15 s, half precision", roundedTimes, fullTimes, 0.4, unit);
    std::printf("  %.1f ms stored in 8 bits, %.1f ms palettes, %.1f ms half precision; 3 s: "
                "%.1f ms; in single precision %.1f ms\n",
                median(storedTimes.wall), median(palettisedTimes.wall), median(roundedTimes.wall),
                median(shortTimes.wall), median(fullTimes.wall));
}

void printEncoders(const fs::path& halves, const fs::path& palettes, int rounds)
{
    Subject full(halves / "Encoder.mlmodelc", threads);
    Subject palettised(palettes / "Encoder.mlmodelc", threads);
    full.shorten({"mel", 2, "mel_length"}, threeSeconds);
    EncoderProducts products;
    products.run();
    Series yardstick;
    Series fullTimes;
    Series palettisedTimes;
    Series shortTimes;
    for (int i = 0; i < rounds; ++i) {
        yardstick.measure([&] { products.run(); });
        fullTimes.measure([&] { full.run(); });
        palettisedTimes.measure([&] { palettised.run(); });
        shortTimes.measure([&] { full.runShorter(); });
    }
    std::printf("Y = %.1f ms, of processor time %.1f\n", median(yardstick.wall),
                median(yardstick.processor));
    rows("encoder, 15 s, half precision", fullTimes, yardstick, 1.05, "Y");
    rows("encoder, 15 s, palettes of 6 bits", palettisedTimes, yardstick, 1.05, "Y");
    rows("encoder, 3 s", shortTimes, fullTimes, 0.25, "of 15 s");
    std::printf("  %.1f ms; 15 s: %.1f ms, palettes %.1f ms\n", median(shortTimes.wall),
                median(fullTimes.wall), median(palettisedTimes.wall));
}

std::vector<fs::path> partsOf(const fs::path& folder)
{
    std::vector<fs::path> parts;
    for (const char* name : {"Preprocessor", "Encoder", "Decoder", "JointDecisionv3"}) {
        parts.push_back(folder / (std::string(name) + ".mlmodelc"));
    }
    return parts;
}

/// Every part of the folder loaded and run once; the program itself counts in.
void printMemory(const fs::path& folder)
{
    std::vector<std::unique_ptr<Subject>> loaded;
    for (const fs::path& part : partsOf(folder)) {
        loaded.push_back(std::make_unique<Subject>(part, threads));
    }
    const auto resident = static_cast<double>(residentBytes());
    const auto stored = static_cast<double>(bytesBelow(folder));
    row("resident, whole model loaded and run", resident / stored, 1.1, "x folder");
    std::printf("  %.0f MiB of %.0f MiB\n", resident / mebibyte, stored / mebibyte);
    Series load;
    for (int i = 0; i < 5; ++i) {
        load.measure([&] {
            for (const fs::path& part : partsOf(folder)) {
                Model::load(part, {.threads = threads});
            }
        });
    }
    row("load of its four parts, files in memory", median(load.wall) / 1000, 0.05, "s");
}

} // namespace

void printTable(const fs::path& halves, const fs::path& palettes, const fs::path& bytes, int rounds)
{
    printMemory(halves);
    printSteps(halves, rounds);
    printEncoders(halves, palettes, rounds);
    printIntegers(halves, palettes, bytes, rounds);
}

} // namespace vorlin::mil::bench
