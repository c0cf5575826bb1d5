#include "Async/Completion.h"
#include "Async/Lifetime.h"
#include "Async/SerialExecutor.h"
#include "Async/Sleep.h"
#include "Async/Task.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vorlin {
namespace {

using namespace std::chrono_literals;

Task<int> seven()
{
    co_return 7;
}

Task<int> failing()
{
    throw std::runtime_error("no seven today");
    co_return 0;
}

Task<void> storeSum(int& sum)
{
    const int first = co_await seven();
    const int second = co_await seven();
    sum = first + second;
}

Task<void> storeError(std::string& message)
{
    try {
        co_await failing();
    } catch (const std::runtime_error& error) {
        message = error.what();
    }
}

template <class T>
Task<void> awaitInto(Completion<T>& completion, std::optional<T>& value, std::string& error)
{
    try {
        value = co_await completion;
    } catch (const std::exception& caught) {
        error = caught.what();
    }
}

TEST(Task, runsFromTheQueueAndDeliversResults)
{
    SimulatedLoop loop;
    int sum = 0;
    spawn(loop, storeSum(sum));
    EXPECT_EQ(sum, 0);
    loop.runReady();
    EXPECT_EQ(sum, 14);
}

TEST(Task, anExceptionReachesTheAwaiter)
{
    SimulatedLoop loop;
    std::string message;
    spawn(loop, storeError(message));
    loop.runReady();
    EXPECT_EQ(message, "no seven today");
}

TEST(Task, anUnhandledExceptionOfADetachedTaskIsFatal)
{
    EXPECT_DEATH(
        {
            SimulatedLoop loop;
            spawn(loop,
                  [](Task<int> inner) -> Task<void> { co_await std::move(inner); }(failing()));
            loop.runReady();
        },
        "a detached task failed: no seven today");
}

TEST(Task, neverStartedFreesItsFrame)
{
    auto witness = std::make_shared<int>(1);
    {
        auto task = [](std::shared_ptr<int> held) -> Task<void> {
            ++*held;
            co_return;
        }(witness);
        EXPECT_EQ(witness.use_count(), 2);
    }
    EXPECT_EQ(witness.use_count(), 1);
    EXPECT_EQ(*witness, 1);
}

Task<void> holdWhileAwaiting(Completion<int>& completion, std::shared_ptr<int> held)
{
    *held = co_await completion;
}

Task<void> holdOutside(Completion<int>& completion, std::shared_ptr<int> held)
{
    co_await holdWhileAwaiting(completion, held);
}

TEST(Task, aLoopThatDropsItsQueueFreesTheWholeChain)
{
    auto witness = std::make_shared<int>(0);
    {
        Completion<int> completion;
        SimulatedLoop loop;
        spawn(loop, holdOutside(completion, witness));
        loop.runReady();
        EXPECT_GT(witness.use_count(), 1);
        completion.completer().complete(5); // resumption queued, never run
    }
    EXPECT_EQ(witness.use_count(), 1);
    EXPECT_EQ(*witness, 0);
}

TEST(Completion, deliversBeforeAndAfterTheAwait)
{
    SimulatedLoop loop;
    std::string error;
    Completion<int> before;
    std::optional<int> valueBefore;
    before.completer().complete(1);
    spawn(loop, awaitInto(before, valueBefore, error));
    Completion<int> after;
    std::optional<int> valueAfter;
    const auto completer = after.completer();
    spawn(loop, awaitInto(after, valueAfter, error));
    loop.runReady();
    EXPECT_EQ(valueBefore, 1);
    EXPECT_EQ(valueAfter, std::nullopt);
    completer.complete(2);
    EXPECT_EQ(valueAfter, std::nullopt);
    loop.runReady();
    EXPECT_EQ(valueAfter, 2);
}

TEST(Completion, theFirstAnswerCounts)
{
    SimulatedLoop loop;
    Completion<int> completion;
    std::optional<int> value;
    std::string error;
    {
        const auto completer = completion.completer();
        completer.complete(1);
        completer.complete(2);
        completer.failWith("too late");
    }
    spawn(loop, awaitInto(completion, value, error));
    loop.runReady();
    EXPECT_EQ(value, 1);
    EXPECT_EQ(error, "");
}

TEST(Completion, aFailureReachesTheAwaiter)
{
    SimulatedLoop loop;
    Completion<int> completion;
    std::optional<int> value;
    std::string error;
    const auto completer = completion.completer();
    spawn(loop, awaitInto(completion, value, error));
    loop.runReady();
    completer.failWith("the disk is full");
    loop.runReady();
    EXPECT_EQ(error, "the disk is full");
}

TEST(Completion, droppingEveryCompleterFailsTheAwaiter)
{
    SimulatedLoop loop;
    Completion<int> completion;
    std::optional<int> value;
    std::string error;
    {
        const auto completer = completion.completer();
        const auto copy = completer;
        spawn(loop, awaitInto(completion, value, error));
        loop.runReady();
    }
    loop.runReady();
    EXPECT_EQ(error, "The operation was abandoned.");
}

TEST(Completion, anAwaiterGoesOnWhereItRanWhateverThreadAnswers)
{
    for (int round = 0; round < 200; ++round) {
        SimulatedLoop loop;
        Completion<int> completion;
        std::optional<int> value;
        std::string error;
        std::thread answering(
            [completer = completion.completer(), round] { completer.complete(round); });
        if (round % 2 == 0) {
            answering.join();
        }
        spawn(loop, awaitInto(completion, value, error));
        if (round % 2 == 0) {
            loop.runReady();
        } else {
            answering.join();
            loop.runReady();
        }
        EXPECT_EQ(value, round);
    }
}

TEST(Sleep, lastsOnTheLoopsClock)
{
    SimulatedLoop loop;
    bool done = false;
    spawn(loop, [](SimulatedLoop& on, bool& finished) -> Task<void> {
        co_await sleepFor(on, 600s);
        finished = true;
    }(loop, done));
    loop.advance(599s);
    EXPECT_FALSE(done);
    loop.advance(1s);
    EXPECT_TRUE(done);
}

TEST(Lifetime, aCallbackWhoseOwnerIsGoneDoesNothing)
{
    struct Owner {
        int calls = 0;
        Lifetime lifetime;
    };
    auto owner = std::make_unique<Owner>();
    int calls = 0;
    auto callback = owner->lifetime.guard([&calls](int by) { calls += by; });
    callback(2);
    EXPECT_EQ(calls, 2);
    owner.reset();
    callback(3);
    EXPECT_EQ(calls, 2);
}

/// A pool of real threads, for the races that virtual time cannot show.
class TwoThreads final : public Executor {
public:
    TwoThreads()
    {
        for (int i = 0; i < 2; ++i) {
            threads.emplace_back([this] {
                while (true) {
                    Work next;
                    {
                        std::unique_lock guard(lock);
                        ready.wait(guard, [this] { return ending || !queue.empty(); });
                        if (queue.empty()) {
                            return;
                        }
                        next = std::move(queue.front());
                        queue.pop_front();
                    }
                    next();
                }
            });
        }
    }
    TwoThreads(const TwoThreads&) = delete;
    TwoThreads& operator=(const TwoThreads&) = delete;
    ~TwoThreads() override
    {
        {
            const std::scoped_lock guard(lock);
            ending = true;
        }
        ready.notify_all();
        for (auto& thread : threads) {
            thread.join();
        }
    }
    void post(Work work) override
    {
        const std::scoped_lock guard(lock);
        queue.push_back(std::move(work));
        ready.notify_one();
    }

private:
    std::mutex lock;
    std::condition_variable ready;
    std::deque<Work> queue;
    bool ending = false;
    std::vector<std::thread> threads;
};

TEST(SerialExecutor, runsOneAtATimeInOrderOnManyThreads)
{
    TwoThreads threads;
    std::vector<int> order; // unguarded: the executor is the guard
    std::mutex lock;
    std::condition_variable finished;
    bool done = false;
    SerialExecutor serial(threads);
    for (int i = 0; i < 1000; ++i) {
        serial.post([&order, i] { order.push_back(i); });
    }
    serial.post([&] {
        const std::scoped_lock guard(lock);
        done = true;
        finished.notify_one();
    });
    std::unique_lock guard(lock);
    finished.wait(guard, [&done] { return done; });
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST(SerialExecutor, keepsOrderWhateverTheSeed)
{
    for (std::uint64_t seed = 0; seed < 50; ++seed) {
        SimulatedLoop loop(seed);
        SerialExecutor serial(loop.executor(WorkPriority::normal));
        std::string order;
        for (const char name : std::string("abcdef")) {
            serial.post([&order, name] { order += name; });
            loop.executor(WorkPriority::normal).post([] {});
        }
        loop.runReady();
        EXPECT_EQ(order, "abcdef") << "seed " << seed;
    }
}

TEST(SerialExecutor, workQueuedWhenItGoesStillRuns)
{
    SimulatedLoop loop;
    int ran = 0;
    {
        SerialExecutor serial(loop.executor(WorkPriority::background));
        serial.post([&ran] { ++ran; });
        serial.post([&ran] { ++ran; });
    }
    loop.runReady();
    EXPECT_EQ(ran, 2);
}

TEST(SerialExecutor, whatItsUnderlyingExecutorDropsIsDestroyedEvenIfItHoldsTheExecutor)
{
    auto loop = std::make_unique<SimulatedLoop>();
    auto serial = std::make_shared<SerialExecutor>(loop->executor(WorkPriority::normal));
    const std::weak_ptr<SerialExecutor> gone = serial;
    serial->post([serial] { FAIL(); });
    serial->post([serial] { FAIL(); });
    serial.reset();
    EXPECT_FALSE(gone.expired());
    loop.reset();
    EXPECT_TRUE(gone.expired());
}

TEST(SimulatedLoop, theMainQueueKeepsItsOrderAndTimersFallDueInTurn)
{
    SimulatedLoop loop;
    std::string order;
    loop.postAfter(2s, [&order] { order += 'd'; });
    loop.postAfter(1s, [&order] { order += 'b'; });
    loop.postAfter(1s, [&order] { order += 'c'; });
    loop.post([&order] { order += 'a'; });
    loop.advance(10s);
    EXPECT_EQ(order, "abcd");
    EXPECT_EQ(loop.now().time_since_epoch(), 10s);
}

TEST(SimulatedLoop, theSeedDecidesTheOrderOfWorkersAndRepeatsIt)
{
    const auto run = [](std::uint64_t seed) {
        SimulatedLoop loop(seed);
        std::string order;
        for (const char name : std::string("abcdefgh")) {
            loop.executor(WorkPriority::normal).post([&order, name] { order += name; });
        }
        loop.runReady();
        return order;
    };
    EXPECT_EQ(run(1), run(1));
    EXPECT_NE(run(1), run(2));
}

} // namespace
} // namespace vorlin
