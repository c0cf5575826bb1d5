#include "Platform/Shared/QtMainLoop.h"

#include "Async/Sleep.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/ThreadPool.h"

#include <gtest/gtest.h>

#include <QEvent>
#include <QEventLoop>
#include <QThread>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace vorlin {
namespace {

using std::chrono::milliseconds;

TEST(QtMainLoop, postedWorkRunsInOrderAndNeverInsideTheCall)
{
    QtMainLoop loop;
    std::vector<int> ran;
    for (int i = 0; i < 100; ++i) {
        loop.post([&ran, i] { ran.push_back(i); });
        EXPECT_TRUE(ran.empty());
    }
    ASSERT_TRUE(runUntil([&] { return ran.size() == 100; }));
    EXPECT_TRUE(std::ranges::is_sorted(ran));
}

TEST(QtMainLoop, workPostedByWorkRunsAfterWhatWasQueuedBefore)
{
    QtMainLoop loop;
    std::string ran;
    loop.post([&] {
        ran += 'a';
        loop.post([&] { ran += 'c'; });
    });
    loop.post([&] { ran += 'b'; });
    ASSERT_TRUE(runUntil([&] { return ran.size() == 3; }));
    EXPECT_EQ(ran, "abc");
}

TEST(QtMainLoop, eachThreadsPostsKeepTheirOrderAndRunOnTheMainThread)
{
    constexpr int perThread = 500;
    QtMainLoop loop;
    std::array<std::vector<int>, 4> ran;
    bool elsewhere = false;
    std::vector<std::thread> threads;
    for (auto& own : ran) {
        threads.emplace_back([&] {
            for (int i = 0; i < perThread; ++i) {
                loop.post([&, i, home = qApp->thread()] {
                    elsewhere = elsewhere || QThread::currentThread() != home;
                    own.push_back(i);
                });
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    ASSERT_TRUE(runUntil([&] {
        return std::ranges::all_of(ran, [](const auto& own) { return own.size() == perThread; });
    }));
    EXPECT_FALSE(elsewhere);
    for (const auto& own : ran) {
        EXPECT_TRUE(std::ranges::is_sorted(own));
    }
}

TEST(QtMainLoop, aTimerNeverFiresEarly)
{
    QtMainLoop loop;
    // Just below a whole number of the milliseconds that Qt counts in.
    const auto delay = std::chrono::microseconds(1'950);
    for (int i = 0; i < 20; ++i) {
        const auto start = loop.now();
        std::optional<TimePoint> fired;
        const Timer timer = loop.startTimer(delay, [&] { fired = loop.now(); });
        ASSERT_TRUE(runUntil([&] { return fired.has_value(); }));
        EXPECT_GE(fired.value_or(start) - start, delay);
    }
}

TEST(QtMainLoop, timersFireInTheOrderOfTheirMoments)
{
    QtMainLoop loop;
    std::string fired;
    const std::array timers = {
        loop.startTimer(milliseconds(60), [&] { fired += 'c'; }),
        loop.startTimer(milliseconds(30), [&] { fired += 'b'; }),
        loop.startTimer(milliseconds(0), [&] { fired += 'a'; }),
    };
    ASSERT_TRUE(runUntil([&] { return fired.size() == 3; }));
    EXPECT_EQ(fired, "abc");
}

TEST(QtMainLoop, aTimerWithoutDelayNeverRunsInsideTheCall)
{
    QtMainLoop loop;
    bool fired = false;
    const Timer timer = loop.startTimer(milliseconds(-5), [&] { fired = true; });
    EXPECT_FALSE(fired);
    EXPECT_TRUE(runUntil([&] { return fired; }));
}

TEST(QtMainLoop, aTimerMayBeSetFromAnyThreadAndFiresOnTheMainThread)
{
    QtMainLoop loop;
    QThread* firedOn = nullptr;
    Timer timer;
    std::thread([&] {
        timer = loop.startTimer(milliseconds(1), [&] { firedOn = QThread::currentThread(); });
    }).join();
    ASSERT_TRUE(runUntil([&] { return firedOn != nullptr; }));
    EXPECT_EQ(firedOn, qApp->thread());
}

TEST(QtMainLoop, aDestroyedLoopDropsItsWorkAndItsTimersUnrun)
{
    const auto held = std::make_shared<int>(0);
    bool ran = false;
    std::array<Timer, 2> timers; // may outlive the loop
    {
        QtMainLoop loop;
        loop.post([&ran, held] { ran = true; });
        timers = {loop.startTimer(milliseconds(0), [&ran, held] { ran = true; }),
                  loop.startTimer(std::chrono::hours(1), [&ran, held] { ran = true; })};
    }
    EXPECT_EQ(held.use_count(), 1);
    bool later = false;
    QtMainLoop other;
    const Timer timer = other.startTimer(milliseconds(5), [&] { later = true; });
    ASSERT_TRUE(runUntil([&] { return later; }));
    EXPECT_FALSE(ran);
}

TEST(QtMainLoop, aTimerThatWasTakenBackDoesNotRunAndFreesItsWork)
{
    QtMainLoop loop;
    const auto held = std::make_shared<int>(0);
    Timer timer = loop.startTimer(milliseconds(1), [held] { ADD_FAILURE(); });
    timer.reset();
    EXPECT_EQ(held.use_count(), 1);
    bool later = false;
    const Timer after = loop.startTimer(milliseconds(5), [&] { later = true; });
    EXPECT_TRUE(runUntil([&] { return later; }));
}

TEST(QtMainLoop, aTimerMayBeTakenBackByAnotherOfItsMomentAndReplacedByItsOwnWork)
{
    QtMainLoop loop;
    std::string ran;
    Timer second;
    const Timer first = loop.startTimer(milliseconds(0), [&] {
        ran += 'a';
        second.reset();
    });
    second = loop.startTimer(milliseconds(0), [&] { ran += 'b'; });
    Timer again;
    std::function<void()> restart = [&] {
        ran += 'c';
        if (ran.size() < 4) {
            again = loop.startTimer(milliseconds(1), restart);
        }
    };
    again = loop.startTimer(milliseconds(10), restart);
    ASSERT_TRUE(runUntil([&] { return ran.size() == 4; }));
    EXPECT_EQ(ran, "accc");
}

/// Counts how often a timer of Qt's wakes the main thread.
class WakeUps final : public QObject {
public:
    WakeUps() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        count += event->type() == QEvent::Timer ? 1 : 0;
        return false;
    }
    int count = 0;
};

TEST(QtMainLoop, aTimerThatWasTakenBackWakesNobody)
{
    QtMainLoop loop;
    QEventLoop events;
    Timer timer = loop.startTimer(milliseconds(10), [] { ADD_FAILURE(); });
    const Timer after = loop.startTimer(milliseconds(30), [&] { events.quit(); });
    timer.reset();
    const WakeUps wakeUps;
    events.exec();
    EXPECT_EQ(wakeUps.count, 1);
}

/// Posts to a loop when it is destroyed.
class PostsWhenDropped {
public:
    PostsWhenDropped(QtMainLoop& loop, std::shared_ptr<int> held)
        : loop(loop), held(std::move(held))
    {
    }
    PostsWhenDropped(const PostsWhenDropped&) = delete;
    PostsWhenDropped& operator=(const PostsWhenDropped&) = delete;
    ~PostsWhenDropped()
    {
        loop.post([held = held] { ADD_FAILURE(); });
    }

private:
    QtMainLoop& loop;
    std::shared_ptr<int> held;
};

TEST(QtMainLoop, workThatPostsWhenItIsDroppedLeavesNothingBehind)
{
    const auto held = std::make_shared<int>(0);
    {
        QtMainLoop loop;
        loop.post([dropped = std::make_shared<PostsWhenDropped>(loop, held)] { ADD_FAILURE(); });
        const Timer timer = loop.startTimer(
            std::chrono::hours(1), [dropped = std::make_shared<PostsWhenDropped>(loop, held)] {});
    }
    EXPECT_EQ(held.use_count(), 1);
    bool later = false;
    QtMainLoop other;
    const Timer timer = other.startTimer(milliseconds(1), [&] { later = true; });
    EXPECT_TRUE(runUntil([&] { return later; }));
}

/// Answers with the square of `number`, worked out on a pool thread.
Completion<int> squareOn(Executor& worker, int number)
{
    Completion<int> answer;
    worker.post([number, completer = answer.completer()] {
        if (number < 0) {
            completer.failWith("no negative numbers");
        } else {
            completer.complete(number * number);
        }
    });
    return answer;
}

struct Outcome {
    std::vector<int> squares;
    std::string failure;
    bool alwaysOnMain = true;
    bool done = false;

    void note() { alwaysOnMain = alwaysOnMain && QThread::currentThread() == qApp->thread(); }
};

Task<int> squareOfSquare(Executor& worker, int number, Outcome& outcome)
{
    const int once = co_await squareOn(worker, number);
    outcome.note();
    co_return co_await squareOn(worker, once);
}

Task<void> useThePool(QtMainLoop& loop, Executor& worker, Outcome& outcome)
{
    for (int i = 0; i < 50; ++i) {
        outcome.squares.push_back(co_await squareOfSquare(worker, i, outcome));
        outcome.note();
    }
    co_await sleepFor(loop, milliseconds(1));
    outcome.note();
    try {
        co_await squareOfSquare(worker, -1, outcome);
    } catch (const std::runtime_error& error) {
        outcome.failure = error.what();
    }
    outcome.note();
    outcome.done = true;
}

TEST(QtMainLoop, aTaskGoesToThePoolAndComesBackToTheLoopAndGetsItsFailures)
{
    QtMainLoop loop;
    ThreadPool pool([] {});
    Outcome outcome;
    spawn(loop, useThePool(loop, pool.executor(WorkPriority::normal), outcome));
    ASSERT_TRUE(runUntil([&] { return outcome.done; }));
    ASSERT_EQ(outcome.squares.size(), 50U);
    EXPECT_EQ(outcome.squares[7], 7 * 7 * 7 * 7);
    EXPECT_EQ(outcome.failure, "no negative numbers");
    EXPECT_TRUE(outcome.alwaysOnMain);
}

Task<void> waitForever(std::shared_ptr<int> held, Completion<Done>& never, bool& started)
{
    started = held != nullptr;
    co_await never;
    ADD_FAILURE() << "an answer that nobody gave arrived";
}

TEST(QtMainLoop, aTaskWhoseAnswerArrivesAfterTheLoopIsDestroyedWithItsFrame)
{
    const auto held = std::make_shared<int>(0);
    {
        Completion<Done> never;
        const auto completer = never.completer();
        QtMainLoop loop;
        bool started = false;
        spawn(loop, waitForever(held, never, started));
        ASSERT_TRUE(runUntil([&] { return started; }));
        completer.complete({}); // queued on the loop, which now goes
    }
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace
} // namespace vorlin
