#pragma once

#include "Async/Completion.h"

#include <deque>
#include <memory>
#include <mutex>
#include <utility>

namespace vorlin {

/// Lets one task at a time through, in the order in which they asked, also across the awaits
/// between. Any thread.
class Mutex {
    struct State;

public:
    /// The right to be the one; passes on to the next in the queue when it is destroyed.
    class Hold {
    public:
        Hold(Hold&&) noexcept = default;
        Hold& operator=(Hold&& other) noexcept
        {
            std::swap(state, other.state);
            return *this;
        }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
        ~Hold()
        {
            if (state) {
                State::passOn(std::move(state));
            }
        }

    private:
        friend State;
        explicit Hold(std::shared_ptr<State> state) : state(std::move(state)) {}
        std::shared_ptr<State> state;
    };

    /// Completes with the hold once everybody before is done. A waiter that is destroyed loses
    /// its place.
    Completion<Hold> lock() { return State::enter(state); }

private:
    struct State {
        std::mutex guard;
        bool held = false;
        std::deque<Completer<Hold>> waiting;

        static Completion<Hold> enter(const std::shared_ptr<State>& state)
        {
            Completion<Hold> entered;
            {
                const std::scoped_lock locked(state->guard);
                if (state->held) {
                    state->waiting.push_back(entered.completer());
                    return entered;
                }
                state->held = true;
            }
            entered.completer().complete(Hold(state));
            return entered;
        }

        static void passOn(std::shared_ptr<State> state)
        {
            std::unique_lock locked(state->guard);
            if (state->waiting.empty()) {
                state->held = false;
                return;
            }
            const auto next = std::move(state->waiting.front());
            state->waiting.pop_front();
            locked.unlock();
            next.complete(Hold(std::move(state)));
        }
    };

    std::shared_ptr<State> state = std::make_shared<State>();
};

} // namespace vorlin
