#include "Platform/Shared/DiskWorkingFolders.h"

#include "Platform/Shared/Descriptor.h"
#include "Platform/Shared/FolderTree.h"
#include "Platform/Shared/Rename.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <mutex>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace vorlin {

namespace {

/// What lay in the place, inside what took it, on a disk that cannot exchange the two. No model has
/// a file of this name.
constexpr const char* formerName = ".former";
constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t folderMode = 0777; // less what the person's mask takes away
constexpr mode_t fileMode = 0666;

[[noreturn]] void refused(int code)
{
    if (code == ENOSPC || code == EDQUOT) {
        throw DiskError::full();
    }
    switch (code) {
    case EACCES:
    case EPERM: throw DiskError::refused("permission denied");
    case EROFS: throw DiskError::refused("the disk is read-only");
    case EIO: throw DiskError::refused("the disk reports an error");
    case ENOENT: throw DiskError::refused("the folder is gone");
    case ENOTDIR:
    case ELOOP: throw DiskError::refused("something else stands in its place");
    case EEXIST:
    case ENOTEMPTY: throw DiskError::refused("something is in the way that cannot be deleted");
    case EFBIG: throw DiskError::refused("a file is too large for this disk");
    case ENAMETOOLONG: throw DiskError::refused("a name is too long for this disk");
    default: throw DiskError::refused("error " + std::to_string(code));
    }
}

[[noreturn]] void refusedName(const std::string& name)
{
    throw DiskError::refused(name + " is already there, or leads elsewhere");
}

void sync(const Descriptor& opened)
{
    if (::fsync(opened.number()) != 0) {
        refused(errno);
    }
}

/// Not every file system knows how to sync a folder.
void syncFolder(const Descriptor& opened)
{
    if (::fsync(opened.number()) != 0 && errno != EINVAL && errno != ENOTSUP) {
        refused(errno);
    }
}

class File final : public WritableFile {
public:
    explicit File(Descriptor opened) : file(std::move(opened)) {}

    void append(std::span<const std::byte> bytes) override
    {
        while (!bytes.empty()) {
            const auto written = ::write(file.number(), bytes.data(), bytes.size());
            if (written < 0 && errno != EINTR) {
                refused(errno);
            }
            bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
        }
    }

    void clear() override
    {
        if (::ftruncate(file.number(), 0) != 0 || ::lseek(file.number(), 0, SEEK_SET) != 0) {
            refused(errno);
        }
    }

    void sync() override
    {
        vorlin::sync(file);
        if (!file.close()) {
            refused(errno);
        }
    }

private:
    Descriptor file;
};

/// The names of a path; refuses one that is none inside a folder.
std::vector<std::string> partsOf(const std::string& path)
{
    std::vector<std::string> parts(1);
    for (const char character : path) {
        if (character == '/') {
            parts.emplace_back();
        } else {
            parts.back() += character;
        }
    }
    for (const auto& part : parts) {
        if (part.empty() || part == "." || part == ".." || part.find('\0') != std::string::npos) {
            throw DiskError::refused("a file has a name that is not allowed");
        }
    }
    return parts;
}

class Folder final : public WorkingFolder {
public:
    explicit Folder(const std::filesystem::path& destination)
        : models(destination.parent_path()), name(destination.filename()),
          partialName(name + partialEnding)
    {
    }

    void create() override
    {
        const std::scoped_lock guard(lock);
        throwIfOver();
        std::error_code error;
        std::filesystem::create_directories(models, error);
        parent = Descriptor(::open(models.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!parent) {
            refused(error ? error.value() : errno);
        }
        if (!bringFormerBack()) {
            refused(errno);
        }
        removeTree(parent, partialName);
        if (::mkdirat(parent.number(), partialName.c_str(), folderMode) != 0) {
            refused(errno);
        }
        top = Descriptor(::openat(parent.number(), partialName.c_str(), folderFlags));
        if (!top) {
            refused(errno);
        }
    }

    std::shared_ptr<WritableFile> createFile(const std::string& path) override
    {
        auto parts = partsOf(path);
        const std::string last = std::move(parts.back());
        parts.pop_back();
        const std::scoped_lock guard(lock);
        throwIfOver();
        const Descriptor above = openFolder(parts, true);
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        Descriptor opened(::openat(above.number(), last.c_str(), flags, fileMode));
        if (!opened) {
            errno == EEXIST ? refusedName(last) : refused(errno);
        }
        return std::make_shared<File>(std::move(opened));
    }

    std::uint64_t freeSpace() override
    {
        const std::scoped_lock guard(lock);
        throwIfOver();
        struct statvfs disk = {};
        if (::fstatvfs(top.number(), &disk) != 0) {
            refused(errno);
        }
        return static_cast<std::uint64_t>(disk.f_bavail) * disk.f_frsize;
    }

    void moveIntoPlace() override
    {
        const std::scoped_lock guard(lock);
        throwIfOver();
        for (const auto& folder : folders) {
            syncFolder(openFolder(folder, false));
        }
        syncFolder(top);
        exchange();
        isInPlace = true;
        isOver = true;
        removeFormer();
        top.close();
        parent.close();
    }

    void discard() override
    {
        const std::scoped_lock guard(lock);
        isOver = true;
        if (!isInPlace) {
            if (!parent) {
                parent = Descriptor(::open(models.c_str(), folderFlags & ~O_NOFOLLOW));
            }
            // Of an earlier download, too, if this one made none.
            if (parent && bringFormerBack()) {
                removeTree(parent, partialName);
            }
        }
        top.close();
        parent.close();
    }

private:
    void throwIfOver() const
    {
        if (isOver) {
            throw DiskError::refused("the download was given up");
        }
    }

    /// The folder of these names below the top, one step after the other; made if `make` says so.
    Descriptor openFolder(const std::vector<std::string>& names, bool make)
    {
        Descriptor folder(::openat(top.number(), ".", folderFlags));
        std::vector<std::string> path;
        for (const auto& each : names) {
            if (make && ::mkdirat(folder.number(), each.c_str(), folderMode) != 0 &&
                errno != EEXIST) {
                refused(errno);
            }
            folder = Descriptor(::openat(folder.number(), each.c_str(), folderFlags));
            if (!folder) {
                errno == ENOTDIR || errno == ELOOP ? refusedName(each) : refused(errno);
            }
            path.push_back(each);
            folders.insert(path);
        }
        if (!folder) {
            refused(errno);
        }
        return folder;
    }

    /// Where no model is in the place, the one that a move took out of it, and could not replace,
    /// returns. Returns whether the working folder holds none any more that is needed; `errno` says
    /// why one that is cannot return.
    bool bringFormerBack() const
    {
        const Descriptor left(::openat(parent.number(), partialName.c_str(), folderFlags));
        if (!left) {
            return errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
        }
        const int number = left.number();
        if (::renameat(number, formerName, parent.number(), name.c_str()) == 0) {
            return true;
        }
        constexpr int taken[] = {EEXIST, ENOTEMPTY, ENOTDIR, EISDIR};
        return errno == ENOENT || std::ranges::find(taken, errno) != std::end(taken);
    }

    /// What lay in the place goes once it is sure who lies there now; else the next download
    /// deletes it, and this one has succeeded all the same.
    void removeFormer() const
    {
        try {
            syncFolder(parent);
        } catch (const DiskError&) {
            return;
        }
        removeTree(parent, partialName);
        removeTree(top, formerName);
    }

    void exchange()
    {
        const auto rename = [this](Existing existing) {
            return renameItem(parent, partialName, parent, name, existing);
        };
        if (rename(Existing::exchange) || (errno == ENOENT && rename(Existing::refuse))) {
            return;
        }
        if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) {
            refused(errno);
        }
        // A file system that cannot exchange, or knows no flags. What lay there goes out of the way
        // whole: of what is deleted piece by piece, the rest could count as a model.
        if (::renameat(parent.number(), name.c_str(), top.number(), formerName) != 0 &&
            errno != ENOENT) {
            refused(errno);
        }
        if (!rename(Existing::replace)) {
            const int reason = errno;
            ::renameat(top.number(), formerName, parent.number(), name.c_str());
            refused(reason);
        }
    }

    const std::filesystem::path models;
    const std::string name;
    const std::string partialName;
    std::mutex lock;
    /// With the lock.
    Descriptor parent;
    Descriptor top;
    /// Those that were made below the top, by their names from there.
    std::set<std::vector<std::string>> folders;
    bool isInPlace = false;
    bool isOver = false;
};

} // namespace

std::shared_ptr<WorkingFolder> DiskWorkingFolders::beside(const std::filesystem::path& destination)
{
    return std::make_shared<Folder>(destination);
}

} // namespace vorlin
