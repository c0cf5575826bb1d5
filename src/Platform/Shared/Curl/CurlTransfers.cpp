#include "Platform/Shared/Curl/CurlTransfers.h"

#include "Async/Fatal.h"
#include "Platform/Shared/Curl/CurlTransfer.h"

#include <csignal>
#include <utility>

namespace vorlin {

namespace {

/// Bytes are reported no more often than this: a fast network brings thousands of pieces a second.
constexpr std::chrono::milliseconds reportInterval{50};
/// libcurl wakes by itself for what happens; this is for nothing but its absence.
constexpr std::chrono::milliseconds longestSleep{1000};

/// A server that goes away (SIGPIPE) must not end the process.
void blockBrokenPipes()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

} // namespace

CurlTransfers::CurlTransfers(OnReport onReport) : onReport(std::move(onReport)) {}

CurlTransfers::~CurlTransfers() = default;

bool CurlTransfers::add(HTTPClient::TaskId task, HTTPRequest request,
                        std::shared_ptr<HTTPBody> body)
{
    const std::scoped_lock guard(lock);
    added.push_back({task, std::move(request), std::move(body)});
    if (sleeping != nullptr) {
        libcurl().multiWakeup(sleeping);
    }
    return !std::exchange(hasThread, true);
}

void CurlTransfers::cancel(HTTPClient::TaskId task)
{
    const std::scoped_lock guard(lock);
    cancelled.push_back(task);
    if (sleeping != nullptr) {
        libcurl().multiWakeup(sleeping);
    }
}

void CurlTransfers::close()
{
    const std::scoped_lock guard(lock);
    closed = true;
    onReport = nullptr;
    if (sleeping != nullptr) {
        libcurl().multiWakeup(sleeping);
    }
}

void CurlTransfers::run()
{
    if (!loadLibcurl()) {
        refuse();
        return;
    }
    blockBrokenPipes();
    static const CURLcode ready = libcurl().globalInit(CURL_GLOBAL_DEFAULT);
    const Multi multi(libcurl().multiInit());
    if (ready != CURLE_OK || !multi) {
        fatal("no memory for downloads");
    }
    {
        const std::scoped_lock guard(lock);
        sleeping = multi.get();
    }
    while (takeChanges(multi.get())) {
        int count = 0;
        libcurl().multiPerform(multi.get(), &count);
        collect(multi.get());
        const bool more = reportProgress();
        const auto sleep = more ? reportInterval : longestSleep;
        libcurl().multiPoll(multi.get(), nullptr, 0, static_cast<int>(sleep.count()), nullptr);
    }
}

/// Ends what was added: there is nothing to transfer it with. Gives the thread up.
void CurlTransfers::refuse()
{
    std::vector<Added> refused;
    {
        const std::scoped_lock guard(lock);
        refused.swap(added);
        cancelled.clear();
        hasThread = closed; // none after the close
    }
    for (auto& each : refused) {
        each.body.reset(); // it is called no more once its task has completed
        report({each.task, 0, true,
                URLError(URLError::Code::other, "The download failed: libcurl is missing.")});
    }
}

/// Whether there is anything to transfer; the thread is given up when not.
bool CurlTransfers::takeChanges(CURLM* multi)
{
    std::vector<Added> begun;
    std::vector<HTTPClient::TaskId> ended;
    std::map<HTTPClient::TaskId, Running> left;
    bool goesOn = true;
    {
        const std::scoped_lock guard(lock);
        begun.swap(added);
        ended.swap(cancelled);
        if (closed || (begun.empty() && running.empty())) {
            goesOn = false;
            hasThread = closed; // none after the close
            sleeping = nullptr;
            left.swap(running); // without the lock it is the next thread's
        }
    }
    if (!goesOn) {
        for (const auto& [task, each] : left) {
            libcurl().multiRemove(multi, each.transfer->handle());
        }
        return false;
    }
    for (auto& each : begun) {
        begin(multi, std::move(each));
    }
    for (const auto task : ended) {
        if (running.contains(task)) {
            end(multi, task, URLError(URLError::Code::cancelled));
        }
    }
    return true;
}

void CurlTransfers::begin(CURLM* multi, Added fresh)
{
    auto transfer = std::make_unique<CurlTransfer>(fresh.request, std::move(fresh.body), disk);
    libcurl().multiAdd(multi, transfer->handle());
    running.emplace(fresh.task, Running{std::move(transfer)});
}

/// Ends what libcurl has brought to an end.
void CurlTransfers::collect(CURLM* multi)
{
    std::map<HTTPClient::TaskId, std::optional<URLError>> ended;
    int left = 0;
    while (const CURLMsg* message = libcurl().multiInfoRead(multi, &left)) {
        for (const auto& [task, each] : running) {
            if (each.transfer->handle() == message->easy_handle) {
                ended[task] = each.transfer->end(message->data.result);
            }
        }
    }
    for (const auto& [task, error] : ended) {
        end(multi, task, error);
    }
}

void CurlTransfers::end(CURLM* multi, HTTPClient::TaskId task, const std::optional<URLError>& error)
{
    const auto found = running.find(task);
    const auto transfer = std::move(found->second.transfer);
    running.erase(found);
    libcurl().multiRemove(multi, transfer->handle());
    report({task, transfer->written(), true, error});
}

/// Whether something is still to be reported.
bool CurlTransfers::reportProgress()
{
    const auto now = std::chrono::steady_clock::now();
    const bool due = now - lastReport >= reportInterval;
    bool left = false;
    for (auto& [task, each] : running) {
        const auto written = each.transfer->isAccepted() ? each.transfer->written() : -1;
        if (written == each.reported) {
            continue;
        }
        left = left || !due;
        if (due) {
            each.reported = written;
            lastReport = now;
            report({task, written, false, std::nullopt});
        }
    }
    return left;
}

void CurlTransfers::report(const Report& report)
{
    const std::scoped_lock guard(lock); // who is told may be gone after the close
    if (onReport) {
        onReport(report);
    }
}

} // namespace vorlin
