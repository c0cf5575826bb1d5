#pragma once

#include "Async/Completion.h"
#include "Async/MainLoop.h"
#include "Async/Task.h"

namespace vorlin {

/// Lasts for `delay` on the loop's clock, from when it is awaited. Any thread.
inline Task<void> sleepFor(MainLoop& loop, Duration delay)
{
    Completion<Done> elapsed;
    const Timer timer =
        loop.startTimer(delay, [completer = elapsed.completer()] { completer.complete({}); });
    co_await elapsed;
}

} // namespace vorlin
