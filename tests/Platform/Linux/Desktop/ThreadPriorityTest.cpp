#include "Platform/Linux/Desktop/ThreadPriority.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
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

} // namespace
} // namespace vorlin
