#pragma once

#include "Async/Completion.h"
#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Task.h"
#include "Models/DownloadBody.h"
#include "Models/HubListing.h"
#include "Ports/HTTPClient.h"
#include "Ports/Workers.h"
#include "Ports/WorkingFolders.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {

/// Turns transfers over the network into calls to await, for one download. Main loop.
class FileDownloader {
public:
    /// Gets each increment of the bytes that have come; a negative one when a file begins anew.
    using OnBytes = std::function<void(std::int64_t)>;

    /// Whoever gives no byte for so long is not waited for any more.
    static constexpr Duration patience = std::chrono::seconds(30);
    /// How often a file is tried whose transfer fails in a way that may pass by itself: a
    /// connection that is lost, an error of the server's (5xx), a time-out.
    static constexpr int attempts = 3;

    /// `http`, `loop` and `workers` must outlive every call that is awaited.
    FileDownloader(HTTPClient& http, MainLoop& loop, Workers& workers)
        : http(http), loop(loop), workers(workers)
    {
    }
    FileDownloader(const FileDownloader&) = delete;
    FileDownloader& operator=(const FileDownloader&) = delete;

    /// Brings what lies at `url` to the place in `folder` that `item` names. Fails with what the
    /// person is to be told, and with `URLError::Code::cancelled` after `cancel`.
    Task<void> download(std::string url, HubItem item, std::shared_ptr<WorkingFolder> folder,
                        OnBytes onBytes);

    /// One request, whose answer `body` takes.
    Task<void> request(HTTPRequest request, std::shared_ptr<DownloadBody> body, OnBytes onBytes);

    /// Ends everything that is under way, and all that begins later, at once.
    void cancel();

private:
    /// One running transfer.
    struct Job {
        std::shared_ptr<DownloadBody> destination;
        OnBytes onBytes;
        Completer<Done> continuation;
        /// Bytes at the destination, as last reported.
        std::int64_t received = 0;
        bool timedOut = false;
        /// Runs while no byte comes.
        Timer silence;
    };

    Completion<Done> begin(HTTPRequest request, std::shared_ptr<DownloadBody> body,
                           OnBytes onBytes);
    void listen(HTTPClient::TaskId task);
    void didWrite(HTTPClient::TaskId task, std::int64_t totalBytesWritten);
    void didComplete(HTTPClient::TaskId task, const std::optional<URLError>& error);
    Task<bool> attempt(int number, const std::string& url, const std::shared_ptr<FileBody>& body,
                       const OnBytes& onBytes);
    Task<void> pause(int attempt);
    void throwIfCancelled() const;

    HTTPClient& http;
    MainLoop& loop;
    Workers& workers;
    std::map<HTTPClient::TaskId, Job> jobs;
    /// Those who wait for their next attempt.
    std::vector<Completer<Done>> pauses;
    bool cancelled = false;
    Lifetime lifetime;
};

} // namespace vorlin
