#include "Platform/Shared/LinkedFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

namespace vorlin {

namespace {

namespace fs = std::filesystem;

/// Bundles have three levels and some five files. What is far beyond that is no bundle, and may
/// be a person's whole home.
constexpr int deepestLevel = 8;
constexpr int mostFiles = 1000;

/// The names in a folder, in order; nothing when it cannot be listed.
std::optional<std::vector<std::string>> namesIn(const fs::path& folder)
{
    std::error_code error;
    std::vector<std::string> names;
    fs::directory_iterator next(folder, error);
    while (!error && next != fs::directory_iterator()) {
        names.push_back(next->path().filename());
        next.increment(error);
    }
    std::ranges::sort(names);
    return error ? std::nullopt : std::optional(std::move(names));
}

class Links {
public:
    explicit Links(const std::function<void(const Descriptor&)>& found) : found(found) {}

    /// `name` is what `path` is called in messages; `linked`: a link led to where it lies.
    void follow(const fs::path& path, const fs::path& name, bool linked, int level)
    {
        struct stat item = {};
        if (::lstat(path.c_str(), &item) != 0 || tooMany()) {
            return;
        }
        const bool isLink = S_ISLNK(item.st_mode);
        if (!isLink && S_ISDIR(item.st_mode)) {
            descend(path, name, item, linked, level);
            return;
        }
        if (!isLink && !linked) {
            return;
        }
        // Neither waits for a pipe's other end nor does anything to a device.
        const Descriptor target(::open(path.c_str(), O_PATH | O_CLOEXEC));
        if (!target || ::fstat(target.number(), &item) != 0) {
            refuse(name, isLink, errno == EACCES ? "a file that may not be read" : "nothing");
        } else if (S_ISDIR(item.st_mode)) {
            descend(path, name, item, true, level);
        } else if (!S_ISREG(item.st_mode)) {
            const bool isDevice = S_ISCHR(item.st_mode) || S_ISBLK(item.st_mode);
            refuse(name, isLink, isDevice ? "a device" : "no plain file");
        } else if (::faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) != 0) {
            refuse(name, isLink, "a file that may not be read");
        } else {
            ++files;
            found(target);
        }
    }

    const std::optional<std::string>& refused() const { return reason; }

private:
    void descend(const fs::path& path, const fs::path& name, const struct stat& folder, bool linked,
                 int level)
    {
        if (!seen.emplace(folder.st_dev, folder.st_ino).second) {
            return;
        }
        const auto names = level < deepestLevel ? namesIn(path) : std::nullopt;
        if (!names && linked) {
            refuse(name, true,
                   level < deepestLevel ? "a folder that may not be read" : "too many folders");
        }
        for (const auto& each : names.value_or(std::vector<std::string>())) {
            follow(path / each, name / each, linked, level + 1);
        }
    }

    bool tooMany()
    {
        if (files == mostFiles) {
            refuse({}, true, "too many files");
        }
        return files == mostFiles;
    }

    /// The first reason is the one told.
    void refuse(const fs::path& name, bool isLink, const std::string& what)
    {
        if (!reason) {
            reason =
                (name.empty() ? "it" : name.string()) + (isLink ? " leads to " : " is ") + what;
        }
    }

    const std::function<void(const Descriptor&)>& found;
    std::set<std::pair<dev_t, ino_t>> seen;
    int files = 0;
    std::optional<std::string> reason;
};

} // namespace

std::optional<std::string> followLinks(const fs::path& entry,
                                       const std::function<void(const Descriptor&)>& found)
{
    Links links(found);
    links.follow(entry, {}, false, 0);
    return links.refused();
}

} // namespace vorlin
