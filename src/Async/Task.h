#pragma once

#include "Async/Executor.h"

#include <coroutine>
#include <exception>
#include <memory>
#include <optional>
#include <utility>

namespace vorlin {

namespace detail {

/// What every coroutine of a chain knows: the executor it runs on, the outermost frame, which
/// owns all others of the chain, and whose life the chain is bound to, if any.
struct Chain {
    Executor* executor = nullptr;
    std::coroutine_handle<> root;
    std::optional<std::weak_ptr<const void>> owner;
};

/// A suspended coroutine that waits to be resumed once. Destroyed without being resumed (its
/// executor or its owner is gone), it destroys the whole chain, so that no frame leaks.
class Resumption {
public:
    Resumption(const Chain& chain, std::coroutine_handle<> suspended);

    /// Posts the coroutine to its executor. Call at most once. Any thread.
    static void post(std::unique_ptr<Resumption> resumption);

    /// Forgets the coroutine, which goes on by itself.
    void disarm() { suspended = {}; }

    Resumption(const Resumption&) = delete;
    Resumption& operator=(const Resumption&) = delete;
    ~Resumption();

private:
    /// The one place where a coroutine goes on after a wait.
    void resume();

    Chain chain;
    std::coroutine_handle<> suspended;
};

struct TaskPromiseBase {
    Chain chain;
    std::coroutine_handle<> continuation = std::noop_coroutine();
    std::exception_ptr exception;

    struct FinalAwaiter {
        bool await_ready() const noexcept { return false; }
        template <class Promise>
        std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> done) const noexcept
        {
            return done.promise().continuation;
        }
        void await_resume() const noexcept {}
    };

    std::suspend_always initial_suspend() const noexcept { return {}; }
    FinalAwaiter final_suspend() const noexcept { return {}; }
    void unhandled_exception() { exception = std::current_exception(); }
};

template <class T>
struct TaskPromise : TaskPromiseBase {
    std::optional<T> result;
    auto get_return_object() { return std::coroutine_handle<TaskPromise>::from_promise(*this); }
    void return_value(T value) { result = std::move(value); }
    T take() { return std::move(*result); }
};

template <>
struct TaskPromise<void> : TaskPromiseBase {
    auto get_return_object() { return std::coroutine_handle<TaskPromise>::from_promise(*this); }
    void return_void() const {}
    void take() const {}
};

} // namespace detail

/// An asynchronous step: a coroutine that starts when it is awaited and runs, from its first
/// line to its last, on the executor of the coroutine that awaits it. After every `co_await` it
/// is back on that executor. An exception that leaves it reaches the awaiter. Await it once.
template <class T = void>
class [[nodiscard]] Task {
public:
    using promise_type = detail::TaskPromise<T>;
    using Handle = std::coroutine_handle<promise_type>;

    // The promise's get_return_object gives the handle, which becomes the task.
    Task(Handle handle) : handle(handle) {} // NOLINT(google-explicit-constructor)
    Task(Task&& other) noexcept : handle(std::exchange(other.handle, {})) {}
    Task& operator=(Task&&) = delete;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task()
    {
        if (handle) {
            handle.destroy();
        }
    }

    auto operator co_await() && { return Awaiter{handle}; }

private:
    struct Awaiter {
        Handle handle;
        bool await_ready() const noexcept { return false; }
        template <class Promise>
        std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> caller) const
        {
            handle.promise().chain = caller.promise().chain;
            handle.promise().continuation = caller;
            return handle;
        }
        T await_resume() const
        {
            if (handle.promise().exception) {
                std::rethrow_exception(handle.promise().exception);
            }
            return handle.promise().take();
        }
    };

    Handle handle;
};

/// Runs `task` on `executor`, starting from its queue, for as long as `owner` (the token of a
/// `Lifetime`) lives: once the owner is gone neither the task nor what it awaits is resumed, and
/// their frames are destroyed where they would have gone on. So after every wait the owner is
/// there. A step that ends the owner itself must not touch it afterwards, as in any function.
///
/// The owner must be destroyed on `executor`: the look at it and the step are then one.
/// `executor` must outlive the task or be destroyed together with its queue. An exception that
/// leaves `task` stops the program: a detached task handles its own failures. Any thread.
void spawn(Executor& executor, std::weak_ptr<const void> owner, Task<void> task);

/// The same for a task without an owner, which runs to its end: it owns all it touches.
void spawn(Executor& executor, Task<void> task);

} // namespace vorlin
