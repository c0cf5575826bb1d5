#pragma once

#include "BackgroundLane.h"
#include "MIL/Model.h"
#include "Platform/Linux/Engine/Wire/Channel.h"
#include "Platform/Linux/Engine/Wire/Messages.h"
#include "Platform/Linux/Engine/Wire/SharedMemory.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace vorlin::engine {

/// One model and the channel on which it is asked.
class ServedModel {
public:
    /// `lane` must outlive this object.
    ServedModel(Descriptor channel, LoadRequest request, BackgroundLane& lane);

    /// Loads the model and answers requests until the channel ends or makes no sense. On the
    /// thread of this model.
    void serve();

    /// Stops the prediction of that number, now or when it comes. Any thread.
    void stop(std::uint64_t sequence);

private:
    bool load();
    bool answer(const PredictRequest& request, Descriptor& attached);
    bool answer(const ResumeRequest& request, Descriptor& attached);
    bool take(Descriptor& attached, std::uint64_t bytes);
    Reply predict(const PredictRequest& request);
    std::vector<mil::NamedOutput> compute(const PredictRequest& request);
    std::vector<mil::NamedInput> inputsOf(const PredictRequest& request) const;
    void begin(std::uint64_t sequence);
    Reply placed(std::uint64_t sequence, std::uint64_t begin);
    void reply(const Reply& message);

    Descriptor channel;
    const LoadRequest request;
    BackgroundLane& lane;
    std::optional<mil::Model> model;
    SharedMemory memory;
    std::vector<mil::NamedOutput> held; // computed, and not yet handed over

    std::mutex lock;
    std::atomic<bool> stopping = false; // of the last prediction begun; set under lock
    std::uint64_t lastBegun = 0;        // guarded by lock
    std::uint64_t lastToStop = 0;       // guarded by lock
};

} // namespace vorlin::engine
