#pragma once

#include "Async/Completion.h"
#include "Async/MainLoop.h"
#include "Async/Task.h"
#include "Async/TimerQueue.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace vorlin {

/// A main loop in real time that a test pumps by hand, on standard threads alone: a thread
/// sanitizer can see through it.
class PumpedLoop final : public MainLoop {
public:
    void post(Work work) override;
    TimePoint now() const override;
    [[nodiscard]] Timer startTimer(Duration delay, Work work) override;

    /// Runs the loop until `condition` holds; false when it does not within `limit`. The
    /// condition is looked at after each piece of work.
    bool runUntil(const std::function<bool()>& condition,
                  Duration limit = std::chrono::seconds(60));

    /// Runs the loop for `span`, whatever happens.
    void runFor(Duration span);

private:
    std::mutex lock;
    std::condition_variable ready;
    std::deque<Work> queue;
    TimerQueue timers{[this] { post([] {}); }}; // wakes whoever waits for the earliest
};

/// What became of a completion: pending, done, or the text of its failure.
struct Outcome {
    bool settled = false;
    std::optional<std::string> failure;

    bool done() const { return settled && !failure; }
};

/// Follows `completion` on `loop`.
std::shared_ptr<const Outcome> follow(MainLoop& loop, Completion<Done> completion);

} // namespace vorlin
