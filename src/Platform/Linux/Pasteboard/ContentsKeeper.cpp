#include "Platform/Linux/Pasteboard/ContentsKeeper.h"

#include "Platform/Shared/Descriptor.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <unistd.h>

namespace vorlin {

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Far more than a snapshot takes.
constexpr std::size_t mostBytes = 256U << 20U;

void append(Bytes& to, std::span<const std::uint8_t> field)
{
    const std::uint64_t size = field.size();
    const auto* const number = reinterpret_cast<const std::uint8_t*>(&size);
    to.insert(to.end(), number, number + sizeof size);
    to.insert(to.end(), field.begin(), field.end());
}

/// Takes the next field from the front; nothing when it is not whole.
std::optional<Bytes> takeField(std::span<const std::uint8_t>& from)
{
    std::uint64_t size = 0;
    if (from.size() < sizeof size) {
        return std::nullopt;
    }
    std::memcpy(&size, from.data(), sizeof size);
    from = from.subspan(sizeof size);
    if (size > from.size()) {
        return std::nullopt;
    }
    Bytes field(from.begin(), from.begin() + static_cast<std::ptrdiff_t>(size));
    from = from.subspan(size);
    return field;
}

bool writeAll(int file, std::span<const std::uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return ::lseek(file, 0, SEEK_SET) == 0;
}

/// Beside the running program, as built, or in libexec/vorlin of the place it was installed to.
std::filesystem::path keeperProgram()
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::path folder = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    const fs::path beside = folder / "vorlin-keeper";
    const fs::path installed = folder.parent_path() / "libexec" / "vorlin" / "vorlin-keeper";
    return !fs::exists(beside, ignored) && fs::exists(installed, ignored) ? installed : beside;
}

bool start(const std::string& program, int input)
{
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    if (::posix_spawn_file_actions_init(&actions) != 0) {
        return false;
    }
    bool started = false;
    if (::posix_spawnattr_init(&attributes) == 0) {
        ::posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
        for (const int output : {STDOUT_FILENO, STDERR_FILENO}) { // whoever awaits ours has its end
            ::posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
        }
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID); // it outlives us
        std::string name = program;
        char* const arguments[] = {name.data(), nullptr};
        pid_t process = -1;
        started =
            ::posix_spawn(&process, name.c_str(), &actions, &attributes, arguments, environ) == 0;
        ::posix_spawnattr_destroy(&attributes);
    }
    ::posix_spawn_file_actions_destroy(&actions);
    return started;
}

} // namespace

bool keepContents(const Offering& contents)
{
    Bytes bytes;
    for (const Offering::Entry& entry : contents.entries) {
        const std::string& type = entry.form.target;
        append(bytes, std::span(reinterpret_cast<const std::uint8_t*>(type.data()), type.size()));
        append(bytes, *entry.bytes);
    }
    const Descriptor file(::memfd_create("clipboard", MFD_CLOEXEC));
    return file && writeAll(file.number(), bytes) && start(keeperProgram().string(), file.number());
}

std::optional<Offering> keptContents(int file)
{
    Bytes bytes;
    Bytes piece(1U << 16U);
    for (ssize_t got = 1; got > 0 && bytes.size() <= mostBytes;) {
        got = ::read(file, piece.data(), piece.size());
        bytes.insert(bytes.end(), piece.begin(), piece.begin() + std::max<ssize_t>(got, 0));
    }
    Offering contents;
    for (std::span<const std::uint8_t> rest(bytes); !rest.empty();) {
        const auto type = takeField(rest);
        auto data = type ? takeField(rest) : std::nullopt;
        if (!data) {
            return std::nullopt;
        }
        const std::string name(type->begin(), type->end());
        contents.entries.push_back({{name, name}, std::make_shared<const Bytes>(std::move(*data))});
    }
    return contents.entries.empty() ? std::nullopt : std::optional(std::move(contents));
}

} // namespace vorlin
