#pragma once

#include <atomic>
#include <chrono>

namespace vorlin {

/// Tells whether a body keeps the thread that calls it waiting, on a disk that does not answer.
class BodyWatch {
public:
    /// Lasts for as long as one call of a body. The thread of the transfers.
    class Call {
    public:
        explicit Call(BodyWatch& watch) : watch(watch) { watch.begun = Clock::now(); }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        ~Call() { watch.begun = none; }

    private:
        BodyWatch& watch;
    };

    /// Whether a call has gone on for a second or longer. Any thread.
    bool isHeldUp() const
    {
        const auto since = begun.load();
        return since != none && Clock::now() - since >= std::chrono::seconds(1);
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr Clock::time_point none = Clock::time_point::max();

    std::atomic<Clock::time_point> begun = none;
};

} // namespace vorlin
