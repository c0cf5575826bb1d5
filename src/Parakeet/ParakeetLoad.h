#pragma once

#include "Async/Completion.h"
#include "Parakeet/ParakeetRuntime.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace vorlin {

/// A load of the models of one folder: for whom it is, and whether it gets on. On the runtime's
/// executor.
class ParakeetLoad {
public:
    using Models = std::shared_ptr<ParakeetRuntime::Loaded>;

    /// How often `hangsAfterTick` is asked.
    static constexpr std::chrono::seconds tick{5};

    explicit ParakeetLoad(std::filesystem::path directory) : directory(std::move(directory)) {}

    const std::filesystem::path directory;

    /// Waits for the models; one waiter at a time. What comes when nobody waits is dropped.
    Completion<Models> await();

    /// Ends the waiting.
    void arrive(Models models);
    void fail(std::exception_ptr failure);

    /// A dictation wants the models, until `stop` is requested.
    void addDictation(std::stop_token stop) { dictations.push_back(std::move(stop)); }
    bool hasDictation() const;

    /// Notes that the models are to come with this priority. Returns whether loading them must be
    /// begun for that: it was not before, or only in the background.
    bool hurriesTo(WorkPriority wanted);

    /// To be called whenever the load has got on. Any thread; may outlive this object.
    std::function<void()> onProgress() const;

    /// Tells of one more tick of waiting. Returns whether nothing has got on for so long that the
    /// load hangs. Ticks and no clock: time in which this very process is halted does not count.
    bool hangsAfterTick();

private:
    std::optional<Completer<Models>> waiting;
    std::vector<std::stop_token> dictations;
    std::optional<WorkPriority> begun;
    std::shared_ptr<std::atomic<std::uint64_t>> progress =
        std::make_shared<std::atomic<std::uint64_t>>(0);
    std::uint64_t lastProgress = 0;
    int silentTicks = 0;
};

} // namespace vorlin
