#pragma once

#include "Ports/MLModel.h"

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace vorlin {

/// Other models, and how long each of their predictions took.
class TimedModels final : public MLModels {
public:
    using Times = std::map<std::string, std::vector<std::chrono::nanoseconds>>;

    explicit TimedModels(MLModels& models) : models(models) {}

    Completion<std::unique_ptr<MLModel>> load(const std::filesystem::path& bundle,
                                              const LoadOptions& options) override;

    /// The time of each prediction since the last call, by bundle name, in order; those that
    /// failed or were stopped left out.
    Times take();

    /// Whether a prediction of background priority is under way.
    std::atomic<bool> inBackground = false;

    /// How many models have been loaded.
    std::atomic<int> loaded = 0;

private:
    class Model;

    MLModels& models;
    std::mutex lock;
    Times times;
};

} // namespace vorlin
