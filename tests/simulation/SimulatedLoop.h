#pragma once

#include "Async/MainLoop.h"
#include "Async/TimerQueue.h"
#include "Ports/Workers.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <random>
#include <vector>

namespace vorlin {

/// Main loop, workers and clock in one, on virtual time and one thread. The main queue keeps its
/// order; worker jobs, and main queue against workers, run in an order that the seed decides.
class SimulatedLoop final : public MainLoop, public Workers {
public:
    explicit SimulatedLoop(std::uint64_t seed = 0) : random(seed), normal(*this), background(*this)
    {
    }
    SimulatedLoop(const SimulatedLoop&) = delete;
    SimulatedLoop& operator=(const SimulatedLoop&) = delete;
    /// Drops what is queued; dropping may queue more.
    ~SimulatedLoop() override;

    void post(Work work) override { mainQueue.push_back(std::move(work)); }
    TimePoint now() const override { return time; }
    [[nodiscard]] Timer startTimer(Duration delay, Work work) override;
    Executor& executor(WorkPriority priority) override
    {
        return priority == WorkPriority::normal ? normal : background;
    }

    /// What the world around the program does later, whatever happens.
    void postAfter(Duration delay, Work work);

    /// How many timers of the program run.
    std::size_t pendingTimers() const { return timers.size() - worldEvents; }

    /// Runs all work that is ready, and what it makes ready, without letting time pass.
    void runReady();

    /// Lets `duration` pass, running everything that falls due.
    void advance(Duration duration);

    /// How many jobs the workers of a priority were given.
    std::size_t jobsOf(WorkPriority priority) const
    {
        return (priority == WorkPriority::normal ? normal : background).posted;
    }

    /// Whether the work now running runs on the main thread.
    bool onMain() const { return runningMain; }

private:
    class Lane final : public Executor {
    public:
        explicit Lane(SimulatedLoop& loop) : loop(loop) {}
        void post(Work work) override
        {
            ++posted;
            loop.jobs.push_back(std::move(work));
        }
        std::size_t posted = 0;

    private:
        SimulatedLoop& loop;
    };

    bool runOne();

    std::mt19937_64 random;
    Lane normal;
    Lane background;
    TimePoint time;
    std::deque<Work> mainQueue;
    std::vector<Work> jobs;
    TimerQueue timers;
    std::size_t worldEvents = 0;
    bool runningMain = true;
};

} // namespace vorlin
