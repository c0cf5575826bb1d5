#pragma once

#include "Async/Completion.h"
#include "Async/Stop.h"

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

namespace vorlin {

/// The failure of a download that was cancelled; the person is not told.
class DownloadCancelled : public std::runtime_error {
public:
    DownloadCancelled() : std::runtime_error("The download was cancelled.") {}
};

/// Brings models from the hub onto this machine.
class Downloads {
public:
    /// The share that has arrived, 0 to 1. Called from any thread, one call at a time, never
    /// after the end.
    using OnProgress = std::function<void(double)>;

    virtual ~Downloads() = default;

    /// Brings the model of `repository`, "owner/name", into `folder`: complete or not at all,
    /// and what lay there stays until the new one is whole. Nothing of it touches `folder` or
    /// what lies beside it after the end. Fails soon after `stop` is requested with
    /// `DownloadCancelled`, else with a `std::runtime_error` whose text the person is shown.
    /// Returns at once. Main loop.
    virtual Completion<Done> download(const std::string& repository,
                                      const std::filesystem::path& folder, OnProgress onProgress,
                                      StopToken stop) = 0;
};

} // namespace vorlin
