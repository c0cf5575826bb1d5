#pragma once

#include "Async/MainLoop.h"
#include "Platform/macOS/Plain/MainLoopDoor.h"
#include "Ports/MLModel.h"

namespace vorlin {

/// Models that Core ML loads and runs. It tells of no progress: a load counts as getting on for as
/// long as it is under way. A prediction cannot be cut short: one that is stopped fails once it has
/// ended.
class MacMLModels final : public MLModels {
public:
    /// `loop` must outlive this object.
    explicit MacMLModels(MainLoop& loop) : loop(loop), door(loop) {}

    /// Answers on the main loop; abandons a load that ends when this object is gone.
    Completion<std::unique_ptr<MLModel>> load(const std::filesystem::path& bundle,
                                              const LoadOptions& options) override;

private:
    MainLoop& loop;
    OwnedDoor door;
};

} // namespace vorlin
