#include "Platform/Shared/FolderTree.h"

#include "Platform/Shared/Rename.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace vorlin {

namespace {

/// Each level holds a descriptor open; models have three.
constexpr int deepestLevel = 100;

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

/// The names in an open directory; none when it cannot be read.
std::vector<std::string> namesIn(const Descriptor& folder)
{
    // A descriptor of its own: reading moves its position.
    const int opened = ::openat(folder.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, CloseDirectory> directory(opened < 0 ? nullptr
                                                                    : ::fdopendir(opened));
    std::vector<std::string> names;
    if (!directory) {
        return names;
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): safe on a stream of one's own
    while (const dirent* entry = ::readdir(directory.get())) {
        const std::string_view name = &entry->d_name[0];
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    return names;
}

Descriptor openFolder(const Descriptor& parent, const std::string& name)
{
    return Descriptor(
        ::openat(parent.number(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

void visitLevel(const Descriptor& folder, const std::function<void(const struct stat&)>& visit,
                int level)
{
    for (const auto& name : namesIn(folder)) {
        struct stat item = {};
        if (::fstatat(folder.number(), name.c_str(), &item, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        visit(item);
        if (S_ISDIR(item.st_mode) && level < deepestLevel) {
            visitLevel(openFolder(folder, name), visit, level + 1);
        }
    }
}

/// Deletes what is not too deep, and moves what is to the top of the tree, where its turn comes.
class Removal {
public:
    explicit Removal(const Descriptor& top) : top(top) {}

    void removeBelow(const Descriptor& folder, int level)
    {
        for (const auto& name : namesIn(folder)) {
            remove(folder, name, level);
        }
    }

    /// Whether something was moved to the top since the last time this was asked.
    bool takeMoved() { return std::exchange(moved, false); }

private:
    void remove(const Descriptor& parent, const std::string& name, int level)
    {
        if (::unlinkat(parent.number(), name.c_str(), 0) == 0) {
            return;
        }
        if (level == deepestLevel) {
            const std::string free = ".deep-" + std::to_string(++number);
            moved = renameItem(parent, name, top, free, Existing::refuse) || moved;
            return;
        }
        removeBelow(openFolder(parent, name), level + 1);
        ::unlinkat(parent.number(), name.c_str(), AT_REMOVEDIR);
    }

    const Descriptor& top;
    int number = 0;
    bool moved = false;
};

} // namespace

void visitTree(const Descriptor& folder, const std::function<void(const struct stat&)>& visit)
{
    visitLevel(folder, visit, 0);
}

void removeTree(const Descriptor& parent, const std::string& name)
{
    if (::unlinkat(parent.number(), name.c_str(), 0) == 0) {
        return;
    }
    {
        const Descriptor top = openFolder(parent, name);
        Removal removal(top);
        do {
            removal.removeBelow(top, 0);
        } while (removal.takeMoved());
    }
    ::unlinkat(parent.number(), name.c_str(), AT_REMOVEDIR);
}

Descriptor openFolder(const std::filesystem::path& folder)
{
    return Descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

void removeWhole(const Descriptor& parent, const std::string& name)
{
    const std::string working = name + partialEnding;
    removeTree(parent, working);
    ::renameat(parent.number(), name.c_str(), parent.number(), working.c_str());
    removeTree(parent, name);
    removeTree(parent, working);
}

} // namespace vorlin
