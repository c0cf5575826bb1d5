#pragma once

#include "Async/Task.h"

#include <exception>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <variant>

namespace vorlin {

/// What an awaiter gets when every `Completer` was dropped without an answer.
class Abandoned : public std::runtime_error {
public:
    Abandoned() : std::runtime_error("The operation was abandoned.") {}
};

namespace detail {

template <class T>
struct CompletionState {
    std::mutex lock;
    std::variant<std::monostate, T, std::exception_ptr> answer;
    std::unique_ptr<Resumption> waiting;

    template <class Answer>
    void settle(Answer answered)
    {
        std::unique_ptr<Resumption> ready;
        {
            const std::scoped_lock guard(lock);
            if (answer.index() != 0) {
                return;
            }
            answer = std::move(answered);
            ready = std::move(waiting);
        }
        if (ready) {
            Resumption::post(std::move(ready));
        }
    }
};

} // namespace detail

/// The answering side of an operation whose end comes from elsewhere: a thread, a callback, a
/// timer. Copies answer the same operation; the first answer counts. Any thread.
template <class T>
class Completer {
public:
    explicit Completer(std::shared_ptr<detail::CompletionState<T>> state)
        : answerer(std::make_shared<Answerer>(std::move(state)))
    {
    }

    void complete(T value) const { answerer->state->settle(std::move(value)); }
    void fail(std::exception_ptr error) const { answerer->state->settle(std::move(error)); }

    /// Fails with `Error(message)`.
    template <class Error = std::runtime_error>
    void failWith(const std::string& message) const
    {
        fail(std::make_exception_ptr(Error(message)));
    }

private:
    struct Answerer {
        std::shared_ptr<detail::CompletionState<T>> state;
        explicit Answerer(std::shared_ptr<detail::CompletionState<T>> state)
            : state(std::move(state))
        {
        }
        Answerer(const Answerer&) = delete;
        Answerer& operator=(const Answerer&) = delete;
        ~Answerer() { state->settle(std::make_exception_ptr(Abandoned())); }
    };
    std::shared_ptr<Answerer> answerer;
};

/// The awaiting side: `co_await` it at most once, from any `Task`. The awaiter goes on where it
/// ran; a failure reaches it as an exception.
template <class T>
class Completion {
public:
    Completion() = default;
    Completion(Completion&&) noexcept = default;
    Completion& operator=(Completion&&) noexcept = default;
    Completion(const Completion&) = delete;
    Completion& operator=(const Completion&) = delete;
    ~Completion() = default;

    /// The answering side. Call once: the operation fails with `Abandoned` when the returned
    /// completer and all its copies are gone.
    Completer<T> completer() const { return Completer<T>(state); }

    bool await_ready() const
    {
        const std::scoped_lock guard(state->lock);
        return state->answer.index() != 0;
    }

    template <class Promise>
    bool await_suspend(std::coroutine_handle<Promise> caller) const
    {
        // Once the lock is free the caller may go on elsewhere and destroy this object.
        const auto held = state;
        auto resumption = std::make_unique<detail::Resumption>(caller.promise().chain, caller);
        const std::scoped_lock guard(held->lock);
        if (held->answer.index() != 0) {
            resumption->disarm();
            return false;
        }
        held->waiting = std::move(resumption);
        return true;
    }

    T await_resume() const
    {
        const std::scoped_lock guard(state->lock);
        if (auto* error = std::get_if<std::exception_ptr>(&state->answer)) {
            std::rethrow_exception(*error);
        }
        return std::move(std::get<T>(state->answer));
    }

private:
    std::shared_ptr<detail::CompletionState<T>> state =
        std::make_shared<detail::CompletionState<T>>();
};

/// The answer of an operation that has nothing to tell but its end.
struct Done {};

} // namespace vorlin
