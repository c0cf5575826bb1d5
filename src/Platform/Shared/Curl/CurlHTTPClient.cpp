#include "Platform/Shared/Curl/CurlHTTPClient.h"

#include <utility>

namespace vorlin {

CurlHTTPClient::CurlHTTPClient(MainLoop& loop, Workers& workers) : workers(workers), loop(loop)
{
    auto onMain = lifetime.guard([this](const CurlTransfers::Report& report) { reported(report); });
    transfers = std::make_shared<CurlTransfers>(
        [&loop, onMain](const auto& report) { loop.post([onMain, report] { onMain(report); }); });
}

CurlHTTPClient::~CurlHTTPClient()
{
    close();
}

void CurlHTTPClient::close()
{
    transfers->close();
    tasks.clear();
}

HTTPClient::TaskId CurlHTTPClient::makeTask(HTTPRequest request, std::shared_ptr<HTTPBody> body,
                                            Events events)
{
    tasks.emplace(++lastTask, Task{std::move(request), std::move(body), std::move(events)});
    return lastTask;
}

void CurlHTTPClient::start(TaskId task)
{
    const auto found = tasks.find(task);
    if (found == tasks.end() || std::exchange(found->second.started, true)) {
        return;
    }
    // The transfer has the only share of the body now: it is let go of when nothing writes it.
    if (transfers->add(task, std::move(found->second.request), std::move(found->second.body))) {
        workers.runPatiently(
            WorkPriority::normal, [running = transfers] { running->run(); }, loop, [] {});
    }
}

void CurlHTTPClient::cancel(TaskId task)
{
    const auto found = tasks.find(task);
    if (found == tasks.end()) {
        return;
    }
    if (found->second.started) {
        transfers->cancel(task);
    } else {
        tasks.erase(found);
    }
}

void CurlHTTPClient::reported(const CurlTransfers::Report& report)
{
    const auto found = tasks.find(report.task);
    if (found == tasks.end()) {
        return;
    }
    if (!report.completed) {
        const auto didWrite = found->second.events.didWrite; // what is called may end the task
        didWrite(report.task, report.written);
        return;
    }
    const Task ended = std::move(found->second);
    tasks.erase(found);
    ended.events.didWrite(report.task, report.written);
    ended.events.didComplete(report.task, report.error);
}

} // namespace vorlin
