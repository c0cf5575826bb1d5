#pragma once

#include "Models/ModelFolder.h"
#include "Ports/Folders.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace vorlin {

/// Folders in memory.
class FakeFolders final : public Folders {
public:
    struct Folder {
        std::set<std::string> names;
        std::uint64_t size = 0;
    };

    std::map<std::filesystem::path, Folder> folders;
    std::map<std::filesystem::path, Bytes> files;
    std::vector<std::filesystem::path> removed;
    /// Whether the main loop runs; nothing here may then be asked but the root.
    std::function<bool()> onMain = [] { return false; };
    int asksOnMain = 0;

    /// Puts a complete model there.
    void putModel(const std::filesystem::path& folder, std::uint64_t size = 1'000'000)
    {
        folders[folder] = {{modelFiles.begin(), modelFiles.end()}, size};
    }

    std::filesystem::path modelsRoot() const override { return "/data/Vorlin/Models"; }
    bool contains(const std::filesystem::path& folder, const std::string& name) override
    {
        note();
        const auto found = folders.find(folder);
        return found != folders.end() && found->second.names.contains(name);
    }
    std::uint64_t allocatedSize(const std::filesystem::path& folder) override
    {
        note();
        const auto found = folders.find(folder);
        return found == folders.end() ? 0 : found->second.size;
    }
    void removeModel(const std::filesystem::path& folder) override
    {
        note();
        removed.push_back(folder);
        folders.erase(folder);
    }
    Bytes read(const std::filesystem::path& file, std::size_t most) override
    {
        note();
        const auto found = files.find(file);
        if (found == files.end() || found->second.size() > most) {
            throw std::runtime_error("The file cannot be read.");
        }
        return found->second;
    }

private:
    void note() { asksOnMain += onMain() ? 1 : 0; }
};

} // namespace vorlin
