#include "Platform/Linux/Desktop/XDGFolders.h"

#include "Platform/Shared/FolderTree.h"
#include "Platform/Shared/LinkedFiles.h"
#include "Platform/Shared/PlainFile.h"

#include <sys/stat.h>

#include <set>
#include <system_error>
#include <utility>

namespace vorlin {

namespace {

constexpr std::size_t mostFiles = 1000;
constexpr int deepestFile = 8;
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

std::string XDGFolders::identity(const std::filesystem::path& folder)
{
    namespace fs = std::filesystem;
    std::set<std::string> lines;
    std::error_code failure;
    for (fs::recursive_directory_iterator item(
             folder, fs::directory_options::follow_directory_symlink, failure);
         !failure && item != fs::recursive_directory_iterator(); item.increment(failure)) {
        struct stat status = {};
        if (lines.size() >= mostFiles || item.depth() > deepestFile) {
            return {};
        }
        if (::stat(item->path().c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
            lines.insert(item->path().lexically_relative(folder).native() + ' ' +
                         std::to_string(status.st_size) + ' ' +
                         std::to_string(status.st_mtim.tv_sec) + '.' +
                         std::to_string(status.st_mtim.tv_nsec) + '\n');
        }
    }
    if (failure || lines.empty()) {
        return {};
    }
    // FNV-1a, the same in every build.
    std::uint64_t hash = 14695981039346656037U;
    for (const auto& line : lines) {
        for (const char c : line) {
            hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
        }
    }
    return std::to_string(lines.size()) + '-' + std::to_string(hash);
}

void XDGFolders::removeModel(const std::filesystem::path& folder)
{
    const std::string name = folder.filename();
    if (isPath(folder) && isSingleName(name) && folder == root / name) {
        removeWhole(openFolder(root), name);
    }
}

Bytes XDGFolders::read(const std::filesystem::path& file, std::size_t most,
                       const std::function<void()>& onProgress)
{
    return readPlainFile(file, most, onProgress);
}

} // namespace vorlin
