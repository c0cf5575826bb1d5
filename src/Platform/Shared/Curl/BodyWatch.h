#pragma once

#include <atomic>
#include <chrono>

namespace vorlin {

/// Tells whether a body keeps the thread that calls it waiting, on a disk that does not answer.
class BodyWatch {
public:
    using Clock = std::chrono::steady_clock;

    /// Lasts for as long as one call of a body. The thread of the transfers.
    class Call {
    public:
        explicit Call(BodyWatch& watch) : watch(watch) { watch.begun = Clock::now(); }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        ~Call()
        {
            const auto now = Clock::now();
            if (now - watch.begun.load() >= tooLong) {
                watch.ended = now;
            }
            watch.begun = none;
        }

    private:
        BodyWatch& watch;
    };

    /// Whether at any moment of the last `within` a call had gone on for a second or longer. Any
    /// thread.
    bool wasHeldUp(Clock::duration within) const
    {
        const auto since = begun.load(); // before the other: of a call that ends now, one tells
        const auto last = ended.load();
        const auto now = Clock::now();
        return (since != none && now - since >= tooLong) || (last != none && now - last <= within);
    }

private:
    static constexpr Clock::time_point none = Clock::time_point::max();
    static constexpr Clock::duration tooLong = std::chrono::seconds(1);

    std::atomic<Clock::time_point> begun = none;
    /// Of the latest call that was too long.
    std::atomic<Clock::time_point> ended = none;
};

} // namespace vorlin
