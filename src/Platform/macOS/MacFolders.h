#pragma once

#include "Ports/Folders.h"

namespace vorlin {

/// The model folders of the person: "Vorlin/Models" in their Application Support folder, and those
/// that they chose elsewhere.
class MacFolders final : public Folders {
public:
    MacFolders();

    std::filesystem::path modelsRoot() const override { return root; }
    void makeModelsRoot() override;
    /// Whatever exists, a file or a folder, can be used.
    std::optional<std::string> whyUnusable(const std::filesystem::path& folder,
                                           const std::string& name) override;
    std::uint64_t allocatedSize(const std::filesystem::path& folder) override;
    void removeModel(const std::filesystem::path& folder) override;
    Bytes read(const std::filesystem::path& file, std::size_t most,
               const std::function<void()>& onProgress) override;

private:
    const std::filesystem::path root;
};

} // namespace vorlin
