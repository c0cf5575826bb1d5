#include "Parakeet/ParakeetLoad.h"

#include <algorithm>
#include <utility>

namespace vorlin {

namespace {

/// A disk that was asleep needs some ten seconds to answer, a network that lost its way as long
/// again; who waits for longer waits for nothing.
constexpr int mostSilentTicks = std::chrono::seconds(30) / ParakeetLoad::tick;

} // namespace

Completion<ParakeetLoad::Models> ParakeetLoad::await()
{
    Completion<Models> arrival;
    waiting = arrival.completer();
    silentTicks = 0;
    return arrival;
}

void ParakeetLoad::arrive(Models models)
{
    if (const auto waiter = std::exchange(waiting, std::nullopt)) {
        waiter->complete(std::move(models));
    }
}

void ParakeetLoad::fail(std::exception_ptr failure)
{
    if (const auto waiter = std::exchange(waiting, std::nullopt)) {
        waiter->fail(std::move(failure));
    }
}

bool ParakeetLoad::hasDictation() const
{
    return !std::ranges::all_of(dictations, &std::stop_token::stop_requested);
}

bool ParakeetLoad::hurriesTo(WorkPriority wanted)
{
    if (begun == WorkPriority::normal || begun == wanted) {
        return false;
    }
    begun = wanted;
    return true;
}

std::function<void()> ParakeetLoad::onProgress() const
{
    return [counter = progress] { ++*counter; };
}

bool ParakeetLoad::hangsAfterTick()
{
    const std::uint64_t now = *progress;
    silentTicks = now == lastProgress ? silentTicks + 1 : 0;
    lastProgress = now;
    return silentTicks >= mostSilentTicks;
}

} // namespace vorlin
