#include "Async/Task.h"

#include "Async/Fatal.h"

#include <string>

namespace vorlin {

namespace detail {

Resumption::Resumption(const Chain& chain, std::coroutine_handle<> suspended)
    : chain(chain), suspended(suspended)
{
}

void Resumption::post(std::unique_ptr<Resumption> resumption)
{
    Executor& executor = *resumption->chain.executor;
    // std::function wants a copyable callable.
    std::shared_ptr<Resumption> shared = std::move(resumption);
    executor.post([shared = std::move(shared)] { shared->resume(); });
}

void Resumption::resume()
{
    if (chain.owner && chain.owner->expired()) {
        return; // our end is the chain's
    }
    std::exchange(suspended, {}).resume();
}

Resumption::~Resumption()
{
    if (suspended) {
        chain.root.destroy();
    }
}

} // namespace detail

namespace {

/// The outermost frame of a spawned task; destroys itself when the task is done.
struct Detached {
    struct promise_type {
        detail::Chain chain;
        Detached get_return_object()
        {
            return {std::coroutine_handle<promise_type>::from_promise(*this)};
        }
        std::suspend_always initial_suspend() const noexcept { return {}; }
        std::suspend_never final_suspend() const noexcept { return {}; }
        void return_void() const {}
        [[noreturn]] void unhandled_exception() const
        {
            try {
                throw;
            } catch (const std::exception& error) {
                fatal(std::string("a detached task failed: ") + error.what());
            } catch (...) {
                fatal("a detached task failed");
            }
        }
    };
    std::coroutine_handle<promise_type> handle;
};

Detached detach(Task<void> task)
{
    co_await std::move(task);
}

void start(Executor& executor, std::optional<std::weak_ptr<const void>> owner, Task<void> task)
{
    const auto root = detach(std::move(task)).handle;
    root.promise().chain = {&executor, root, std::move(owner)};
    detail::Resumption::post(std::make_unique<detail::Resumption>(root.promise().chain, root));
}

} // namespace

void spawn(Executor& executor, std::weak_ptr<const void> owner, Task<void> task)
{
    start(executor, std::move(owner), std::move(task));
}

void spawn(Executor& executor, Task<void> task)
{
    start(executor, std::nullopt, std::move(task));
}

} // namespace vorlin
