#pragma once

#include "Async/Completion.h"
#include "Ports/Workers.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace vorlin {

/// The answer of `slow`, which may wait without end for a disk: it runs as `Workers::runPatiently`
/// says. What it throws reaches the awaiter. Any thread.
template <class Answer>
Completion<Answer> patiently(Workers& workers, Executor& to, std::function<Answer()> slow)
{
    struct Outcome {
        std::optional<Answer> answer;
        std::exception_ptr error;
    };
    Completion<Answer> answered;
    const auto outcome = std::make_shared<Outcome>();
    workers.runPatiently(
        WorkPriority::normal,
        [outcome, slow = std::move(slow)] {
            try {
                outcome->answer = slow();
            } catch (...) {
                outcome->error = std::current_exception();
            }
        },
        to,
        [outcome, completer = answered.completer()] {
            if (outcome->error) {
                completer.fail(outcome->error);
            } else {
                completer.complete(*std::move(outcome->answer));
            }
        });
    return answered;
}

} // namespace vorlin
