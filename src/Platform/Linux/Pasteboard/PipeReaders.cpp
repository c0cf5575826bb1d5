#include "Platform/Linux/Pasteboard/PipeReaders.h"

#include "Platform/Linux/Pasteboard/ReaderProcesses.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace vorlin {

namespace {

namespace fs = std::filesystem;

enum class Holds { readingEnd, nothing, unknown };

Holds whatHolds(const fs::path& process, const struct stat& pipe)
{
    std::error_code error;
    const fs::directory_iterator end;
    for (fs::directory_iterator each(process / "fd", error); each != end; each.increment(error)) {
        struct stat link {};
        struct stat file {};
        // The link's own permissions say what it was opened for: the compositor may still hold a
        // copy of the end that is written to.
        if (lstat(each->path().c_str(), &link) == 0 && (link.st_mode & S_IRUSR) != 0 &&
            (link.st_mode & S_IWUSR) == 0 && stat(each->path().c_str(), &file) == 0 &&
            file.st_ino == pipe.st_ino && file.st_dev == pipe.st_dev) {
            return Holds::readingEnd;
        }
    }
    return error ? Holds::unknown : Holds::nothing;
}

fs::path folderOf(pid_t process)
{
    return "/proc/" + std::to_string(process);
}

std::string nameOf(const fs::path& process)
{
    std::ifstream file(process / "comm");
    std::string name;
    std::getline(file, name);
    return name;
}

bool isReadByManager(const struct stat& pipe)
{
    std::error_code error;
    const fs::directory_iterator end;
    for (fs::directory_iterator each("/proc", error); each != end; each.increment(error)) {
        const std::string number = each->path().filename().string();
        if (number.find_first_not_of("0123456789") == std::string::npos &&
            isClipboardManager(nameOf(each->path())) &&
            whatHolds(each->path(), pipe) == Holds::readingEnd) {
            return true;
        }
    }
    return false;
}

} // namespace

bool PipeReaders::counts(const Descriptor& end) const
{
    struct stat pipe {};
    if (fstat(end.number(), &pipe) != 0) {
        return false;
    }
    bool certain = false;
    for (const auto& process : {remembered, focused()}) {
        const auto held = process ? whatHolds(folderOf(*process), pipe) : Holds::unknown;
        if (held == Holds::readingEnd) {
            return true;
        }
        certain |= held == Holds::nothing;
    }
    return !certain && !isReadByManager(pipe);
}

} // namespace vorlin
