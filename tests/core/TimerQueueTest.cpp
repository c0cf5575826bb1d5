#include "Async/TimerQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace vorlin {
namespace {

using namespace std::chrono_literals;

constexpr TimePoint start;

TEST(TimerQueue, givesWorkOutWhenItIsDueAndInTheOrderOfItsMoments)
{
    TimerQueue queue;
    std::string ran;
    const Timer c = queue.add(start + 2s, [&] { ran += 'c'; });
    const Timer a = queue.add(start + 1s, [&] { ran += 'a'; });
    const Timer b = queue.add(start + 1s, [&] { ran += 'b'; });
    EXPECT_EQ(queue.next(), start + 1s);
    EXPECT_FALSE(queue.takeDue(start + 999ms));
    while (const Work work = queue.takeDue(start + 2s)) {
        work();
    }
    EXPECT_EQ(ran, "abc");
    EXPECT_EQ(queue.next(), std::nullopt);
}

TEST(TimerQueue, aTimerTakenBackIsGoneWithItsWork)
{
    TimerQueue queue;
    const auto held = std::make_shared<int>();
    Timer timer = queue.add(start, [held] { ADD_FAILURE(); });
    timer.reset();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(queue.size(), 0U);
    EXPECT_FALSE(queue.takeDue(start));
}

TEST(TimerQueue, saysWhenTheEarliestTimerIsAnotherOne)
{
    int changes = 0;
    TimerQueue queue([&] { ++changes; });
    Timer first = queue.add(start + 2s, [] {});
    EXPECT_EQ(changes, 1);
    Timer later = queue.add(start + 3s, [] {});
    EXPECT_EQ(changes, 1);
    Timer earlier = queue.add(start + 1s, [] {});
    EXPECT_EQ(changes, 2);
    later.reset();
    EXPECT_EQ(changes, 2);
    earlier.reset();
    EXPECT_EQ(changes, 3);
    EXPECT_EQ(queue.next(), start + 2s);
    first.reset();
    EXPECT_EQ(changes, 4);
}

TEST(TimerQueue, aTimerMayOutliveItAndWorkMayEndOtherTimersAsItGoes)
{
    auto queue = std::make_unique<TimerQueue>();
    Timer outlives = queue->add(start, [] {});
    Timer held = queue->add(start + 1s, [] {});
    Timer holds = queue->add(start + 2s, [held = std::move(held)] {});
    holds.reset();
    EXPECT_EQ(queue->size(), 1U);
    queue.reset();
    outlives.reset();
}

TEST(TimerQueue, threadsMayStartTimersAndTakeThemBackWhileAnotherRunsThem)
{
    TimerQueue queue;
    std::atomic<bool> ending = false;
    std::thread running([&] {
        while (!ending) {
            if (const Work work = queue.takeDue(start)) {
                work();
            }
        }
    });
    std::atomic<int> ran = 0;
    for (int i = 0; i < 5000; ++i) {
        const auto state = std::make_shared<std::atomic<int>>();
        Timer timer = queue.add(start, [state, &ran] {
            ++*state;
            ++ran;
        });
        timer.reset();
        EXPECT_LE(*state, 1);
    }
    const Timer kept = queue.add(start, [&] { ending = true; });
    running.join();
    EXPECT_LE(ran, 5000);
    EXPECT_EQ(queue.size(), 0U);
}

} // namespace
} // namespace vorlin
