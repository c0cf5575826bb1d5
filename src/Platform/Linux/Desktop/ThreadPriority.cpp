#include "Platform/Linux/Desktop/ThreadPriority.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>

namespace vorlin {

void lowerThreadPriority()
{
    constexpr int steps = 10;
    const auto thread = static_cast<id_t>(::gettid()); // niceness belongs to a thread on Linux
    errno = 0;
    const int niceness = ::getpriority(PRIO_PROCESS, thread);
    if (errno == 0) {
        ::setpriority(PRIO_PROCESS, thread, niceness + steps); // the kernel stops at 19
    }
    const sched_param unused{};
    ::sched_setscheduler(0, SCHED_BATCH, &unused); // 0: this thread
}

} // namespace vorlin
