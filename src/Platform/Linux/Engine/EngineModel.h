#pragma once

#include "Platform/Linux/Engine/EngineProcess.h"
#include "Platform/Linux/Engine/EngineTensors.h"
#include "Platform/Linux/Engine/Wire/RepeatedMessages.h"
#include "Platform/Linux/Engine/Wire/SharedMemory.h"
#include "Ports/MLModel.h"

#include <memory>
#include <mutex>

namespace vorlin {

/// A model that the engine process holds. Predictions compute while the calling thread waits.
class EngineModel final : public MLModel {
public:
    /// `channel` is the model's own, on which it was loaded as number `id`.
    EngineModel(std::shared_ptr<EngineProcess> process, std::uint32_t id, Descriptor channel,
                MLSignature signature);
    ~EngineModel() override;

    const MLSignature& signature() const override { return declared; }
    bool isLost() const override { return process->ended(); }
    Completion<MLFeatures> predict(const MLFeatures& inputs, WorkPriority priority,
                                   StopToken stop) override;
    bool predictInto(MLFeatures& outputs, const MLFeatures& inputs, WorkPriority priority,
                     const StopToken& stop) override;
    bool computesFewerFrames() const override { return true; }
    Completion<MLFeatures> predictAt(std::int64_t frames, const MLFeatures& inputs,
                                     WorkPriority priority, StopToken stop) override;

private:
    void compute(std::int64_t frames, const MLFeatures& inputs, MLFeatures& outputs,
                 WorkPriority priority, const StopToken& stop);
    Descriptor makeRoom(std::uint64_t bytes);
    void await(std::uint64_t begin, MLFeatures& outputs, const StopToken& stop);
    const engine::Reply& nextReply(const StopToken& stop);
    void provide(const engine::NeedsMemoryReply& wanted, std::uint64_t outputs);
    void ask(const engine::ModelRequest& request, int attached);
    [[noreturn]] void lost();
    [[noreturn]] void fail(const std::string& reason);

    // The process goes after the channel: its last model's end ends it.
    const std::shared_ptr<EngineProcess> process;
    const std::uint32_t id;
    Descriptor channel;
    const MLSignature declared;
    const std::uint64_t expectedOutputs; // bytes

    std::mutex turn;
    engine::SharedMemory memory; // guarded by turn, like all that follows
    engine::ModelRequest prediction{engine::PredictRequest{}}; // the last one
    engine::Packet packet;                                     // of the last request
    engine::RepeatedReplies replies;
    std::vector<std::byte> buffer; // for replies
    std::uint64_t sequence = 0;
    bool unanswered = false; // the engine has not answered the last request
};

} // namespace vorlin
