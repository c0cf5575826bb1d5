#include "Platform/Linux/Desktop/SettingsFile.h"

#include "Platform/Shared/Descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <system_error>
#include <utility>

namespace vorlin {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const fs::path& path)
{
    const auto code = errno;
    throw std::system_error(code, std::generic_category(), path.string());
}

bool writeAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const auto written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// At most `limit` bytes and one more, which tells that there were more.
std::optional<std::string> readUpTo(int descriptor, std::size_t limit)
{
    std::string text;
    std::array<char, 65536> piece{};
    while (text.size() <= limit) {
        const auto count = ::read(descriptor, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return text;
}

/// Makes a rename in `folder` last through a power failure; not every file system can.
void syncFolder(const fs::path& folder)
{
    const Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) {
        ::fsync(opened.number());
    }
}

/// Writes the finished temporary file, or removes it and throws. QSaveFile would do most of this,
/// but it takes no path that is not UTF-8, makes a new file that others may read, and refuses to
/// replace one that its owner made read-only.
void writeTemporary(Descriptor& file, const std::string& name, std::string_view text, mode_t mode)
{
    if (::fchmod(file.number(), mode) == 0 && writeAll(file.number(), text) &&
        ::fsync(file.number()) == 0 && file.close()) {
        return;
    }
    const auto code = errno;
    ::unlink(name.c_str());
    errno = code;
    fail(name);
}

} // namespace

fs::path SettingsFile::target() const
{
    fs::path target = path;
    constexpr int mostLinks = 40; // as the kernel follows
    for (int links = 0; links < mostLinks; ++links) {
        std::error_code error;
        const auto next = fs::read_symlink(target, error);
        if (error) {
            return target;
        }
        target = target.parent_path() / next; // an absolute `next` replaces what is before it
    }
    return path;
}

SettingsFile::Contents SettingsFile::read() const
{
    // Opening must not wait for the other end, should it be a pipe.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file) {
        return {errno == ENOENT ? State::absent : State::unreadable, {}};
    }
    struct stat status {};
    if (::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {State::unreadable, {}};
    }
    const auto text = readUpTo(file.number(), SettingsText::maximumBytes);
    if (!text) {
        return {State::unreadable, {}};
    }
    auto settings = SettingsText::parse(*text);
    if (!settings) {
        return {State::damaged, {}};
    }
    return {State::readable, std::move(*settings)};
}

void SettingsFile::makeFolder() const
{
    const auto folder = path.parent_path();
    std::error_code error;
    if (fs::is_directory(folder, error)) {
        return;
    }
    fs::create_directories(folder.parent_path(), error); // mkdir tells why not
    if (::mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        fail(folder);
    }
}

void SettingsFile::replace(const SettingsText& settings) const
{
    makeFolder();
    const auto file = target();
    struct stat status {};
    const bool exists = ::stat(file.c_str(), &status) == 0;
    constexpr mode_t permissionBits = S_IRWXU | S_IRWXG | S_IRWXO;
    const mode_t mode = exists ? status.st_mode & permissionBits : S_IRUSR | S_IWUSR;

    std::string temporary = file.parent_path() / ("." + file.filename().string() + ".XXXXXX");
    Descriptor opened(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!opened) {
        fail(file);
    }
    writeTemporary(opened, temporary, settings.text(), mode);
    if (::rename(temporary.c_str(), file.c_str()) != 0) {
        const auto code = errno;
        ::unlink(temporary.c_str());
        errno = code;
        fail(file);
    }
    syncFolder(file.parent_path());
}

fs::path SettingsFile::setAside() const
{
    const auto file = target();
    constexpr int mostNumbers = 1000;
    for (int number = 1; number <= mostNumbers; ++number) {
        const auto suffix = number == 1 ? ".damaged" : ".damaged-" + std::to_string(number);
        fs::path aside = file.string() + suffix;
        // A hard link never overwrites, on any file system that has it.
        if (::link(file.c_str(), aside.c_str()) == 0) {
            if (::unlink(file.c_str()) != 0) {
                fail(file);
            }
            return aside;
        }
        std::error_code error;
        if (errno == EEXIST ||
            fs::symlink_status(aside, error).type() != fs::file_type::not_found) {
            continue;
        }
        if (::rename(file.c_str(), aside.c_str()) != 0) {
            fail(file);
        }
        return aside;
    }
    errno = EEXIST;
    fail(file);
}

} // namespace vorlin
