#pragma once

#include "Async/Lifetime.h"
#include "Async/Stop.h"
#include "Models/Downloads.h"
#include "Models/HubDownload.h"

#include <memory>
#include <set>
#include <string>

namespace vorlin {

/// Downloads from the model hub.
class HubDownloads final : public Downloads {
public:
    /// What `needs` refers to must outlive this object.
    explicit HubDownloads(HubDownload::Needs needs) : needs(std::move(needs)) {}
    HubDownloads(const HubDownloads&) = delete;
    HubDownloads& operator=(const HubDownloads&) = delete;
    /// Ends every download; what it left on the disk is deleted soon, by a patient thread.
    ~HubDownloads() override;

    Completion<Done> download(const std::string& repository, const std::filesystem::path& folder,
                              OnProgress onProgress, StopToken stop) override;

private:
    Task<void> follow(std::shared_ptr<HubDownload> download, StopToken stop, Completer<Done> ended);

    const HubDownload::Needs needs;
    std::set<std::shared_ptr<HubDownload>> running;
    Lifetime lifetime;
};

} // namespace vorlin
