#pragma once

#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Platform/Shared/Curl/CurlTransfers.h"
#include "Ports/HTTPClient.h"
#include "Ports/Workers.h"

#include <map>
#include <memory>

namespace vorlin {

/// HTTPS through libcurl, with the certificates that the system trusts. A patient thread transfers,
/// and is there only while something is to be transferred.
class CurlHTTPClient final : public HTTPClient {
public:
    /// Both must outlive this object.
    CurlHTTPClient(MainLoop& loop, Workers& workers);
    CurlHTTPClient(const CurlHTTPClient&) = delete;
    CurlHTTPClient& operator=(const CurlHTTPClient&) = delete;
    /// Closes it.
    ~CurlHTTPClient() override;

    /// Ends everything; nobody is called back from now on. Main loop.
    void close();

    TaskId makeTask(HTTPRequest request, std::shared_ptr<HTTPBody> body, Events events) override;
    void start(TaskId task) override;
    void cancel(TaskId task) override;
    bool wasHeldUp(Duration within) const override { return transfers->wasHeldUp(within); }

private:
    struct Task {
        HTTPRequest request;
        std::shared_ptr<HTTPBody> body;
        Events events;
        bool started = false;
    };

    void reported(const CurlTransfers::Report& report);

    Workers& workers;
    MainLoop& loop;
    TaskId lastTask = 0;
    std::map<TaskId, Task> tasks;
    std::shared_ptr<CurlTransfers> transfers;
    Lifetime lifetime;
};

} // namespace vorlin
