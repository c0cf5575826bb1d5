#include "Platform/Shared/QuitDeadline.h"

#include "Async/Fatal.h"

#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string_view>

namespace vorlin {

namespace {

/// What the process's own timer is set to; the one kind that each system has, and that a signal
/// handler may start. A child does not inherit it.
itimerval limitOfAll{};
/// Whether the timer may be started; taken by the first start.
std::atomic<bool> ready = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may not wait");

void endNow(int /*signal*/)
{
    constexpr std::string_view line = "vorlin: ended without tidying up: something hangs.\n";
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
    ::_exit(1);
}

} // namespace

QuitDeadline::QuitDeadline(std::chrono::milliseconds limit)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(limit);
    const std::chrono::microseconds rest = limit - seconds;
    limitOfAll.it_value.tv_sec = static_cast<time_t>(seconds.count());
    limitOfAll.it_value.tv_usec = static_cast<suseconds_t>(rest.count());
    struct sigaction action {};
    action.sa_handler = endNow;
    sigemptyset(&action.sa_mask);
    if (::sigaction(SIGALRM, &action, &before) != 0) {
        fatal("nothing is left to end by");
    }
    ready = true;
}

QuitDeadline::~QuitDeadline()
{
    ready = false;
    const itimerval never{};
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &before, nullptr);
}

void QuitDeadline::begin()
{
    const int code = errno;
    if (ready.exchange(false)) {
        ::setitimer(ITIMER_REAL, &limitOfAll, nullptr);
    }
    errno = code;
}

} // namespace vorlin
