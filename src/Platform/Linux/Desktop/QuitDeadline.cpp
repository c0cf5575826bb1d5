#include "Platform/Linux/Desktop/QuitDeadline.h"

#include "Async/Fatal.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <string_view>

namespace vorlin {

namespace {

struct Timer {
    timer_t id{};
    itimerspec limit{};
};

Timer timer;
/// Whether `timer` may be started; taken by the first start.
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
    timer.limit.it_value = {.tv_sec = seconds.count(),
                            .tv_nsec = std::chrono::nanoseconds(limit - seconds).count()};
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGALRM;
    struct sigaction action {};
    action.sa_handler = endNow;
    sigemptyset(&action.sa_mask);
    if (::timer_create(CLOCK_MONOTONIC, &event, &timer.id) != 0 ||
        ::sigaction(SIGALRM, &action, &before) != 0) {
        fatal("no timer is left to end by");
    }
    ready = true;
}

QuitDeadline::~QuitDeadline()
{
    ready = false;
    ::timer_delete(timer.id);
    ::sigaction(SIGALRM, &before, nullptr);
}

void QuitDeadline::begin()
{
    const int code = errno;
    if (ready.exchange(false)) {
        ::timer_settime(timer.id, 0, &timer.limit, nullptr);
    }
    errno = code;
}

} // namespace vorlin
