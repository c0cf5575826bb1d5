#pragma once

#include "Async/Completion.h"
#include "Async/Lifetime.h"
#include "Async/MainLoop.h"
#include "Async/Task.h"
#include "Models/Downloads.h"
#include "Models/FileDownloader.h"
#include "Models/HubListing.h"
#include "Ports/HTTPClient.h"
#include "Ports/Workers.h"
#include "Ports/WorkingFolders.h"

#include <cstddef>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {

/// One download of a model. Main loop.
class HubDownload {
public:
    struct Needs {
        MainLoop& loop;
        Workers& workers;
        HTTPClient& http;
        std::shared_ptr<WorkingFolders> folders;
        /// The hub's address, without a slash at its end.
        std::string hub;
    };

    /// What `needs` refers to must outlive this object's calls, not its destruction.
    HubDownload(Needs needs, std::string repository, const std::filesystem::path& destination,
                Downloads::OnProgress onProgress);
    HubDownload(const HubDownload&) = delete;
    HubDownload& operator=(const HubDownload&) = delete;

    /// All of it. Fails as `Downloads::download` does, with nothing left at work and no working
    /// folder left behind.
    Task<void> run();

    /// Lets `run` end soon.
    void cancel();

    /// Cancels, and sees to it that no working folder stays though nothing here runs any more.
    void abandon();

private:
    /// At most so many files are in transfer at any moment.
    static constexpr std::size_t lanes = 3;

    Task<void> transfer();
    Task<std::vector<HubItem>> list();
    Task<void> prepare();
    Task<void> lane();
    void arrived(std::int64_t bytes);

    const Needs needs;
    const std::string repository;
    const std::shared_ptr<WorkingFolder> working;
    const Downloads::OnProgress onProgress;
    FileDownloader downloader;
    std::vector<HubItem> files;
    std::size_t nextFile = 0;
    std::int64_t total = 1;
    /// Bytes of all files that have come.
    std::int64_t received = 0;
    std::size_t runningLanes = 0;
    Completion<Done> lanesEnded;
    std::optional<Completer<Done>> endLanes;
    /// Of the first file that failed.
    std::exception_ptr failure;
    Lifetime lifetime;
};

} // namespace vorlin
