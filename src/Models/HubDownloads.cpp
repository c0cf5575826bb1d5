#include "Models/HubDownloads.h"

#include <exception>
#include <utility>

namespace vorlin {

HubDownloads::~HubDownloads()
{
    for (const auto& each : running) {
        each->abandon();
    }
}

Completion<Done> HubDownloads::download(const std::string& repository,
                                        const std::filesystem::path& folder, OnProgress onProgress,
                                        StopToken stop)
{
    Completion<Done> ended;
    auto download = std::make_shared<HubDownload>(needs, repository, folder, std::move(onProgress));
    running.insert(download);
    spawn(needs.loop, lifetime.token(),
          follow(std::move(download), std::move(stop), ended.completer()));
    return ended;
}

Task<void> HubDownloads::follow(std::shared_ptr<HubDownload> download, StopToken stop,
                                Completer<Done> ended)
{
    std::exception_ptr failure;
    try {
        const StopCallback cancel(stop, [&download] { download->cancel(); });
        auto all = download->run();
        co_await std::move(all);
    } catch (...) {
        failure = std::current_exception();
    }
    running.erase(download);
    if (failure) {
        ended.fail(failure);
    } else {
        ended.complete({});
    }
}

} // namespace vorlin
