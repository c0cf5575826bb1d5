#pragma once

#include <latch>
#include <thread>

namespace vorlin {

/// A call on another thread that takes its time. Not atomic on purpose: what says that it waits for
/// the call must also have made visible what the call did.
class Underway {
public:
    /// The body of the call.
    void run()
    {
        begun.count_down();
        for (int i = 0; i < 100; ++i) {
            std::this_thread::yield();
        }
        over = true;
    }

    void awaitBegin() const { begun.wait(); }
    bool isOver() const { return over; }

private:
    std::latch begun{1};
    bool over = false;
};

} // namespace vorlin
