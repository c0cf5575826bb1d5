#include "MIL/Run/Commands.h"

#include "MIL/Model.h"
#include "MIL/Run/Npy.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <thread>
#include <vector>

namespace vorlin::mil {

const std::string_view usage =
    "usage: milrun info BUNDLE | "
    "milrun predict BUNDLE --in NAME=FILE.npy ... --out DIR [--threads N] [--products integers] | "
    "milrun bench BUNDLE [--in NAME=FILE.npy ...] [--threads N] [--runs N] "
    "[--at DATA:AXIS:LENGTH:FRAMES] [--products integers]";

namespace {

struct Arguments {
    std::string command;
    std::filesystem::path bundle;
    std::vector<std::pair<std::string, std::string>> inputs; // name, file
    std::filesystem::path output;
    std::size_t threads = std::max(1u, std::thread::hardware_concurrency());
    LargeProducts largeProducts = LargeProducts::singlePrecision;
    std::size_t runs = 5;
    LengthInput frames{};
    std::int64_t at = 0; // frames of a shorter length
};

std::size_t positive(const std::string& text)
{
    std::size_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value == 0 || value > 4096) {
        throw Error("'" + text + "' is no number from 1 to 4096");
    }
    return value;
}

/// "mel:2:mel_length:317".
void parseFrames(const std::string& text, Arguments& arguments)
{
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == ':') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    std::int64_t axis = -1;
    if (parts.size() == 4) {
        std::from_chars(parts[1].data(), parts[1].data() + parts[1].size(), axis);
        std::from_chars(parts[3].data(), parts[3].data() + parts[3].size(), arguments.at);
    }
    if (axis < 0 || arguments.at <= 0) {
        throw Error("--at takes DATA:AXIS:LENGTH:FRAMES, not '" + text + "'");
    }
    arguments.frames = {parts[0], static_cast<std::size_t>(axis), parts[2]};
}

Arguments parse(std::span<const std::string> words)
{
    if (words.size() < 2) {
        throw Error(std::string(usage));
    }
    Arguments arguments;
    arguments.command = words[0];
    arguments.bundle = words[1];
    for (std::size_t i = 2; i < words.size(); i += 2) {
        if (i + 1 == words.size()) {
            throw Error(std::string(usage));
        }
        const std::string& value = words[i + 1];
        if (words[i] == "--in") {
            const std::size_t equals = value.find('=');
            if (equals == std::string::npos) {
                throw Error("--in takes NAME=FILE.npy, not '" + value + "'");
            }
            arguments.inputs.emplace_back(value.substr(0, equals), value.substr(equals + 1));
        } else if (words[i] == "--out") {
            arguments.output = value;
        } else if (words[i] == "--threads") {
            arguments.threads = positive(value);
        } else if (words[i] == "--runs") {
            arguments.runs = positive(value);
        } else if (words[i] == "--products" && value == "integers") {
            arguments.largeProducts = LargeProducts::integers;
        } else if (words[i] == "--at") {
            parseFrames(value, arguments);
        } else {
            throw Error("unknown option '" + words[i] + "'; " + std::string(usage));
        }
    }
    return arguments;
}

void printFeatures(const char* title, const std::vector<FeatureDescription>& features)
{
    for (const FeatureDescription& feature : features) {
        std::printf("%s %s: %s", title, feature.name.c_str(), describe(feature.type).c_str());
        for (std::size_t i = 0; i < feature.accepted.size(); ++i) {
            std::printf("%s %s", i == 0 ? ", accepts" : " or",
                        describe(feature.accepted[i]).c_str());
        }
        std::printf("\n");
    }
}

void info(const Arguments& arguments)
{
    const std::vector<std::string> unknown = unknownOperations(arguments.bundle);
    if (!unknown.empty()) {
        for (const std::string& name : unknown) {
            std::printf("unknown operation %s\n", name.c_str());
        }
        std::printf("unknown operations: %zu\n", unknown.size());
        return;
    }
    const Model model = Model::load(arguments.bundle, {});
    std::printf("vectors: %s\n", describeVectors(SumVectors::fitting).c_str());
    const std::string integers = describeIntegers();
    std::printf("products in 8 bits: %s\n", integers.empty() ? "none" : integers.c_str());
    printFeatures("input", model.inputs());
    printFeatures("output", model.outputs());
    printFeatures("state", model.states());
    const Model::Statistics statistics = model.statistics();
    for (const auto& [name, count] : statistics.operations) {
        std::printf("operation %s: %zu\n", name.c_str(), count);
    }
    for (const auto& [type, bytes] : statistics.constantBytes) {
        std::printf("constants %s: %zu bytes\n", type.c_str(), bytes);
    }
    std::printf("weight files: %zu bytes\n", statistics.weightFileBytes);
    std::printf("peak buffer memory: %zu bytes\n", statistics.plannedBufferBytes);
    std::printf("unknown operations: 0\n");
}

/// Files of the named inputs, kept for as long as they are predicted from.
struct LoadedInputs {
    std::vector<std::string> names;
    std::vector<NpyTensor> tensors;

    explicit LoadedInputs(const Arguments& arguments)
    {
        for (const auto& [name, file] : arguments.inputs) {
            names.push_back(name);
            tensors.push_back(readNpy(file));
        }
    }
    std::vector<NamedInput> named() const
    {
        std::vector<NamedInput> result;
        for (std::size_t i = 0; i < names.size(); ++i) {
            result.push_back({names[i], tensors[i].view()});
        }
        return result;
    }
};

void predict(const Arguments& arguments)
{
    if (arguments.output.empty()) {
        throw Error("--out is missing; " + std::string(usage));
    }
    Model model = Model::load(
        arguments.bundle, {.threads = arguments.threads, .largeProducts = arguments.largeProducts});
    const LoadedInputs inputs(arguments);
    const std::vector<NamedOutput> outputs = model.predict(inputs.named());
    std::error_code failure;
    std::filesystem::create_directories(arguments.output, failure);
    for (const NamedOutput& output : outputs) {
        writeNpy(arguments.output / (output.name + ".npy"), output.type, output.bytes);
    }
}

/// Zeros for every input that no file was given for; open extents become those the program was
/// exported with, else 1.
void completeInputs(const Model& model, LoadedInputs& inputs)
{
    for (const FeatureDescription& feature : model.inputs()) {
        if (std::find(inputs.names.begin(), inputs.names.end(), feature.name) !=
            inputs.names.end()) {
            continue;
        }
        NpyTensor tensor{{feature.type.element, feature.defaultShape.value_or(feature.type.shape)},
                         {}};
        for (std::int64_t& extent : tensor.type.shape) {
            extent = extent == Extents::unknown ? 1 : extent;
        }
        tensor.bytes.resize(byteCount(tensor.type));
        inputs.names.push_back(feature.name);
        inputs.tensors.push_back(std::move(tensor));
    }
}

/// The largest resident size this process has had, as the system reports it; 0 elsewhere.
std::size_t peakResidentKilobytes()
{
    std::ifstream status("/proc/self/status");
    std::string word;
    std::size_t value = 0;
    while (status >> word) {
        if (word == "VmHWM:") {
            status >> value;
            return value;
        }
    }
    return value;
}

using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

/// Times the program at its full and at a shorter length, in turns.
void benchShorter(const Arguments& arguments, Model& model, const LoadedInputs& inputs)
{
    const auto start = Clock::now();
    const std::string why = model.shorten(arguments.frames, {arguments.at});
    std::printf("shortened in %.3f ms%s%s\n", milliseconds(Clock::now() - start),
                why.empty() ? "" : ": ", why.c_str());
    if (!why.empty()) {
        return;
    }
    for (const std::int64_t length : model.shorterLengths()) {
        model.predictAt(length, inputs.named());
        std::vector<double> full;
        std::vector<double> shorter;
        for (std::size_t i = 0; i < arguments.runs; ++i) {
            const auto first = Clock::now();
            model.predict(inputs.named());
            const auto second = Clock::now();
            model.predictAt(length, inputs.named());
            full.push_back(milliseconds(second - first));
            shorter.push_back(milliseconds(Clock::now() - second));
        }
        std::sort(full.begin(), full.end());
        std::sort(shorter.begin(), shorter.end());
        const std::size_t middle = arguments.runs / 2;
        std::printf("at length %lld: median %.3f ms, minimum %.3f ms; full: %.3f ms, %.3f ms; "
                    "ratios %.3f, %.3f\n",
                    static_cast<long long>(length), shorter[middle], shorter.front(), full[middle],
                    full.front(), shorter[middle] / full[middle], shorter.front() / full.front());
    }
    std::printf("held: %zu bytes\n", model.statistics().heldBytes);
}

void bench(const Arguments& arguments)
{
    std::printf("vectors: %s\n", describeVectors(SumVectors::fitting).c_str());
    const auto loadStart = Clock::now();
    Model model = Model::load(
        arguments.bundle, {.threads = arguments.threads, .largeProducts = arguments.largeProducts});
    std::printf("load: %.3f ms\n", milliseconds(Clock::now() - loadStart));
    LoadedInputs inputs(arguments);
    completeInputs(model, inputs);
    model.predict(inputs.named()); // touches every page and buffer once
    if (arguments.at != 0) {
        benchShorter(arguments, model, inputs);
        return;
    }
    std::vector<double> times;
    model.collectTimes(true);
    for (std::size_t i = 0; i < arguments.runs; ++i) {
        const auto start = Clock::now();
        model.predict(inputs.named());
        times.push_back(milliseconds(Clock::now() - start));
    }
    std::sort(times.begin(), times.end());
    std::printf("predict on %zu threads, %zu runs: median %.3f ms, minimum %.3f ms, "
                "maximum %.3f ms\n",
                arguments.threads, times.size(), times[times.size() / 2], times.front(),
                times.back());
    const Model::Statistics statistics = model.statistics();
    std::printf("buffers: %zu bytes planned, %zu held\n", statistics.plannedBufferBytes,
                statistics.heldBytes);
    std::printf("peak memory: %zu kB resident\n", peakResidentKilobytes());
    std::vector<std::pair<std::string, Model::KindTime>> kinds;
    for (const auto& entry : model.times()) {
        kinds.emplace_back(entry);
    }
    std::sort(kinds.begin(), kinds.end(),
              [](const auto& a, const auto& b) { return a.second.time > b.second.time; });
    for (const auto& [name, spent] : kinds) {
        std::printf("%10.3f ms  %5zu x %s\n",
                    milliseconds(spent.time) / static_cast<double>(arguments.runs),
                    spent.calls / arguments.runs, name.c_str());
    }
}

} // namespace

void runCommand(std::span<const std::string> words)
{
    const Arguments arguments = parse(words);
    if (arguments.command == "info") {
        info(arguments);
    } else if (arguments.command == "predict") {
        predict(arguments);
    } else if (arguments.command == "bench") {
        bench(arguments);
    } else {
        throw Error("unknown command '" + arguments.command + "'; " + std::string(usage));
    }
}

} // namespace vorlin::mil
