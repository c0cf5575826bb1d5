#pragma once

#include "Ports/MLModel.h"

#include <memory>

namespace vorlin {

/// Where no compiled model can be loaded: every load says so.
class NoMLModels final : public MLModels {
public:
    Completion<std::unique_ptr<MLModel>> load(const std::filesystem::path&, ComputeUnits) override
    {
        Completion<std::unique_ptr<MLModel>> ended;
        ended.completer().failWith("This version of Vorlin cannot run downloaded models.");
        return ended;
    }
};

} // namespace vorlin
