#include "Platform/Linux/Desktop/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

namespace vorlin {

namespace {

/// One name for one display: ":0" and ":0.1" are two screens of the same.
std::string displayName(const Environment& environment)
{
    auto name = environment("DISPLAY").value_or("");
    if (name.empty()) {
        name = environment("WAYLAND_DISPLAY").value_or("");
    } else if (const auto colon = name.rfind(':'); colon != std::string::npos) {
        name = name.substr(0, name.find('.', colon));
    }
    std::ranges::replace(name, '/', '_');
    return name;
}

} // namespace

InstanceLock::InstanceLock(std::filesystem::path path) : path(std::move(path)) {}

InstanceLock::Outcome InstanceLock::take()
{
    if (held) {
        return Outcome::taken;
    }
    // Anybody may have put something under a name in /tmp: no links, no files of others, no pipes.
    Descriptor opened(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                             S_IRUSR | S_IWUSR));
    if (!opened) {
        return Outcome::unavailable;
    }
    struct stat status {};
    if (::fstat(opened.number(), &status) != 0 || status.st_uid != ::geteuid() ||
        !S_ISREG(status.st_mode)) {
        return Outcome::unavailable;
    }
    if (::flock(opened.number(), LOCK_EX | LOCK_NB) != 0) {
        return errno == EWOULDBLOCK ? Outcome::heldElsewhere : Outcome::unavailable;
    }
    // The sticky bit keeps it from being tidied away with old files of the runtime folder.
    ::fchmod(opened.number(), S_IRUSR | S_IWUSR | S_ISVTX);
    held = std::move(opened);
    return Outcome::taken;
}

std::filesystem::path InstanceLock::pathFor(const Environment& environment)
{
    const std::filesystem::path runtime = environment("XDG_RUNTIME_DIR").value_or("");
    const auto display = displayName(environment);
    if (runtime.is_absolute()) {
        return runtime / ("vorlin-" + display + ".lock");
    }
    return "/tmp/vorlin-" + std::to_string(::getuid()) + "-" + display + ".lock";
}

} // namespace vorlin
