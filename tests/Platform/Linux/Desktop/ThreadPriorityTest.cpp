#include "Platform/Linux/Desktop/ThreadPriority.h"

#include "Platform/CountingExecutor.h"
#include "Platform/Shared/ThreadPool.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <memory>
#include <thread>

namespace vorlin {
namespace {

int ownNiceness()
{
    return ::getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
}

TEST(ThreadPriority, onlyTheCallingThreadGivesWay)
{
    const int before = ownNiceness();
    int lowered = 0;
    int policy = -1;
    std::jthread([&] {
        lowerThreadPriority();
        lowered = ownNiceness();
        policy = ::sched_getscheduler(0);
    }).join();
    EXPECT_EQ(lowered, std::min(before + 10, 19));
    EXPECT_EQ(policy, SCHED_BATCH);
    EXPECT_EQ(ownNiceness(), before);
    EXPECT_EQ(::sched_getscheduler(0), SCHED_OTHER);
}

TEST(ThreadPriority, patientWorkThatHadToWaitForBackgroundWorkRunsAtItsOwn)
{
    const int usual = ownNiceness();
    constexpr int others = 127; // one more is the most that runs
    const auto over = std::make_shared<std::latch>(1);
    const auto lowered = std::make_shared<std::latch>(1);
    std::atomic<int> niceness = -1;
    CountingExecutor to;
    ThreadPool pool(lowerThreadPriority);
    for (int i = 0; i < others; ++i) {
        pool.runPatiently(
            WorkPriority::normal, [over] { over->wait(); }, to, [] {});
    }
    pool.runPatiently(
        WorkPriority::background, [lowered] { lowered->wait(); }, to, [] {});
    pool.runPatiently(
        WorkPriority::normal, [&niceness] { niceness = ownNiceness(); }, to, [] {});
    lowered->count_down();
    to.waitFor(2);
    EXPECT_EQ(niceness, usual);
    over->count_down();
    to.waitFor(others + 2);
}

} // namespace
} // namespace vorlin
