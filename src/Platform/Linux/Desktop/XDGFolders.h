#pragma once

#include "Ports/Folders.h"

#include <filesystem>
#include <string>

namespace vorlin {

/// The model folders of a Linux desktop.
class XDGFolders final : public Folders {
public:
    /// `root` is the folder of the downloaded models.
    explicit XDGFolders(std::filesystem::path root) : root(std::move(root)) {}

    std::filesystem::path modelsRoot() const override { return root; }

    void makeModelsRoot() override;

    /// What exists can be used, unless a link leads from it to what is no plain file or folder
    /// that the person may read.
    std::optional<std::string> whyUnusable(const std::filesystem::path& folder,
                                           const std::string& name) override;

    /// What has several names below `folder` counts once. `folder` itself may be a link.
    std::uint64_t allocatedSize(const std::filesystem::path& folder) override;

    /// Follows links. Of more files than a model has it tells nothing.
    std::string identity(const std::filesystem::path& folder) override;

    /// Takes along what a download that ended in a crash has left beside it, "NAME.partial".
    /// Neither a link below `folder` nor one put there meanwhile leads out of it.
    void removeModel(const std::filesystem::path& folder) override;

    Bytes read(const std::filesystem::path& file, std::size_t most,
               const std::function<void()>& onProgress) override;

private:
    const std::filesystem::path root;
};

} // namespace vorlin
