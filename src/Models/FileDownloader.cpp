#include "Models/FileDownloader.h"

#include "Models/Patiently.h"

#include <exception>
#include <utility>

namespace vorlin {

namespace {

/// How long to wait before the second attempt; before each later one, three times as long.
constexpr Duration firstPause = std::chrono::seconds(1);

bool mayPass(const URLError& error)
{
    return error.code() == URLError::Code::connectionLost ||
           error.code() == URLError::Code::timedOut;
}

URLError afterAllAttempts(const URLError& error)
{
    static_assert(FileDownloader::attempts == 3);
    return {error.code(), std::string(error.what()) + " It was tried three times."};
}

} // namespace

Task<void> FileDownloader::download(std::string url, HubItem item,
                                    std::shared_ptr<WorkingFolder> folder, OnBytes onBytes)
{
    throwIfCancelled();
    std::function<std::shared_ptr<WritableFile>()> create = [folder, path = item.path] {
        return folder->createFile(path);
    };
    const auto created = patiently(workers, loop, std::move(create));
    const auto file = co_await created;
    const auto body = std::make_shared<FileBody>(item, file);
    for (int number = 1;; ++number) {
        auto tried = attempt(number, url, body, onBytes);
        if (co_await std::move(tried)) {
            break;
        }
        auto waited = pause(number);
        co_await std::move(waited);
    }
    std::function<Done()> sync = [file] {
        file->sync();
        return Done{};
    };
    const auto synced = patiently(workers, loop, std::move(sync));
    co_await synced;
}

/// Whether the file has come; not, when it is worth another attempt.
Task<bool> FileDownloader::attempt(int number, const std::string& url,
                                   const std::shared_ptr<FileBody>& body, const OnBytes& onBytes)
{
    HTTPRequest wanted = body->request(url);
    try {
        auto answered = request(std::move(wanted), body, onBytes);
        co_await std::move(answered);
        co_return true;
    } catch (const URLError& error) {
        if (!mayPass(error) && !body->mayPass()) {
            throw;
        }
        if (body->isWhole()) {
            co_return true; // the connection was lost behind the last byte
        }
        if (number == attempts) {
            throw afterAllAttempts(error);
        }
    }
    co_return false;
}

Task<void> FileDownloader::pause(int attempt)
{
    throwIfCancelled();
    Duration length = firstPause;
    for (int i = 1; i < attempt; ++i) {
        length *= 3;
    }
    Completion<Done> over;
    pauses.push_back(over.completer());
    const Timer timer =
        loop.startTimer(length, [completer = pauses.back()] { completer.complete({}); });
    co_await over;
    throwIfCancelled();
}

Task<void> FileDownloader::request(HTTPRequest request, std::shared_ptr<DownloadBody> body,
                                   OnBytes onBytes)
{
    throwIfCancelled();
    const auto answered = begin(std::move(request), std::move(body), std::move(onBytes));
    co_await answered;
}

Completion<Done> FileDownloader::begin(HTTPRequest request, std::shared_ptr<DownloadBody> body,
                                       OnBytes onBytes)
{
    Completion<Done> answered;
    HTTPClient::Events events{
        .didWrite = lifetime.guard(
            [this](HTTPClient::TaskId task, std::int64_t total) { didWrite(task, total); }),
        .didComplete =
            lifetime.guard([this](HTTPClient::TaskId task, const std::optional<URLError>& error) {
                didComplete(task, error);
            }),
    };
    const std::int64_t there = body->bytesThere();
    const auto task = http.makeTask(std::move(request), body, std::move(events));
    jobs.emplace(task, Job{std::move(body), std::move(onBytes), answered.completer(), there, false,
                           nullptr});
    listen(task);
    http.start(task);
    return answered;
}

/// From now on the task may be silent for as long as our patience lasts.
void FileDownloader::listen(HTTPClient::TaskId task)
{
    jobs.at(task).silence = loop.startTimer(patience, [this, task] {
        if (http.wasHeldUp(patience)) {
            listen(task); // it is our disk that was silent
            return;
        }
        jobs.at(task).timedOut = true;
        http.cancel(task);
    });
}

void FileDownloader::didWrite(HTTPClient::TaskId task, std::int64_t totalBytesWritten)
{
    const auto found = jobs.find(task);
    if (found == jobs.end()) {
        return;
    }
    listen(task);
    Job& job = found->second;
    const std::int64_t there = job.destination->bytesBefore() + totalBytesWritten;
    const std::int64_t increment = there - std::exchange(job.received, there);
    if (increment != 0) {
        const OnBytes onBytes = job.onBytes; // what is called may end the job
        onBytes(increment);
    }
}

void FileDownloader::didComplete(HTTPClient::TaskId task, const std::optional<URLError>& error)
{
    const auto found = jobs.find(task);
    if (found == jobs.end()) {
        return;
    }
    const Job job = std::move(found->second);
    jobs.erase(found);
    if (error && error->code() == URLError::Code::cancelled && job.timedOut && !cancelled) {
        job.continuation.fail(std::make_exception_ptr(URLError(URLError::Code::timedOut)));
    } else if (error) {
        job.continuation.fail(std::make_exception_ptr(*error));
    } else if (const auto failure = job.destination->failure()) {
        job.continuation.fail(failure);
    } else {
        job.continuation.complete({});
    }
}

void FileDownloader::cancel()
{
    cancelled = true;
    std::vector<HTTPClient::TaskId> running;
    for (const auto& [task, job] : jobs) {
        running.push_back(task);
    }
    for (const auto task : running) {
        http.cancel(task);
    }
    for (const auto& waiting : std::exchange(pauses, {})) {
        waiting.complete({});
    }
}

void FileDownloader::throwIfCancelled() const
{
    if (cancelled) {
        throw URLError(URLError::Code::cancelled);
    }
}

} // namespace vorlin
