#pragma once

#include "Platform/Linux/Engine/EngineLimits.h"
#include "Platform/Linux/Engine/Wire/Channel.h"
#include "Platform/Linux/Engine/Wire/Messages.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace vorlin {

/// One engine process with the folder whose models it computes. It runs as long as this object
/// and is ended with it; a thread of this object's own starts it, waits for what it has to say
/// about models being loaded, and reaps it whenever it ends. Any thread.
class EngineProcess {
public:
    /// Starts `program` for `folder`, a descriptor of the model folder. Returns at once: that it
    /// could not be started is told by `ended()` and to every load.
    EngineProcess(const std::filesystem::path& program, Descriptor folder,
                  const EngineLimits& limits);
    EngineProcess(const EngineProcess&) = delete;
    EngineProcess& operator=(const EngineProcess&) = delete;
    /// Ends it; returns when it is gone, but does not wait for one that the kernel holds.
    ~EngineProcess();

    /// What became of a load: the model's channel and the engine's reply, or no reply when the
    /// process ended.
    using Loaded = std::function<void(Descriptor, std::optional<engine::Reply>)>;

    /// Loads a bundle; `request.model` tells models apart. `loaded` is called once, on this
    /// object's thread or, when the process has already ended, on the calling one; `onProgress`
    /// before that, on this object's thread, whenever the process was seen to work.
    void load(const engine::LoadRequest& request, Loaded loaded, std::function<void()> onProgress);

    /// Asks for the end of a prediction. Never waits.
    void stop(std::uint32_t model, std::uint64_t sequence);

    /// A number no other model of this process has.
    std::uint32_t nextModel() { return ++lastModel; }

    bool ended() const;

    /// Ends the process for a reason, which `lastWords` then tells. Loads under way are answered
    /// at once, even when the kernel does not let go of the process yet. Never waits.
    void end(const std::string& reason);

    /// Why it ended, in one line for a person. Waits a moment for an end that has just come.
    std::string lastWords() const;

    /// What it has spent of the processor; nothing when it has ended.
    std::optional<std::chrono::nanoseconds> processorTime() const;

    const EngineLimits limits;

private:
    struct State;

    std::shared_ptr<State> state;
    std::thread watcher;
    std::atomic<std::uint32_t> lastModel = 0;
};

} // namespace vorlin
