#pragma once

#include "Platform/Linux/Engine/EngineLimits.h"
#include "Platform/Linux/Engine/EngineProgram.h"
#include "Ports/MLModel.h"
#include "Ports/Workers.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace vorlin {

/// Models computed by the engine process: one confined process for each model folder, the folder
/// that holds the bundles. It starts with the first load, is shared by all models of the folder,
/// ends with the last of them, and is started anew if it died. Any thread.
class EngineModels final : public MLModels {
public:
    /// What large products are computed in; the program leaves it at single precision.
    enum class Products : std::uint8_t {
        singlePrecision,
        /// Rounded to 8 bits: faster, less exact.
        integers,
    };

    /// `workers` must outlive this object, and be closed before it goes.
    explicit EngineModels(Workers& workers, std::filesystem::path program = engineProgram(),
                          const EngineLimits& limits = {},
                          Products products = Products::singlePrecision);
    EngineModels(const EngineModels&) = delete;
    EngineModels& operator=(const EngineModels&) = delete;
    /// Ends the processes.
    ~EngineModels() override;

    /// Ends the processes, so that nobody waits for a prediction or a load any more. Never waits.
    void close();

    /// The graphics processor is not used: `cpuAndGPU` means all processors, `cpuOnly` one.
    Completion<std::unique_ptr<MLModel>> load(const std::filesystem::path& bundle,
                                              const LoadOptions& options) override;

    /// The size and the time of the engine's program, and what else its results depend on.
    std::string engineIdentity() const override;

private:
    struct State;

    Workers& workers;
    std::shared_ptr<State> state;
};

} // namespace vorlin
