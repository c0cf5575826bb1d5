#pragma once

#include "Async/Completion.h"
#include "Async/Task.h"
#include "simulation/SimulatedLoop.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace vorlin {

namespace detail {

template <class T>
Task<void> take(Completion<T> completion, std::shared_ptr<std::optional<T>> into)
{
    try {
        into->emplace(co_await completion);
    } catch (const Abandoned&) {
    }
}

inline Task<void> settle(Completion<Done> completion, std::shared_ptr<std::string> outcome)
{
    try {
        co_await completion;
        *outcome = "done";
    } catch (const std::exception& error) {
        *outcome = error.what();
    }
}

} // namespace detail

/// What is answered, once it is while the loop runs; nothing when it is abandoned.
template <class T>
std::shared_ptr<std::optional<T>> laterAnswerTo(SimulatedLoop& loop, Completion<T> completion)
{
    auto answer = std::make_shared<std::optional<T>>();
    spawn(loop, detail::take(std::move(completion), answer));
    return answer;
}

/// What is answered as soon as the loop has run.
template <class T>
T answerTo(SimulatedLoop& loop, Completion<T> completion)
{
    const auto answer = laterAnswerTo(loop, std::move(completion));
    loop.runReady();
    return answer->value();
}

/// "pending", "done" or the text of the failure; settles while the loop runs.
inline std::shared_ptr<std::string> outcomeOf(SimulatedLoop& loop, Completion<Done> completion)
{
    auto outcome = std::make_shared<std::string>("pending");
    spawn(loop, detail::settle(std::move(completion), outcome));
    return outcome;
}

} // namespace vorlin
