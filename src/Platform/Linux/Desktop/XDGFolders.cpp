#include "Platform/Linux/Desktop/XDGFolders.h"

#include "Platform/Linux/Desktop/FolderTree.h"
#include "Platform/Shared/LinkedFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace vorlin {

namespace {

/// What a download's working folder has behind the model folder's name.
constexpr const char* partialEnding = ".partial";

/// What is asked of a disk at once, so that a slow one can be seen to get on.
constexpr std::size_t largestPiece = 256 << 10;

constexpr std::uint64_t blockSize = 512; // what st_blocks counts, whatever the file system's own

/// Whether the path can be handed to the system as it is.
bool isPath(const std::filesystem::path& path)
{
    return !path.empty() && path.native().find('\0') == std::string::npos;
}

/// Whether a name stays directly inside the folder in which it is looked for.
bool isSingleName(const std::string& name)
{
    const std::filesystem::path path(name);
    return isPath(path) && path == path.filename() && path != "." && path != "..";
}

Descriptor openFolder(const std::filesystem::path& folder)
{
    return Descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

/// The text without what would break its line: names may hold anything.
std::string oneLine(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; }, '?');
    return text;
}

[[noreturn]] void cannotRead(const std::filesystem::path& file, const std::string& reason)
{
    throw std::runtime_error("Cannot read " + oneLine(file.filename().string()) + ": " + reason +
                             ".");
}

[[noreturn]] void cannotReadNow(const std::filesystem::path& file)
{
    cannotRead(file, std::generic_category().message(errno));
}

} // namespace

void XDGFolders::makeModelsRoot()
{
    std::error_code ignored;
    std::filesystem::create_directories(root, ignored);
}

std::optional<std::string> XDGFolders::whyUnusable(const std::filesystem::path& folder,
                                                   const std::string& name)
{
    struct stat item = {};
    if (!isPath(folder) || !isSingleName(name) || ::lstat((folder / name).c_str(), &item) != 0) {
        return "";
    }
    const auto refused = followLinks(folder / name, [](const Descriptor& /*file*/) {});
    return refused ? std::optional(oneLine(*refused)) : std::nullopt;
}

std::uint64_t XDGFolders::allocatedSize(const std::filesystem::path& folder)
{
    if (!isPath(folder)) {
        return 0;
    }
    std::uint64_t size = 0;
    std::set<std::pair<dev_t, ino_t>> linked;
    visitTree(openFolder(folder), [&size, &linked](const struct stat& item) {
        const bool severalNames = !S_ISDIR(item.st_mode) && item.st_nlink > 1;
        if (!severalNames || linked.emplace(item.st_dev, item.st_ino).second) {
            size += static_cast<std::uint64_t>(item.st_blocks) * blockSize;
        }
    });
    return size;
}

void XDGFolders::removeModel(const std::filesystem::path& folder)
{
    const std::string name = folder.filename();
    if (isPath(folder) && isSingleName(name) && folder == root / name) {
        const Descriptor models = openFolder(root);
        const std::string working = name + partialEnding;
        removeTree(models, working);
        // First out of its place, whole: the process may end before the last file is gone, and the
        // rest must not count as a model.
        ::renameat(models.number(), name.c_str(), models.number(), working.c_str());
        removeTree(models, name);
        removeTree(models, working);
    }
}

Bytes XDGFolders::read(const std::filesystem::path& file, std::size_t most,
                       const std::function<void()>& onProgress)
{
    if (!isPath(file)) {
        cannotRead(file, "its name holds a NUL byte");
    }
    struct stat item = {};
    if (::stat(file.c_str(), &item) != 0) {
        cannotReadNow(file);
    }
    if (!S_ISREG(item.st_mode)) { // opening a device may already do something
        cannotRead(file, "it is no plain file");
    }
    // Not blocking, should it be exchanged for a pipe just now.
    const Descriptor opened(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!opened || ::fstat(opened.number(), &item) != 0) {
        cannotReadNow(file);
    }
    if (!S_ISREG(item.st_mode)) {
        cannotRead(file, "it is no plain file");
    }
    if (static_cast<std::uint64_t>(item.st_size) > most) {
        cannotRead(file, "it is too large");
    }
    // One byte more tells the end from a file that has grown meanwhile.
    Bytes bytes(static_cast<std::size_t>(item.st_size) + 1);
    std::size_t filled = 0;
    while (true) {
        const std::size_t wanted = std::min(bytes.size() - filled, largestPiece);
        const auto got = ::read(opened.number(), bytes.data() + filled, wanted);
        if (got < 0 && errno != EINTR) {
            cannotReadNow(file);
        }
        onProgress();
        if (got == 0) {
            break;
        }
        filled += got > 0 ? static_cast<std::size_t>(got) : 0;
        if (filled > most) {
            cannotRead(file, "it is too large");
        }
        if (filled == bytes.size()) {
            bytes.resize(std::min(most, filled * 2) + 1);
        }
    }
    bytes.resize(filled);
    return bytes;
}

} // namespace vorlin
