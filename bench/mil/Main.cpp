// bench_mil FOLDER [ROUNDS [VECTORS]]: measures a model folder made by full_size_model.py.
// bench_mil --steps FOLDER [ROUNDS [VECTORS]]: its decoder and joint steps only.
// bench_mil --encoders ROUNDS FOLDER...: the encoders of several such folders against the first's.
// bench_mil --table FP16 LUT6 INT8 [ROUNDS]: what is promised of the engine's speed, of three such
// folders. bench_mil --memory FOLDER: loads and runs the encoder and holds its resident memory
// against the limit; exit 1 beyond it.
//
// VECTORS are those that products with few columns are summed in: fitting, widest or narrow (at
// most 256 bits). --steps without them measures the latter two. Everything that is compared runs
// in turns, round by round, so that ratios come from one run. Both the wall clock and the processor
// time are given: on a busy machine only the latter means anything.
#include "MIL/Model.h"
#include "Measuring.h"
#include "Table.h"
#include "Yardstick.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin::mil::bench {

namespace {

constexpr std::size_t threads = 2;

void print(const char* name, const Series& series, double perRound)
{
    std::printf("%-28s wall median %9.3f min %9.3f ms, processor median %9.3f min %9.3f ms\n", name,
                median(series.wall) / perRound, least(series.wall) / perRound,
                median(series.processor) / perRound, least(series.processor) / perRound);
}

void compare(const char* name, const Series& series, const Series& yardstick, double limit)
{
    std::printf("%-28s %.2f x by wall minimum, %.2f x by processor minimum (at most %.2f)\n", name,
                least(series.wall) / least(yardstick.wall),
                least(series.processor) / least(yardstick.processor), limit);
}

/// A small step, in each of the forms, against a plain sum of its weights.
void benchStep(const char* name, const std::filesystem::path& bundle, std::size_t bytes,
               const std::vector<SumVectors>& forms, int rounds)
{
    constexpr int perRound = 20;
    std::vector<std::unique_ptr<Subject>> steps;
    for (const SumVectors vectors : forms) {
        steps.push_back(std::make_unique<Subject>(bundle, 1, vectors));
    }
    const PlainSum weights(bundle, bytes);
    std::vector<Series> stepTimes(forms.size());
    Series sumTimes;
    volatile std::uint64_t keep = 0;
    for (int i = 0; i < rounds; ++i) {
        sumTimes.measure([&] {
            for (int k = 0; k < perRound; ++k) {
                keep = weights.run();
            }
        });
        for (std::size_t form = 0; form < forms.size(); ++form) {
            stepTimes[form].measure([&] {
                for (int k = 0; k < perRound; ++k) {
                    steps[form]->run();
                }
            });
        }
    }
    (void)keep;
    print("sum of its weights", sumTimes, perRound);
    for (std::size_t form = 0; form < forms.size(); ++form) {
        std::printf("%s: %s\n", name, describeVectors(forms[form]).c_str());
        print("  step", stepTimes[form], perRound);
        compare("  ratio", stepTimes[form], sumTimes, 1.5);
    }
}

void benchSteps(const std::filesystem::path& folder, const std::vector<SumVectors>& forms,
                int rounds)
{
    constexpr std::size_t hidden = 640;
    benchStep("decoder step", folder / "Decoder.mlmodelc", std::size_t{32} * hidden * hidden, forms,
              rounds);
    benchStep("joint step", folder / "JointDecisionv3.mlmodelc",
              2 * (hidden * 1024 + hidden * hidden + 8198 * hidden), forms, rounds);
}

void benchEncoder(const std::filesystem::path& bundle, SumVectors vectors, int rounds)
{
    Series load;
    Subject encoder(bundle, threads, vectors);
    load.measure([&] { Model::load(bundle, {.threads = threads}); });
    print("load, warm", load, 1);
    EncoderProducts products;
    products.run();
    Series encoderTimes;
    Series productTimes;
    for (int i = 0; i < rounds; ++i) {
        productTimes.measure([&] { products.run(); });
        encoderTimes.measure([&] { encoder.run(); });
    }
    print("encoder, 15 s of audio", encoderTimes, 1);
    print("  oneDNN, its products", productTimes, 1);
    compare("  ratio", encoderTimes, productTimes, 1.5);
    std::printf("  %.1f GFLOP; weights %zu MiB, buffers %zu MiB\n", products.operations() / 1e9,
                encoder.weightBytes() >> 20, encoder.bufferBytes() >> 20);
}

/// The encoders of several folders, in turns, against the first one.
void benchEncoders(const std::vector<std::filesystem::path>& folders, int rounds)
{
    std::vector<std::unique_ptr<Subject>> encoders;
    for (const std::filesystem::path& folder : folders) {
        encoders.push_back(std::make_unique<Subject>(folder / "Encoder.mlmodelc", threads));
    }
    std::vector<Series> times(folders.size());
    for (int i = 0; i < rounds; ++i) {
        for (std::size_t k = 0; k < folders.size(); ++k) {
            times[k].measure([&] { encoders[k]->run(); });
        }
    }
    for (std::size_t k = 0; k < folders.size(); ++k) {
        const std::string name = "encoder, " + folders[k].filename().string();
        print(name.c_str(), times[k], 1);
        if (k > 0) {
            compare("  ratio to the first", times[k], times[0], 1.0);
        }
    }
}

/// Whether the loaded encoder, after a prediction, holds at most 1.15 times its weight file beside
/// the planned buffers. The process itself counts in.
bool checkMemory(const std::filesystem::path& bundle)
{
    constexpr double limit = 1.15;
    Subject encoder(bundle, threads);
    encoder.run();
    const std::size_t resident = residentBytes();
    const double ratio =
        (static_cast<double>(resident) - static_cast<double>(encoder.plannedBytes())) /
        static_cast<double>(encoder.weightBytes());
    std::printf("resident %zu MiB, planned buffers %zu MiB, weight file %zu MiB: %.3f x the file "
                "beside the buffers (at most %.2f)\n",
                resident >> 20, encoder.plannedBytes() >> 20, encoder.weightBytes() >> 20, ratio,
                limit);
    return resident != 0 && ratio <= limit;
}

int roundsFrom(const char* word)
{
    return std::max(1, static_cast<int>(std::strtol(word, nullptr, 10)));
}

SumVectors vectorsNamed(std::string_view word)
{
    if (word == "fitting") {
        return SumVectors::fitting;
    }
    if (word == "widest") {
        return SumVectors::widest;
    }
    if (word == "narrow") {
        return SumVectors::narrow;
    }
    throw Error("'" + std::string(word) + "' is none of fitting, widest and narrow");
}

int run(const std::vector<std::string>& words)
{
    const auto rounds = [&](std::size_t place) {
        return words.size() > place ? roundsFrom(words[place].c_str()) : 5;
    };
    if (words[0] == "--memory" && words.size() > 1) {
        return checkMemory(std::filesystem::path(words[1]) / "Encoder.mlmodelc") ? 0 : 1;
    }
    if (words[0] == "--table" && words.size() > 3) {
        std::printf("%s, %zu threads, %d rounds\n", processorName().c_str(), threads, rounds(4));
        printTable(words[1], words[2], words[3], rounds(4));
        return 0;
    }
    if (words[0] == "--encoders" && words.size() > 2) {
        benchEncoders({words.begin() + 2, words.end()}, rounds(1));
        return 0;
    }
    const std::size_t first = words[0] == "--steps" && words.size() > 1 ? 1 : 0;
    const std::filesystem::path folder = words[first];
    const bool told = words.size() > first + 2;
    const SumVectors vectors = told ? vectorsNamed(words[first + 2]) : SumVectors::fitting;
    std::printf("%s, %zu threads, %d rounds; fitting: %s\n", processorName().c_str(), threads,
                rounds(first + 1), describeVectors(SumVectors::fitting).c_str());
    if (first == 1 && !told) {
        benchSteps(folder, {SumVectors::widest, SumVectors::narrow}, rounds(2));
        return 0;
    }
    benchSteps(folder, {vectors}, rounds(first + 1));
    if (first == 0) {
        benchEncoder(folder / "Encoder.mlmodelc", vectors, rounds(1));
    }
    return 0;
}

} // namespace

} // namespace vorlin::mil::bench

int main(int count, char** arguments)
{
    if (count < 2) {
        std::fprintf(stderr,
                     "usage: bench_mil FOLDER [ROUNDS [VECTORS]] | --memory FOLDER | "
                     "--table FP16 LUT6 INT8 [ROUNDS] | --encoders ROUNDS FOLDER... | --steps "
                     "FOLDER [ROUNDS [VECTORS]]\n");
        return 1;
    }
    try {
        // oneDNN takes its threads from here.
        setenv("OMP_NUM_THREADS", "2", 0); // NOLINT(concurrency-mt-unsafe): one thread so far
        return vorlin::mil::bench::run({arguments + 1, arguments + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_mil: %s\n", error.what());
        return 1;
    }
}
