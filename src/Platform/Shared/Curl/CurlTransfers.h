#pragma once

#include "Platform/Shared/Curl/BodyWatch.h"
#include "Platform/Shared/Curl/CurlLibrary.h"
#include "Ports/HTTPClient.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace vorlin {

class CurlTransfer;

/// The transfers that run, and the thread that runs while there are any. It may hang in a body's
/// disk, and then outlives whoever started it.
class CurlTransfers {
public:
    struct Report {
        HTTPClient::TaskId task = 0;
        std::int64_t written = 0;
        /// Nothing more comes.
        bool completed = false;
        std::optional<URLError> error;
    };
    /// Called on the thread, one call at a time and none after `close`.
    using OnReport = std::function<void(const Report&)>;

    explicit CurlTransfers(OnReport onReport);
    CurlTransfers(const CurlTransfers&) = delete;
    CurlTransfers& operator=(const CurlTransfers&) = delete;
    ~CurlTransfers();

    /// Starts a transfer. Returns whether there is no thread for it: then `run` is to be called on
    /// one. Any thread.
    [[nodiscard]] bool add(HTTPClient::TaskId task, HTTPRequest request,
                           std::shared_ptr<HTTPBody> body);
    void cancel(HTTPClient::TaskId task);

    /// Whether at any moment of the last `within` a body had not come back for a second or longer.
    /// Any thread.
    bool wasHeldUp(Duration within) const { return disk.wasHeldUp(within); }

    /// Ends all transfers; nothing is reported from now on. Any thread.
    void close();

    /// Transfers until there is nothing more to transfer. Where libcurl is missing, everything
    /// fails that is to be transferred.
    void run();

private:
    struct Added {
        HTTPClient::TaskId task;
        HTTPRequest request;
        std::shared_ptr<HTTPBody> body;
    };
    struct Running {
        std::unique_ptr<CurlTransfer> transfer;
        /// What was reported of it; less than none until its head has come.
        std::int64_t reported = -1;
    };
    struct CleanUp {
        void operator()(CURLM* handle) const { libcurl().multiCleanup(handle); }
    };
    using Multi = std::unique_ptr<CURLM, CleanUp>;

    void refuse();
    bool takeChanges(CURLM* multi);
    void begin(CURLM* multi, Added added);
    void collect(CURLM* multi);
    void end(CURLM* multi, HTTPClient::TaskId task, const std::optional<URLError>& error);
    bool reportProgress();
    void report(const Report& report);

    std::mutex lock;
    /// With the lock: what changes until the thread looks, and what wakes it.
    std::vector<Added> added;
    std::vector<HTTPClient::TaskId> cancelled;
    bool closed = false;
    bool hasThread = false;
    CURLM* sleeping = nullptr;
    OnReport onReport;
    BodyWatch disk;
    /// The thread's own.
    std::map<HTTPClient::TaskId, Running> running;
    std::chrono::steady_clock::time_point lastReport;
};

} // namespace vorlin
