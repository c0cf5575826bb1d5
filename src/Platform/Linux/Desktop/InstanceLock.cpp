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

InstanceLock::~InstanceLock()
{
    release();
}

InstanceLock::Outcome InstanceLock::take()
{
    if (descriptor >= 0) {
        return Outcome::taken;
    }
    // Anybody may have put something under a name in /tmp: no links, no files of others, no pipes.
    const int opened = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                              S_IRUSR | S_IWUSR);
    if (opened < 0) {
        return Outcome::unavailable;
    }
    struct stat status {};
    if (::fstat(opened, &status) != 0 || status.st_uid != ::geteuid() || !S_ISREG(status.st_mode)) {
        ::close(opened);
        return Outcome::unavailable;
    }
    if (::flock(opened, LOCK_EX | LOCK_NB) != 0) {
        const bool isHeld = errno == EWOULDBLOCK;
        ::close(opened);
        return isHeld ? Outcome::heldElsewhere : Outcome::unavailable;
    }
    // The sticky bit keeps it from being tidied away with old files of the runtime folder.
    ::fchmod(opened, S_IRUSR | S_IWUSR | S_ISVTX);
    descriptor = opened;
    return Outcome::taken;
}

void InstanceLock::release()
{
    if (descriptor >= 0) {
        ::close(std::exchange(descriptor, -1));
    }
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
