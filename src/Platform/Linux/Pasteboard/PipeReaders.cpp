#include "Platform/Linux/Pasteboard/PipeReaders.h"

#include "Platform/Linux/Pasteboard/ReaderProcesses.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
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

fs::path folderOf(std::uint32_t process)
{
    return "/proc/" + std::to_string(process);
}

/// The first process that reads from the pipe, of those that `isOfInterest`.
template <class IsOfInterest>
std::optional<std::uint32_t> readerOf(const struct stat& pipe, IsOfInterest isOfInterest)
{
    std::error_code error;
    const fs::directory_iterator end;
    for (fs::directory_iterator each("/proc", error); each != end; each.increment(error)) {
        const std::string number = each->path().filename().string();
        std::uint32_t process = 0;
        const auto read = std::from_chars(number.data(), number.data() + number.size(), process);
        if (read.ec == std::errc() && isOfInterest(process) &&
            whatHolds(each->path(), pipe) == Holds::readingEnd) {
            return process;
        }
    }
    return std::nullopt;
}

bool isReadByManager(const struct stat& pipe)
{
    return readerOf(pipe,
                    [](std::uint32_t process) { return isClipboardManager(processName(process)); })
        .has_value();
}

/// It may have been begun by one of its own name that made the socket.
bool isCompositor(std::uint32_t process, std::uint32_t compositor)
{
    return process == compositor || (processParent(process) == compositor &&
                                     processName(compositor).starts_with(processName(process)));
}

} // namespace

void PipeReaders::beginText()
{
    remembered = focused();
    ++texts;
}

bool PipeReaders::counts(const Descriptor& end) const
{
    struct stat pipe {};
    if (fstat(end.number(), &pipe) != 0) {
        return false;
    }
    bool certain = false;
    for (const auto& process : {remembered, focused()}) {
        const auto held = process ? whatHolds(folderOf(static_cast<std::uint32_t>(*process)), pipe)
                                  : Holds::unknown;
        if (held == Holds::readingEnd) {
            return true;
        }
        certain |= held == Holds::nothing;
    }
    return !certain && !readsAhead(pipe) && !isReadByManager(pipe);
}

void PipeReaders::noteEarly(const Descriptor& end, pid_t compositor)
{
    std::erase_if(early,
                  [](const Early& each) { return processBirth(each.process) != each.birth; });
    struct stat pipe {};
    if (focused() || fstat(end.number(), &pipe) != 0) {
        return;
    }
    if (Early* const known = earlyReaderOf(pipe)) {
        known->readAhead = texts;
        known->yielded = 0;
        return;
    }
    const auto reader = readerOf(pipe, [](std::uint32_t /*any*/) { return true; });
    const auto birth = reader ? processBirth(*reader) : 0;
    if (birth != 0 && !isCompositor(*reader, static_cast<std::uint32_t>(compositor))) {
        early.push_back({.process = *reader, .birth = birth, .readAhead = texts, .yielded = 0});
    }
}

void PipeReaders::notePasted(const Descriptor& end)
{
    struct stat pipe {};
    Early* const known = fstat(end.number(), &pipe) == 0 ? earlyReaderOf(pipe) : nullptr;
    if (known != nullptr && known->yielded == 0 && known->readAhead != texts) {
        known->yielded = texts;
    }
}

PipeReaders::Early* PipeReaders::earlyReaderOf(const struct stat& pipe)
{
    const auto found =
        std::ranges::find_if(early, [&](const Early& each) { return isReadBy(each, pipe); });
    return found == early.end() ? nullptr : &*found;
}

bool PipeReaders::readsAhead(const struct stat& pipe) const
{
    return std::ranges::any_of(early, [&](const Early& each) {
        const bool hasChanged = each.yielded != 0 && each.yielded < texts;
        return !hasChanged && isReadBy(each, pipe);
    });
}

bool PipeReaders::isReadBy(const Early& reader, const struct stat& pipe)
{
    return processBirth(reader.process) == reader.birth &&
           whatHolds(folderOf(reader.process), pipe) == Holds::readingEnd;
}

} // namespace vorlin
