#pragma once

#include "Async/Completion.h"
#include "Async/Stop.h"
#include "Parakeet/ParakeetRuntime.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vorlin {

/// A load of the models of one folder: for whom it is, and whether it gets on. It lives as long as
/// one of its attempts, of which several may hang side by side. On the runtime's executor.
class ParakeetLoad : public std::enable_shared_from_this<ParakeetLoad> {
public:
    using Models = std::shared_ptr<ParakeetRuntime::Loaded>;

    /// How often `hangsAfterTick` is asked.
    static constexpr std::chrono::seconds tick{5};
    /// A folder that hangs is asked again after this time at the earliest.
    static constexpr std::chrono::seconds retryAfter{60};
    /// So many attempts at most hang at once; each holds some five threads.
    static constexpr std::size_t mostAttempts = 4;

    /// One go at the models. It goes on until its last share is let go of.
    struct Attempt {
        const std::shared_ptr<ParakeetLoad> load;
        const std::int64_t number;
    };

    explicit ParakeetLoad(std::filesystem::path directory) : directory(std::move(directory)) {}

    const std::filesystem::path directory;

    /// Waits for the models, at first for no dictation; one waiter at a time. What comes when
    /// nobody waits is dropped.
    Completion<Models> await();

    /// An attempt has succeeded: ends the waiting.
    void arrive(const Attempt& attempt, Models models);
    /// An attempt has failed: ends the waiting, unless a newer one is under way.
    void fail(const Attempt& attempt, std::exception_ptr failure);
    /// Ends the waiting, not the attempts.
    void giveUp(std::exception_ptr failure);

    /// A dictation wants the models, until `stop` is requested.
    void addDictation(StopToken stop) { dictations.push_back(std::move(stop)); }
    bool hasDictation() const;

    /// Notes that the models are to come with this priority. Returns the attempt that must be
    /// begun for that, if any: none is under way, or only one in the background, or those that are
    /// have hung for long.
    std::shared_ptr<const Attempt> attempt(WorkPriority wanted, TimePoint now);

    /// To be called whenever the load has got on. Any thread; may outlive this object.
    std::function<void()> onProgress() const;

    /// Tells of one more tick of waiting. Returns whether nothing has got on for so long that the
    /// load hangs. Ticks and no clock: time in which this very process is halted does not count.
    bool hangsAfterTick();

private:
    void noteProgress();
    void end(const Attempt& attempt);

    std::optional<Completer<Models>> waiting;
    std::vector<StopToken> dictations;
    /// At what priority the newest attempt was begun, while it is under way.
    std::optional<WorkPriority> begun;
    TimePoint begunAt;
    std::int64_t newest = 0;
    std::vector<std::weak_ptr<const Attempt>> attempts;
    std::shared_ptr<std::atomic<std::uint64_t>> progress =
        std::make_shared<std::atomic<std::uint64_t>>(0);
    std::uint64_t lastProgress = 0;
    int silentTicks = 0;
    /// It was found to hang, and has not got on since.
    bool hangs = false;
};

} // namespace vorlin
