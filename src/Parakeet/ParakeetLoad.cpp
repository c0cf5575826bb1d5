#include "Parakeet/ParakeetLoad.h"

#include <algorithm>
#include <utility>

namespace vorlin {

namespace {

/// A disk that was asleep needs some ten seconds to answer, a network that lost its way as long
/// again; who waits for longer waits for nothing.
constexpr int mostSilentTicks = std::chrono::seconds(30) / ParakeetLoad::tick;
/// Of a folder that has hung so long already. It may be there again, and only be asleep.
constexpr int mostSilentTicksOnceHung = std::chrono::seconds(10) / ParakeetLoad::tick;

} // namespace

Completion<ParakeetLoad::Models> ParakeetLoad::await()
{
    Completion<Models> arrival;
    waiting = arrival.completer();
    dictations.clear();
    noteProgress();
    silentTicks = 0;
    return arrival;
}

void ParakeetLoad::arrive(const Attempt& attempt, Models models)
{
    end(attempt);
    if (const auto waiter = std::exchange(waiting, std::nullopt)) {
        waiter->complete(std::move(models));
    }
}

void ParakeetLoad::fail(const Attempt& attempt, std::exception_ptr failure)
{
    if (attempt.number == newest) {
        end(attempt);
        giveUp(std::move(failure));
    }
}

void ParakeetLoad::end(const Attempt& attempt)
{
    if (attempt.number == newest) {
        begun.reset(); // what is left of it, or of older ones, is not waited for
    }
}

void ParakeetLoad::giveUp(std::exception_ptr failure)
{
    if (const auto waiter = std::exchange(waiting, std::nullopt)) {
        waiter->fail(std::move(failure));
    }
}

bool ParakeetLoad::hasDictation() const
{
    return !std::ranges::all_of(dictations, &StopToken::stopRequested);
}

std::shared_ptr<const ParakeetLoad::Attempt> ParakeetLoad::attempt(WorkPriority wanted,
                                                                   TimePoint now)
{
    std::erase_if(attempts, [](const auto& each) { return each.expired(); });
    const bool hurries = begun == WorkPriority::background && wanted == WorkPriority::normal;
    const bool anew = hangs && now - begunAt >= retryAfter;
    if ((begun && !hurries && !anew) || attempts.size() >= mostAttempts) {
        return nullptr;
    }
    begun = wanted;
    begunAt = now;
    auto fresh = std::make_shared<const Attempt>(Attempt{shared_from_this(), ++newest});
    attempts.push_back(fresh);
    return fresh;
}

std::function<void()> ParakeetLoad::onProgress() const
{
    return [counter = progress] { ++*counter; };
}

void ParakeetLoad::noteProgress()
{
    const std::uint64_t now = *progress;
    if (std::exchange(lastProgress, now) == now) {
        ++silentTicks;
    } else {
        silentTicks = 0;
        hangs = false;
    }
}

bool ParakeetLoad::hangsAfterTick()
{
    noteProgress();
    const bool tooLong = silentTicks >= (hangs ? mostSilentTicksOnceHung : mostSilentTicks);
    hangs = hangs || tooLong;
    return tooLong;
}

} // namespace vorlin
