#include "Platform/Shared/QuitSignals.h"

#include "Async/Fatal.h"
#include "Platform/Shared/QuitDeadline.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <tuple>
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
    // Where there is no room, the main loop has yet to see what lies there.
    [[maybe_unused]] const auto written = ::write(wakeDescriptor.load(), "", 1);
    errno = code;
}

/// Never waits, and is no program's that is started.
bool prepare(const Descriptor& end)
{
    return ::fcntl(end.number(), F_SETFL, O_NONBLOCK) == 0 &&
           ::fcntl(end.number(), F_SETFD, FD_CLOEXEC) == 0;
}

/// From the signal handler to the main loop. Sockets: every system's main loop can watch those.
std::pair<Descriptor, Descriptor> makeWay()
{
    std::array<int, 2> ends{-1, -1};
    ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data());
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

} // namespace

QuitSignals::QuitSignals(std::function<void()> onSignal) : onSignal(std::move(onSignal))
{
    std::tie(departures, arrivals) = makeWay();
    if (!prepare(departures) || !prepare(arrivals) ||
        wakeDescriptor.exchange(departures.number()) != -1) {
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
    std::array<char, 256> bytes;
    bool any = false;
    while (::read(arrivals.number(), bytes.data(), bytes.size()) > 0) {
        any = true;
    }
    if (any) {
        onSignal();
    }
}

} // namespace vorlin
