#pragma once

#include "Ports/Folders.h"

#include <filesystem>
#include <string>

namespace vorlin {

/// The model folders of a Linux desktop. Every call but `modelsRoot` looks at nothing of this
/// object once it waits for a disk, which may outlast it.
class XDGFolders final : public Folders {
public:
    /// `root` is the folder of the downloaded models.
    explicit XDGFolders(std::filesystem::path root) : root(std::move(root)) {}

    std::filesystem::path modelsRoot() const override { return root; }

    /// A link counts as what it leads to; one that leads nowhere does not exist.
    bool contains(const std::filesystem::path& folder, const std::string& name) override;

    /// What has several names below `folder` counts once. `folder` itself may be a link.
    std::uint64_t allocatedSize(const std::filesystem::path& folder) override;

    /// Neither a link below `folder` nor one put there meanwhile leads out of it.
    void removeModel(const std::filesystem::path& folder) override;

    Bytes read(const std::filesystem::path& file, std::size_t most) override;

private:
    const std::filesystem::path root;
};

} // namespace vorlin
