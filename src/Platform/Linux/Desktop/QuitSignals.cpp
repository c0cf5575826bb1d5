#include "Platform/Linux/Desktop/QuitSignals.h"

#include "Async/Fatal.h"
#include "Platform/Linux/Desktop/QuitDeadline.h"

#include <QSocketNotifier>

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace vorlin {

namespace {

/// What the signal handler writes to; -1 while nobody listens.
std::atomic<int> wakeDescriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may not wait");

void wake(int /*signal*/)
{
    const int code = errno;
    QuitDeadline::begin(); // here: the main loop may be what hangs
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(wakeDescriptor.load(), &one, sizeof one);
    errno = code;
}

} // namespace

QuitSignals::QuitSignals(std::function<void()> onSignal)
    : onSignal(std::move(onSignal)), arrivals(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (!arrivals || wakeDescriptor.exchange(arrivals.number()) != -1) {
        fatal("the signals that end the program cannot be watched");
    }
    notifier = std::make_unique<QSocketNotifier>(arrivals.number(), QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [this] { received(); });

    auto next = saved.begin();
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGPIPE}) {
        next->signal = signal;
        ::sigaction(signal, nullptr, &next->action);
        const bool staysIgnored = signal != SIGTERM && next->action.sa_handler == SIG_IGN;
        struct sigaction action {};
        action.sa_handler = signal == SIGPIPE || staysIgnored ? SIG_IGN : wake;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        ::sigaction(signal, &action, nullptr);
        ++next;
    }
}

QuitSignals::~QuitSignals()
{
    for (const auto& each : saved) {
        ::sigaction(each.signal, &each.action, nullptr);
    }
    wakeDescriptor.store(-1);
}

void QuitSignals::received()
{
    std::uint64_t count = 0;
    if (::read(arrivals.number(), &count, sizeof count) == sizeof count) {
        onSignal();
    }
}

} // namespace vorlin
