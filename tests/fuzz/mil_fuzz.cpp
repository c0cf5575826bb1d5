#include "mil_fuzz.h"

#include "MIL/Model.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <mutex>

#include <random>
#include <string>
#include <thread>
#include <vector>

namespace vorlin::mil::fuzz {

namespace {

constexpr std::size_t largestBuffers = std::size_t{32} << 20;
constexpr auto patience = std::chrono::milliseconds(300);

/// Stops what takes too long: a program may ask for any amount of work, but must stop when told.
class Watch {
public:
    Watch() : thread([this] { watch(); }) {}
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch()
    {
        ending = true;
        thread.join();
    }

    const std::atomic<bool>* start()
    {
        const std::lock_guard guard(lock);
        stopping = false;
        deadline = std::chrono::steady_clock::now() + patience;
        return &stopping;
    }

private:
    void watch()
    {
        while (!ending) {
            std::this_thread::sleep_for(patience / 3);
            const std::lock_guard guard(lock);
            if (std::chrono::steady_clock::now() > deadline) {
                stopping = true;
            }
        }
    }

    std::mutex lock;
    std::atomic<bool> ending = false;
    std::atomic<bool> stopping = false;
    std::chrono::steady_clock::time_point deadline;
    std::thread thread;
};

} // namespace

std::filesystem::path bundleFolder()
{
    static const std::filesystem::path folder = [] {
        const std::filesystem::path memory = "/dev/shm";
        const auto base =
            std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
        const auto path = base / ("mil-fuzz-" + std::to_string(std::random_device()()));
        std::filesystem::create_directories(path / "weights");
        return path;
    }();
    return folder;
}

void writeFile(const std::filesystem::path& path, std::string_view content)
{
    std::ofstream(path, std::ios::binary)
        .write(content.data(), static_cast<std::streamsize>(content.size()));
}

void prepareWeights()
{
    static const bool prepared = [] {
        // One record of 16 halves at 64.
        std::string weights(64 + 64 + 64, '\1');
        const std::uint32_t header[] = {1, 2};
        const std::uint64_t record[] = {0x1DEADBEEF, 32, 128, 0};
        std::memcpy(weights.data(), header, sizeof(header));
        std::memcpy(weights.data() + 64, record, sizeof(record));
        writeFile(bundleFolder() / "weights" / "weight.bin", weights);
        return true;
    }();
    (void)prepared;
}

namespace {

/// Zeros for every input.
struct Zeros {
    explicit Zeros(const Model& model)
    {
        for (const FeatureDescription& feature : model.inputs()) {
            TensorType type{feature.type.element,
                            feature.defaultShape.value_or(feature.type.shape)};
            for (std::int64_t& extent : type.shape) {
                extent = extent == Extents::unknown ? 2 : extent;
            }
            const std::size_t bytes = byteCount(type);
            total += bytes;
            if (total > largestBuffers) {
                return;
            }
            memory.emplace_back(bytes + 1);
            inputs.push_back({feature.name, {type, memory.back().data()}});
        }
    }

    std::vector<std::vector<std::byte>> memory;
    std::vector<NamedInput> inputs;
    std::size_t total = 0;
};

Model load()
{
    return Model::load(bundleFolder(), {.threads = 1, .largestBuffers = largestBuffers});
}

Watch& watch()
{
    static Watch only;
    return only;
}

} // namespace

void loadAndPredict()
{
    try {
        Model model = load();
        const Zeros zeros(model);
        if (zeros.total <= largestBuffers) {
            model.predict(zeros.inputs, watch().start());
            model.predict(zeros.inputs, watch().start());
        }
    } catch (const Error&) {
    } catch (const Stopped&) {
    }
}

void loadAndShorten(std::string_view count)
{
    try {
        const std::vector<FeatureDescription> features = load().inputs();
        for (const FeatureDescription& feature : features) {
            for (std::size_t axis = 0; axis < std::min<std::size_t>(feature.type.shape.size(), 4);
                 ++axis) {
                const std::int64_t full = feature.type.shape[axis];
                if (full < 2) {
                    continue;
                }
                Model model = load();
                model.shorten({feature.name, axis, std::string(count)},
                              {1, full / 3, full / 2, full - 1});
                const Zeros zeros(model);
                for (const std::int64_t length : model.shorterLengths()) {
                    if (zeros.total <= largestBuffers) {
                        model.predictAt(length, zeros.inputs, watch().start());
                        model.predict(zeros.inputs, watch().start());
                    }
                }
            }
        }
    } catch (const Error&) {
    } catch (const Stopped&) {
    }
}

} // namespace vorlin::mil::fuzz
