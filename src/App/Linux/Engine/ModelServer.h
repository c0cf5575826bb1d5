#pragma once

#include "BackgroundLane.h"
#include "Platform/Linux/Engine/Wire/Messages.h"
#include "Platform/Shared/Descriptor.h"
#include "ServedModel.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace vorlin::engine {

/// The models of this process, each on a thread of its own. Lives as long as the process.
class ModelServer {
public:
    explicit ModelServer(Descriptor control);

    /// Follows requests on the control channel; returns when that ends: the program is gone.
    void run();

private:
    void handle(LoadRequest request, Descriptor channel);
    void handle(const StopRequest& request);

    Descriptor control;
    BackgroundLane lane;
    std::mutex lock;
    std::map<std::uint32_t, std::shared_ptr<ServedModel>> models; // guarded by lock
};

} // namespace vorlin::engine
