#include "Platform/Shared/ThreadPool.h"

#include "Async/SerialExecutor.h"
#include "Platform/CountingExecutor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <latch>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace vorlin {
namespace {

TEST(ThreadPool, allPostedWorkRunsWhoeverPostsIt)
{
    constexpr std::ptrdiff_t perThread = 1000;
    std::latch done(4 * perThread);
    ThreadPool pool([] {});
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (std::ptrdiff_t n = 0; n < perThread; ++n) {
                pool.executor(WorkPriority::normal).post([&] { done.count_down(); });
            }
        });
    }
    done.wait();
    for (auto& thread : threads) {
        thread.join();
    }
}

TEST(ThreadPool, normalWorkRunsInParallelAndNotOnThePostersThread)
{
    ThreadPool pool([] {});
    std::latch together(2);
    std::latch done(2);
    std::atomic<bool> onPoster = false;
    for (int i = 0; i < 2; ++i) {
        pool.executor(WorkPriority::normal).post([&, poster = std::this_thread::get_id()] {
            onPoster = onPoster || std::this_thread::get_id() == poster;
            together.arrive_and_wait(); // passes only with both pieces running
            done.count_down();
        });
    }
    done.wait();
    EXPECT_FALSE(onPoster);
}

TEST(ThreadPool, backgroundWorkRunsOnOneThreadOfItsOwnWhosePriorityIsLoweredOnce)
{
    std::vector<std::thread::id> lowered;
    std::set<std::thread::id> background;
    std::set<std::thread::id> normal;
    std::mutex lock;
    {
        ThreadPool pool([&] {
            const std::scoped_lock guard(lock);
            lowered.push_back(std::this_thread::get_id());
        });
        std::latch done(40);
        const auto noteIn = [&](std::set<std::thread::id>& threads) {
            return [&] {
                {
                    const std::scoped_lock guard(lock);
                    threads.insert(std::this_thread::get_id());
                }
                done.count_down();
            };
        };
        for (int i = 0; i < 20; ++i) {
            pool.executor(WorkPriority::background).post(noteIn(background));
            pool.executor(WorkPriority::normal).post(noteIn(normal));
        }
        done.wait();
    }
    ASSERT_EQ(lowered.size(), 1U);
    EXPECT_EQ(background, std::set{lowered.front()});
    EXPECT_FALSE(normal.contains(lowered.front()));
}

TEST(ThreadPool, destructionWaitsForTheWorkThatRuns)
{
    std::latch started(1);
    std::atomic<bool> finished = false;
    {
        ThreadPool pool([] {});
        pool.executor(WorkPriority::background).post([&] {
            started.count_down();
            for (int i = 0; i < 1000; ++i) {
                std::this_thread::yield();
            }
            finished = true;
        });
        started.wait();
    }
    EXPECT_TRUE(finished);
}

/// Work that posts itself again for ever, so that there is always some in the queue.
void runForEver(Executor& executor, const std::shared_ptr<std::atomic<int>>& runs)
{
    executor.post([&executor, runs] {
        ++*runs;
        runs->notify_all();
        runForEver(executor, runs);
    });
}

TEST(ThreadPool, destructionDropsWhatIsQueued)
{
    const auto runs = std::make_shared<std::atomic<int>>(0);
    {
        ThreadPool pool([] {});
        runForEver(pool.executor(WorkPriority::background), runs);
        runForEver(pool.executor(WorkPriority::normal), runs);
        runs->wait(0);
    }
    EXPECT_EQ(runs.use_count(), 1);
}

TEST(ThreadPool, aSerialExecutorOnItRunsOnePieceAtATimeInOrder)
{
    ThreadPool pool([] {});
    SerialExecutor serial(pool.executor(WorkPriority::normal));
    std::vector<int> ran;
    std::atomic<int> inside = 0;
    std::atomic<bool> overlapped = false;
    std::latch done(1000);
    for (int i = 0; i < 1000; ++i) {
        serial.post([&, i] {
            overlapped = overlapped || ++inside != 1;
            ran.push_back(i);
            --inside;
            done.count_down();
        });
    }
    done.wait();
    EXPECT_FALSE(overlapped);
    EXPECT_EQ(ran.size(), 1000U);
    EXPECT_TRUE(std::ranges::is_sorted(ran));
}

TEST(ThreadPool, patientWorkIsFollowedByWhatItIsDoneWith)
{
    CountingExecutor to;
    ThreadPool pool([] {});
    std::atomic<int> slow = 0;
    std::atomic<bool> early = false;
    for (int i = 0; i < 100; ++i) { // more than there are threads
        const auto one = std::make_shared<std::atomic<bool>>(false);
        pool.runPatiently(
            WorkPriority::normal,
            [&slow, one] {
                ++slow;
                *one = true;
            },
            to, [&early, one] { early = early || !*one; });
    }
    to.waitFor(100);
    EXPECT_EQ(slow, 100);
    EXPECT_FALSE(early);
}

TEST(ThreadPool, patientBackgroundWorkRunsAtLoweredPriorityAndNormalDoesNot)
{
    CountingExecutor to;
    std::mutex lock;
    std::set<std::thread::id> lowered;
    ThreadPool pool([&] {
        const std::scoped_lock guard(lock);
        lowered.insert(std::this_thread::get_id());
    });
    const auto isLowered = [&] {
        const std::scoped_lock guard(lock);
        return lowered.contains(std::this_thread::get_id());
    };
    std::atomic<int> wrong = 0;
    for (int i = 0; i < 50; ++i) {
        pool.runPatiently(
            WorkPriority::normal, [&] { wrong += isLowered() ? 1 : 0; }, to, [] {});
        pool.runPatiently(
            WorkPriority::background, [&] { wrong += isLowered() ? 0 : 1; }, to, [] {});
        to.waitFor(2 * (i + 1)); // thread ids come again
        const std::scoped_lock guard(lock);
        lowered.clear();
    }
    EXPECT_EQ(wrong, 0);
}

TEST(ThreadPool, workThatHangsHoldsUpNeitherOtherWorkNorTheEnd)
{
    struct Hang {
        std::latch begun{10};
        std::latch over{1};
        std::latch left{10};
    };
    const auto hang = std::make_shared<Hang>();
    auto answers = std::make_unique<CountingExecutor>();
    {
        ThreadPool pool([] {});
        for (int i = 0; i < 10; ++i) {
            pool.runPatiently(
                WorkPriority::background,
                [hang] {
                    hang->begun.count_down();
                    hang->over.wait();
                    hang->left.count_down();
                },
                *answers, [] { ADD_FAILURE() << "an answer after the end"; });
        }
        hang->begun.wait();
        std::latch others(3);
        pool.executor(WorkPriority::normal).post([&] { others.count_down(); });
        pool.executor(WorkPriority::background).post([&] { others.count_down(); });
        CountingExecutor to;
        pool.runPatiently(
            WorkPriority::normal, [] {}, to, [&] { others.count_down(); });
        others.wait();
        to.waitFor(1);
    }
    answers.reset();
    hang->over.count_down();
    hang->left.wait();
}

TEST(ThreadPool, destructionDropsThePatientWorkThatIsQueued)
{
    const auto runs = std::make_shared<std::atomic<int>>(0);
    CountingExecutor to;
    {
        ThreadPool pool([] {});
        const auto gate = std::make_shared<std::latch>(1);
        for (int i = 0; i < 140; ++i) {
            pool.runPatiently(
                WorkPriority::normal,
                [runs, gate] {
                    ++*runs;
                    runs->notify_all();
                    gate->wait();
                },
                to, [] {});
        }
        for (int seen = *runs; seen < 128; seen = *runs) {
            runs->wait(seen);
        }
        gate->count_down();
    }
    EXPECT_GE(*runs, 128);
}

/// Tells when it is let go of, and whether that was in time.
struct Held {
    std::atomic<bool>& gone;
    explicit Held(std::atomic<bool>& gone) : gone(gone) {}
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() { gone = true; }
};

/// Tells which thread lets go of it.
struct LetGoBy {
    std::atomic<std::thread::id>& thread;
    explicit LetGoBy(std::atomic<std::thread::id>& thread) : thread(thread) {}
    LetGoBy(const LetGoBy&) = delete;
    LetGoBy& operator=(const LetGoBy&) = delete;
    ~LetGoBy() { thread = std::this_thread::get_id(); }
};

/// Whether the pool takes work no more: it then drops a piece without running it.
bool isClosed(ThreadPool& pool, Executor& to)
{
    std::atomic<bool> gone = false;
    const auto ran = std::make_shared<std::atomic<bool>>(false);
    pool.runPatiently(
        WorkPriority::normal, [ran, held = std::make_shared<Held>(gone)] { *ran = true; }, to,
        [] {});
    while (!gone) {
        std::this_thread::yield();
    }
    return !*ran;
}

TEST(ThreadPool, whatEndsDuringTheEndIsLetGoOfByWhoEndsThePool)
{
    std::atomic<std::thread::id> letGoBy;
    std::latch begun(1);
    const auto ended = std::make_shared<std::latch>(1);
    CountingExecutor to;
    {
        ThreadPool pool([] {});
        pool.runPatiently(
            WorkPriority::normal,
            [&pool, &begun, &to, ended] {
                begun.count_down();
                while (!isClosed(pool, to)) {
                }
                ended->count_down();
            },
            to,
            [held = std::make_shared<LetGoBy>(letGoBy)] {
                ADD_FAILURE() << "an answer after the end";
            });
        begun.wait();
    }
    ended->wait();
    EXPECT_EQ(letGoBy.load(), std::this_thread::get_id());
}

TEST(ThreadPool, theEndLetsGoOfWhatHangingWorkWouldHaveBeenDoneWith)
{
    const auto over = std::make_shared<std::latch>(1);
    const auto begun = std::make_shared<std::latch>(1);
    const auto left = std::make_shared<std::latch>(1);
    std::atomic<bool> gone = false;
    CountingExecutor to;
    {
        ThreadPool pool([] {});
        pool.runPatiently(
            WorkPriority::normal,
            [over, begun, left] {
                begun->count_down();
                over->wait();
                left->count_down();
            },
            to, [held = std::make_shared<Held>(gone)] {});
        begun->wait();
    }
    EXPECT_TRUE(gone);
    over->count_down();
    left->wait();
}

} // namespace
} // namespace vorlin
