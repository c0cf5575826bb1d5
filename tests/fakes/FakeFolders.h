#pragma once

#include "Models/ModelFolder.h"
#include "Ports/Folders.h"

#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>

namespace vorlin {

/// Folders in memory.
class FakeFolders final : public Folders {
public:
    std::filesystem::path root = "/models";
    /// The names directly inside each folder.
    std::map<std::filesystem::path, std::set<std::string>> contents;
    /// What exists and cannot be used, and why.
    std::map<std::filesystem::path, std::string> unusable;
    std::map<std::filesystem::path, std::uint64_t> sizes;
    std::map<std::filesystem::path, std::string> files;
    /// What tells the files below a folder from others.
    std::map<std::filesystem::path, std::string> identities;
    std::vector<std::filesystem::path> removed;
    bool madeRoot = false;
    /// Whether the main loop runs, on which nothing here may be asked but the root.
    std::function<bool()> onMain = [] { return false; };
    int asksOnMain = 0;

    /// Puts a complete model there.
    void putModel(const std::filesystem::path& folder, std::uint64_t size = 1'000'000)
    {
        contents[folder] = {modelFiles.begin(), modelFiles.end()};
        sizes[folder] = size;
    }

    std::filesystem::path modelsRoot() const override { return root; }
    void makeModelsRoot() override
    {
        note();
        madeRoot = true;
    }
    std::optional<std::string> whyUnusable(const std::filesystem::path& folder,
                                           const std::string& name) override
    {
        note();
        if (const auto why = unusable.find(folder / name); why != unusable.end()) {
            return why->second;
        }
        const auto found = contents.find(folder);
        const bool there = found != contents.end() && found->second.contains(name);
        return there ? std::nullopt : std::optional<std::string>("");
    }
    std::uint64_t allocatedSize(const std::filesystem::path& folder) override
    {
        note();
        return sizes[folder];
    }
    std::string identity(const std::filesystem::path& folder) override
    {
        note();
        return identities[folder];
    }
    void removeModel(const std::filesystem::path& folder) override
    {
        note();
        removed.push_back(folder);
        contents.erase(folder);
        sizes.erase(folder);
    }
    Bytes read(const std::filesystem::path& file, std::size_t most,
               const std::function<void()>& /*onProgress*/) override
    {
        note();
        const auto found = files.find(file);
        if (found == files.end() || found->second.size() > most) {
            throw std::runtime_error(file.filename().string() + " cannot be read.");
        }
        return {found->second.begin(), found->second.end()};
    }

private:
    void note() { asksOnMain += onMain() ? 1 : 0; }
};

} // namespace vorlin
