#pragma once

#include "Async/Executor.h"

#include <memory>
#include <utility>

namespace vorlin {

// The standard library's stop tokens, without what nobody here needs of them: the C++ library of a
// Mac does not have them yet.

class StopCallback;

namespace detail {
class StopState;
} // namespace detail

/// Tells whether an operation should end early. Any thread.
class StopToken {
public:
    /// One that is never asked to stop.
    StopToken() = default;

    bool stopRequested() const;

private:
    friend class StopCallback;
    friend class StopSource;
    explicit StopToken(std::shared_ptr<detail::StopState> state) : state(std::move(state)) {}
    std::shared_ptr<detail::StopState> state; // none: never asked
};

/// The side that asks. Copies ask the same operation. Any thread.
class StopSource {
public:
    StopSource();

    StopToken token() const { return StopToken(state); }
    bool stopRequested() const { return token().stopRequested(); }

    /// Asks, and runs every callback that is there, one after the other, before it returns. Only
    /// the first request does anything. A callback that throws ends the program.
    void requestStop() const noexcept;

private:
    std::shared_ptr<detail::StopState> state;
};

/// Something to run once a stop is requested: inside `requestStop`, on its thread; or inside the
/// constructor, where it was requested before. It runs at most once, and may destroy this object.
///
/// Once this object is destroyed it neither runs nor is about to: a destructor on another thread
/// than the one that runs it waits for its end. So no lock may be held that it takes, too.
class StopCallback {
public:
    StopCallback(const StopToken& token, Work work);
    StopCallback(const StopCallback&) = delete;
    StopCallback& operator=(const StopCallback&) = delete;
    ~StopCallback();

private:
    friend class detail::StopState;
    std::shared_ptr<detail::StopState> state; // none: nothing will run
    Work work;
    // Its neighbours among those that have yet to run; the state's.
    StopCallback* before = nullptr;
    StopCallback* behind = nullptr;
};

} // namespace vorlin
