#pragma once

#include "Models/Downloads.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace vorlin {

/// Downloads that the test plays.
class FakeDownloads final : public Downloads {
public:
    struct Download {
        std::string repository;
        std::filesystem::path folder;
        OnProgress onProgress;
        StopToken stop;
        Completer<Done> completer;
        bool ended = false;
    };

    std::vector<std::shared_ptr<Download>> all;
    /// Whether two ever wrote into one folder.
    bool collided = false;

    Completion<Done> download(const std::string& repository, const std::filesystem::path& folder,
                              OnProgress onProgress, StopToken stop) override
    {
        for (const auto& each : all) {
            collided = collided || (!each->ended && each->folder == folder);
        }
        Completion<Done> done;
        all.push_back(std::make_shared<Download>(Download{repository, folder, std::move(onProgress),
                                                          std::move(stop), done.completer()}));
        return done;
    }

    Download& last() { return *all.back(); }

    static void complete(Download& download)
    {
        download.ended = true;
        download.completer.complete({});
    }
    static void fail(Download& download, const std::string& message)
    {
        download.ended = true;
        download.completer.failWith(message);
    }
    /// Lets a download whose stop was requested end.
    static void endCancelled(Download& download)
    {
        download.ended = true;
        download.completer.fail(std::make_exception_ptr(DownloadCancelled()));
    }
};

} // namespace vorlin
