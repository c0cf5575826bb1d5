#pragma once

#include "Ports/WorkingFolders.h"
#include "fakes/FakeFolders.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace vorlin {

/// A disk in memory on which models are put together.
class FakeWorkingFolders final : public WorkingFolders {
public:
    using Files = std::map<std::string, std::string>;

    struct Disk {
        /// The working folders by the model folders that they are for, and what is in place.
        std::map<std::filesystem::path, Files> partial;
        std::map<std::filesystem::path, Files> placed;
        std::uint64_t room = 1'000'000'000;
        /// What fails, by "create", "move", or a file's path, and how.
        std::map<std::string, std::string> refusals;
        /// By model folders: files whose bytes were not told to stay.
        std::map<std::filesystem::path, int> unsynced;
        /// Something was asked of a working folder that another one stood for, or on the main loop.
        int mistakes = 0;
        std::function<bool()> onMain = [] { return false; };
        /// What else looks at the disk.
        FakeFolders* folders = nullptr;

        void note() { mistakes += onMain() ? 1 : 0; }
        void refuse(const std::string& what) const
        {
            if (const auto found = refusals.find(what); found != refusals.end()) {
                throw DiskError::refused(found->second);
            }
        }
    };

    const std::shared_ptr<Disk> disk = std::make_shared<Disk>();

    std::shared_ptr<WorkingFolder> beside(const std::filesystem::path& destination) override
    {
        return std::make_shared<Folder>(disk, destination);
    }

private:
    class File final : public WritableFile {
    public:
        File(std::shared_ptr<Disk> disk, std::filesystem::path folder, std::string path)
            : disk(std::move(disk)), folder(std::move(folder)), path(std::move(path))
        {
            ++this->disk->unsynced[this->folder];
        }
        File(const File&) = delete;
        File& operator=(const File&) = delete;
        ~File() override { disk->unsynced[folder] -= synced ? 0 : 1; }

        void append(std::span<const std::byte> bytes) override
        {
            disk->note();
            if (bytes.size() > disk->room) {
                throw DiskError::full();
            }
            disk->room -= bytes.size();
            if (auto* text = contents()) {
                text->append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
            }
        }
        void clear() override
        {
            disk->note();
            if (auto* text = contents()) {
                disk->room += text->size();
                text->clear();
            }
        }
        void sync() override
        {
            disk->note();
            disk->unsynced[folder] -= std::exchange(synced, true) ? 0 : 1;
        }

    private:
        /// Nothing when it was deleted meanwhile.
        std::string* contents()
        {
            const auto found = disk->partial.find(folder);
            const bool there = found != disk->partial.end() && found->second.contains(path);
            return there ? &found->second.at(path) : nullptr;
        }

        const std::shared_ptr<Disk> disk;
        const std::filesystem::path folder;
        const std::string path;
        bool synced = false;
    };

    class Folder final : public WorkingFolder {
    public:
        Folder(std::shared_ptr<Disk> disk, std::filesystem::path destination)
            : disk(std::move(disk)), destination(std::move(destination))
        {
        }

        void create() override
        {
            check("create");
            disk->partial[destination] = {};
            isThere = true;
        }
        std::shared_ptr<WritableFile> createFile(const std::string& path) override
        {
            check(path);
            if (!isThere || !disk->partial[destination].emplace(path, "").second) {
                ++disk->mistakes;
            }
            return std::make_shared<File>(disk, destination, path);
        }
        std::uint64_t freeSpace() override
        {
            check("");
            return disk->room;
        }
        void moveIntoPlace() override
        {
            check("move");
            disk->mistakes += isThere && disk->unsynced[destination] == 0 ? 0 : 1;
            disk->placed[destination] = std::move(disk->partial[destination]);
            disk->partial.erase(destination);
            isThere = false;
            isInPlace = true;
            if (disk->folders != nullptr) {
                auto& names = disk->folders->contents[destination];
                names.clear();
                for (const auto& [path, text] : disk->placed[destination]) {
                    names.insert(path.substr(0, path.find('/')));
                }
                disk->folders->sizes[destination] = 1;
            }
        }
        void discard() override
        {
            disk->note();
            discarded = true;
            isThere = false;
            if (!isInPlace) { // what an earlier one left goes, too
                for (const auto& [path, text] : disk->partial[destination]) {
                    disk->room += text.size();
                }
                disk->partial.erase(destination);
            }
        }

    private:
        void check(const std::string& what)
        {
            disk->note();
            if (discarded) {
                throw DiskError::refused("it was given up");
            }
            disk->refuse(what);
        }

        const std::shared_ptr<Disk> disk;
        const std::filesystem::path destination;
        bool isThere = false;
        bool isInPlace = false;
        bool discarded = false;
    };
};

} // namespace vorlin
