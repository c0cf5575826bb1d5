#pragma once

#include "Async/MainLoop.h"

#include <functional>
#include <memory>
#include <optional>

namespace vorlin {

/// The timers of a loop: work by the moment at which it is due. Any thread.
class TimerQueue {
public:
    /// `earliestChanged` is called whenever `next` has another answer, after `add` or by the end
    /// of a timer; on that thread, and without a lock.
    explicit TimerQueue(std::function<void()> earliestChanged = [] {});
    TimerQueue(const TimerQueue&) = delete;
    TimerQueue& operator=(const TimerQueue&) = delete;
    ~TimerQueue();

    /// Adds `work`; it is taken out again, and destroyed, with the result.
    [[nodiscard]] Timer add(TimePoint due, Work work);

    /// When the earliest timer is due, if there is one.
    std::optional<TimePoint> next() const;

    /// Takes out the work that was due first, at `now` or before; nothing when none is. Work of
    /// one moment comes in the order in which it was added.
    Work takeDue(TimePoint now);

    /// How many timers run.
    std::size_t size() const;

    /// Destroys all work.
    void clear();

private:
    struct State;
    std::shared_ptr<State> state;
};

} // namespace vorlin
