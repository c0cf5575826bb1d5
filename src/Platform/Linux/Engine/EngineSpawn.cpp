#include "Platform/Linux/Engine/EngineSpawn.h"

#include "Platform/Linux/Engine/Wire/Startup.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <ctime>
#include <system_error>

namespace vorlin {

namespace {

/// What the new process does with its descriptors before the program starts.
class FileActions {
public:
    FileActions() { ::posix_spawn_file_actions_init(&actions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { ::posix_spawn_file_actions_destroy(&actions); }

    int prepare(const Descriptor& control, const Descriptor& folder)
    {
        int failure = 0;
        const auto step = [&failure](int result) { failure = failure != 0 ? failure : result; };
        for (const int standard : {0, 1, 2}) {
            step(::posix_spawn_file_actions_addopen(&actions, standard, "/dev/null",
                                                    standard == 0 ? O_RDONLY : O_WRONLY, 0));
        }
        step(::posix_spawn_file_actions_adddup2(&actions, control.number(),
                                                engine::controlDescriptor));
        step(::posix_spawn_file_actions_adddup2(&actions, folder.number(),
                                                engine::folderDescriptor));
        step(::posix_spawn_file_actions_addclosefrom_np(&actions, engine::folderDescriptor + 1));
        return failure;
    }

    const posix_spawn_file_actions_t* get() const { return &actions; }

private:
    posix_spawn_file_actions_t actions{};
};

/// Signals as a fresh process has them, and a session of its own: what a terminal sends to the
/// program is the program's affair.
class Attributes {
public:
    Attributes()
    {
        ::posix_spawnattr_init(&attributes);
        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes, &signals);
        ::sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&attributes, &signals);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                    POSIX_SPAWN_SETSID);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { ::posix_spawnattr_destroy(&attributes); }

    const posix_spawnattr_t* get() const { return &attributes; }

private:
    posix_spawnattr_t attributes{};
};

/// The same file under a number that none of the new process's own gets in the way of.
Descriptor outOfTheWay(const Descriptor& descriptor)
{
    constexpr int first = engine::folderDescriptor + 1;
    return Descriptor(::fcntl(descriptor.number(), F_DUPFD_CLOEXEC, first));
}

std::string reason(int error)
{
    return std::generic_category().message(error);
}

} // namespace

void SpawnedEngine::kill() const
{
    ::syscall(SYS_pidfd_send_signal, process.number(), SIGKILL, nullptr, 0);
}

bool SpawnedEngine::endsWithin(std::chrono::milliseconds time) const
{
    pollfd ended{.fd = process.number(), .events = POLLIN, .revents = 0};
    return ::poll(&ended, 1, static_cast<int>(time.count())) == 1;
}

std::optional<std::chrono::nanoseconds> SpawnedEngine::processorTime() const
{
    clockid_t clock = 0;
    timespec time{};
    if (::clock_getcpuclockid(number, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        return std::nullopt;
    }
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::variant<SpawnedEngine, std::string> spawnEngine(const std::filesystem::path& program,
                                                     const Descriptor& folder,
                                                     const Descriptor& control)
{
    const Descriptor folderCopy = outOfTheWay(folder);
    const Descriptor controlCopy = outOfTheWay(control);
    if (!folderCopy || !controlCopy) {
        return reason(EMFILE);
    }
    FileActions actions;
    const int unprepared = actions.prepare(controlCopy, folderCopy);
    if (unprepared != 0) {
        return reason(unprepared);
    }
    const Attributes attributes;
    std::array<char, 14> name{"vorlin-engine"};
    const std::array<char*, 2> arguments{name.data(), nullptr};
    const std::array<char*, 1> noEnvironment{nullptr};
    SpawnedEngine spawned;
    const int failure = ::posix_spawn(&spawned.number, program.c_str(), actions.get(),
                                      attributes.get(), arguments.data(), noEnvironment.data());
    if (failure != 0) {
        return reason(failure);
    }
    spawned.process = Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, spawned.number, 0)));
    if (!spawned.process) {
        const int error = errno;
        ::kill(spawned.number, SIGKILL);
        ::waitpid(spawned.number, nullptr, 0);
        return reason(error);
    }
    return spawned;
}

} // namespace vorlin
