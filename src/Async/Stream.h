#pragma once

#include "Async/Completion.h"

#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace vorlin {

/// Values on their way from producers to one consumer, any number of them. Any thread.
template <class T>
class Stream {
public:
    /// Adds a value; ignored after the end. Never waits.
    void yield(T value)
    {
        std::unique_lock guard(lock);
        if (finished) {
            return;
        }
        if (const auto consumer = std::exchange(waiting, std::nullopt)) {
            guard.unlock();
            consumer->complete(std::move(value));
            return;
        }
        values.push_back(std::move(value));
    }

    /// Ends the stream after what was yielded until now.
    void finish()
    {
        std::unique_lock guard(lock);
        finished = true;
        if (const auto consumer = std::exchange(waiting, std::nullopt)) {
            guard.unlock();
            consumer->complete(std::nullopt);
        }
    }

    /// The next value, or nothing at the end. Ask again only after the answer.
    Completion<std::optional<T>> next()
    {
        Completion<std::optional<T>> answer;
        std::optional<T> ready;
        {
            const std::scoped_lock guard(lock);
            if (values.empty() && !finished) {
                waiting = answer.completer();
                return answer;
            }
            if (!values.empty()) {
                ready = std::move(values.front());
                values.pop_front();
            }
        }
        answer.completer().complete(std::move(ready));
        return answer;
    }

private:
    std::mutex lock;
    std::deque<T> values;
    bool finished = false;
    std::optional<Completer<std::optional<T>>> waiting;
};

} // namespace vorlin
