#pragma once

#include "simulation/SimulatedLoop.h"

#include <utility>
#include <vector>

namespace vorlin {

/// Workers on the simulated loop that can let disk work hang.
class HangingWorkers final : public Workers {
public:
    explicit HangingWorkers(SimulatedLoop& loop) : loop(loop) {}

    bool hanging = false;
    std::vector<Work> hung;

    Executor& executor(WorkPriority priority) override { return loop.executor(priority); }
    void runPatiently(WorkPriority priority, Work slow, Executor& to, Work done) override
    {
        auto run = [this, priority, slow = std::move(slow), &to, done = std::move(done)] {
            Workers::runPatiently(priority, slow, to, done);
        };
        if (hanging) {
            hung.emplace_back(std::move(run));
        } else {
            run();
        }
    }
    /// Lets the disk answer everything that waits for it.
    void answer()
    {
        for (const auto& run : std::exchange(hung, {})) {
            run();
        }
    }

private:
    SimulatedLoop& loop;
};

} // namespace vorlin
