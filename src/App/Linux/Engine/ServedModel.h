#pragma once

#include "BackgroundLane.h"
#include "MIL/Model.h"
#include "Platform/Linux/Engine/Wire/Channel.h"
#include "Platform/Linux/Engine/Wire/Messages.h"
#include "Platform/Linux/Engine/Wire/RepeatedMessages.h"
#include "Platform/Linux/Engine/Wire/SharedMemory.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
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
    bool follow(const PredictRequest& request, Descriptor& attached);
    bool follow(const ResumeRequest& request, Descriptor& attached);
    bool take(Descriptor& attached, std::uint64_t bytes);
    void predict(const PredictRequest& request);
    void checkLength(std::int64_t frames);
    void arrangeInputs(const PredictRequest& request);
    void begin(std::uint64_t sequence);
    bool place(std::uint64_t sequence, std::uint64_t begin,
               std::span<const mil::TensorView> outputs);
    void hold(std::span<const mil::TensorView> outputs);
    void sendReply();

    Descriptor channel;
    const LoadRequest request;
    BackgroundLane& lane;
    std::shared_ptr<mil::Model> model; // null until it is loaded
    SharedMemory memory;
    std::vector<mil::NamedInput> inputs; // of the last prediction
    Reply reply;                         // the last one
    Packet packet;                       // of the last reply
    /// Outputs that are computed, and not yet handed over.
    struct Held {
        mil::TensorType type;
        std::vector<std::byte> bytes;
    };
    std::vector<Held> held;

    std::mutex lock;
    std::atomic<bool> stopping = false; // of the last prediction begun; set under lock
    std::uint64_t lastBegun = 0;        // guarded by lock
    std::uint64_t lastToStop = 0;       // guarded by lock
};

} // namespace vorlin::engine
