#include "Async/Lifetime.h"
#include "Async/Mutex.h"
#include "Async/Sleep.h"
#include "Async/Stream.h"
#include "Async/Task.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;

/// Whoever tasks are bound to. What they do is counted where it outlives the owner, and each of
/// their frames holds `held`.
struct Owner {
    explicit Owner(int& steps, std::shared_ptr<int> held = {}) : steps(steps), held(std::move(held))
    {
    }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;

    Task<void> step(std::shared_ptr<int> /*keeps*/)
    {
        ++steps;
        co_return;
    }

    Task<int> ask(Completion<int>& answer, std::shared_ptr<int> /*keeps*/)
    {
        const int given = co_await answer;
        ++steps;
        co_return given;
    }

    Task<void> askThroughOthers(Completion<int>& answer, std::shared_ptr<int> keeps)
    {
        try {
            co_await ask(answer, keeps);
        } catch (const std::exception&) {
            ++steps; // a failure is a way to go on, too
        }
        ++steps;
    }

    int& steps;
    std::shared_ptr<int> held;
    Lifetime lifetime;
};

TEST(OwnedTask, runsToItsEndWhileItsOwnerLives)
{
    SimulatedLoop loop;
    Completion<int> answer;
    int steps = 0;
    Owner owner(steps);
    spawn(loop, owner.lifetime.token(), owner.askThroughOthers(answer, nullptr));
    loop.runReady();
    answer.completer().complete(1);
    loop.runReady();
    EXPECT_EQ(steps, 2);
}

TEST(OwnedTask, isNeverStartedOnceItsOwnerIsGone)
{
    SimulatedLoop loop;
    const auto held = std::make_shared<int>();
    int steps = 0;
    auto owner = std::make_unique<Owner>(steps);
    spawn(loop, owner->lifetime.token(), owner->step(held));
    owner.reset();
    loop.runReady();
    EXPECT_EQ(steps, 0);
    EXPECT_EQ(held.use_count(), 1) << "its frame is destroyed";
}

TEST(OwnedTask, aWholeChainIsDroppedWhereItWouldHaveGoneOn)
{
    SimulatedLoop loop;
    const auto held = std::make_shared<int>();
    Completion<int> answer;
    const auto completer = answer.completer();
    int steps = 0;
    auto owner = std::make_unique<Owner>(steps);
    spawn(loop, owner->lifetime.token(), owner->askThroughOthers(answer, held));
    loop.runReady();
    owner.reset();
    loop.runReady();
    EXPECT_EQ(held.use_count(), 3) << "both frames wait for the answer";
    completer.complete(1);
    EXPECT_EQ(held.use_count(), 3) << "never inside the answering call";
    loop.runReady();
    EXPECT_EQ(steps, 0);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(OwnedTask, aFailureIsNoWayToGoOnEither)
{
    SimulatedLoop loop;
    const auto held = std::make_shared<int>();
    Completion<int> answer;
    int steps = 0;
    {
        const auto completer = answer.completer();
        Owner owner(steps);
        spawn(loop, owner.lifetime.token(), owner.askThroughOthers(answer, held));
        loop.runReady();
    } // the answer is abandoned, after the owner
    loop.runReady();
    EXPECT_EQ(steps, 0);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(OwnedTask, anOwnerThatGoesBetweenTheAnswerAndTheStepStopsTheStep)
{
    SimulatedLoop loop;
    Completion<int> answer;
    int steps = 0;
    auto owner = std::make_unique<Owner>(steps);
    spawn(loop, owner->lifetime.token(), owner->askThroughOthers(answer, nullptr));
    loop.runReady();
    answer.completer().complete(1); // its resumption is queued
    owner.reset();
    loop.runReady();
    EXPECT_EQ(steps, 0);
}

TEST(OwnedTask, aTaskThatEndsItsOwnerGoesNoFurtherThanItsStep)
{
    SimulatedLoop loop;
    const auto held = std::make_shared<int>();
    int steps = 0;
    auto owner = std::make_unique<Owner>(steps, held);
    const auto endOwner = [](std::unique_ptr<Owner>& ending, SimulatedLoop& on,
                             std::shared_ptr<int> keeps) -> Task<void> {
        int& counted = ending->steps;
        ending.reset();
        ++counted;
        co_await sleepFor(on, 1s);
        ++counted;
        keeps.reset();
    };
    spawn(loop, owner->lifetime.token(), endOwner(owner, loop, held));
    loop.advance(2s);
    EXPECT_EQ(steps, 1);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(OwnedTask, aTaskWithoutAnOwnerKeepsWhatItOwnsAndRunsToItsEnd)
{
    SimulatedLoop loop;
    Completion<int> answer;
    int steps = 0;
    auto owner = std::make_shared<Owner>(steps);
    spawn(loop, [](std::shared_ptr<Owner> kept, Completion<int>& awaited) -> Task<void> {
        co_await kept->askThroughOthers(awaited, nullptr);
    }(owner, answer));
    owner.reset();
    loop.runReady();
    answer.completer().complete(1);
    loop.runReady();
    EXPECT_EQ(steps, 2);
}

Task<void> takeTurn(Mutex& mutex, int name, std::vector<int>& turns)
{
    const auto held = co_await mutex.lock();
    turns.push_back(name);
}

TEST(OwnedTask, aMutexPassesOverAWaiterWhoseOwnerIsGone)
{
    SimulatedLoop loop;
    Mutex mutex;
    std::vector<int> turns;
    int steps = 0;
    auto owner = std::make_unique<Owner>(steps);
    auto first = mutex.lock();
    auto held = std::make_unique<Mutex::Hold>(first.await_resume());
    spawn(loop, owner->lifetime.token(), takeTurn(mutex, 1, turns));
    loop.runReady();
    spawn(loop, takeTurn(mutex, 2, turns));
    loop.runReady();
    owner.reset();
    held.reset(); // the hold goes to the first waiter, who is dropped with it
    loop.runReady();
    EXPECT_EQ(turns, std::vector{2});
}

Task<void> collect(Stream<int>& stream, std::vector<int>& into)
{
    while (const auto value = co_await stream.next()) {
        into.push_back(*value);
    }
}

TEST(OwnedTask, aStreamGoesOnWhenItsConsumersOwnerIsGone)
{
    SimulatedLoop loop;
    Stream<int> stream;
    std::vector<int> first;
    std::vector<int> second;
    int steps = 0;
    auto owner = std::make_unique<Owner>(steps);
    spawn(loop, owner->lifetime.token(), collect(stream, first));
    stream.yield(1);
    loop.runReady();
    owner.reset();
    stream.yield(2); // already promised to the consumer that is dropped
    loop.runReady();
    spawn(loop, collect(stream, second));
    stream.yield(3);
    loop.runReady();
    EXPECT_EQ(first, std::vector{1});
    EXPECT_EQ(second, std::vector{3});
}

/// Has a thread that answers while the owner goes; the frames say on which thread they ended.
TEST(OwnedTask, anAnswerFromAnotherThreadMeetsALiveOwnerOrNone)
{
    struct EndsHere {
        explicit EndsHere(std::thread::id& where) : where(where) {}
        EndsHere(const EndsHere&) = delete;
        EndsHere& operator=(const EndsHere&) = delete;
        ~EndsHere() { where = std::this_thread::get_id(); }
        std::thread::id& where;
    };
    const auto await = [](Completion<int>& answer, std::shared_ptr<EndsHere> /*keeps*/,
                          Owner& owner) -> Task<void> {
        co_await answer;
        ++owner.steps;
    };
    for (int round = 0; round < 300; ++round) {
        SimulatedLoop loop;
        Completion<int> answer;
        int steps = 0;
        std::thread::id endedOn;
        auto owner = std::make_unique<Owner>(steps);
        spawn(loop, owner->lifetime.token(),
              await(answer, std::make_shared<EndsHere>(endedOn), *owner));
        loop.runReady();
        std::thread answering([completer = answer.completer()] { completer.complete(1); });
        const bool livesOn = round % 2 == 0;
        if (!livesOn) {
            owner.reset();
        }
        answering.join();
        loop.runReady();
        EXPECT_EQ(steps, livesOn ? 1 : 0);
        EXPECT_EQ(endedOn, std::this_thread::get_id());
    }
}

} // namespace
} // namespace vorlin
