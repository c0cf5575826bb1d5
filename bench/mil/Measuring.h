#pragma once

#include "MIL/Model.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vorlin::mil::bench {

/// What one thing took, round by round.
struct Series {
    std::vector<double> wall; // ms
    std::vector<double> processor;

    void measure(const std::function<void()>& body)
    {
        using Clock = std::chrono::steady_clock;
        const auto start = Clock::now();
        const std::clock_t processorStart = std::clock();
        body();
        wall.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        processor.push_back(1000.0 * static_cast<double>(std::clock() - processorStart) /
                            CLOCKS_PER_SEC);
    }
};

inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

inline double least(const std::vector<double>& values)
{
    return *std::min_element(values.begin(), values.end());
}

/// A model with zeros for inputs.
class Subject {
public:
    Subject(const std::filesystem::path& bundle, std::size_t threadCount,
            SumVectors vectors = SumVectors::fitting,
            LargeProducts products = LargeProducts::singlePrecision)
        : model(Model::load(
              bundle, {.threads = threadCount, .sumVectors = vectors, .largeProducts = products}))
    {
        for (const FeatureDescription& feature : model.inputs()) {
            memory.emplace_back(byteCount(feature.type));
            inputs.push_back({feature.name, {feature.type, memory.back().data()}});
        }
        model.predict(inputs); // touches weights and buffers once
    }

    void run() { model.predict(inputs); }
    /// Derives the program for so many frames and computes it once.
    void shorten(const LengthInput& frames, std::int64_t length)
    {
        model.shorten(frames, {length});
        shorter = length;
        runShorter();
    }
    void runShorter() { model.predictAt(shorter, inputs); }
    std::size_t weightBytes() const { return model.statistics().weightFileBytes; }
    std::size_t bufferBytes() const { return model.statistics().heldBytes; }
    std::size_t plannedBytes() const { return model.statistics().plannedBufferBytes; }

private:
    Model model;
    std::vector<std::vector<std::byte>> memory;
    std::vector<NamedInput> inputs;
    std::int64_t shorter = 0;
};

inline std::string processorName()
{
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    while (std::getline(info, line)) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

/// What this process holds in memory right now, mapped files included.
inline std::size_t residentBytes()
{
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        if (word == "VmRSS:") {
            std::size_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes << 10;
        }
    }
    return 0;
}

} // namespace vorlin::mil::bench
