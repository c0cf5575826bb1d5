#pragma once

#include "Ports/MLModel.h"

#include <cstddef>

namespace vorlin {

/// Models computed in this process, to be compared with those of the engine process. They take
/// and give single precision and int32 alone.
class InProcessModels final : public MLModels {
public:
    /// The most threads a prediction uses; small models use one.
    explicit InProcessModels(std::size_t threads) : threads(threads) {}

    Completion<std::unique_ptr<MLModel>> load(const std::filesystem::path& bundle,
                                              const LoadOptions& options) override;

private:
    const std::size_t threads;
};

} // namespace vorlin
