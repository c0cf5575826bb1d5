#pragma once

#include "Async/Completion.h"
#include "Ports/MainLoop.h"

namespace vorlin {

/// Suspends the awaiting task for `delay` on the loop's clock. Any thread.
inline Completion<Done> sleepFor(MainLoop& loop, Duration delay)
{
    Completion<Done> elapsed;
    loop.postAfter(delay, [completer = elapsed.completer()] { completer.complete({}); });
    return elapsed;
}

} // namespace vorlin
