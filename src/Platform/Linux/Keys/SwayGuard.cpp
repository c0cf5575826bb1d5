#include "Platform/Linux/Keys/SwayGuard.h"

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <random>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

namespace vorlin {

namespace {

std::string newToken()
{
    std::random_device random;
    std::string token = "vorlin-";
    for (int word = 0; word < 4; ++word) {
        std::array<char, 9> digits{};
        std::snprintf(digits.data(), digits.size(), "%08x", static_cast<std::uint32_t>(random()));
        token += digits.data();
    }
    return token;
}

/// Starts `program` with the descriptor as its standard input and nothing else of ours.
pid_t spawn(const std::filesystem::path& program, const Descriptor& input,
            std::array<std::string, 3> arguments)
{
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input.number(), 0);
    ::posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    posix_spawnattr_t attributes{};
    ::posix_spawnattr_init(&attributes);
    sigset_t signals;
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes, &signals);
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes, &signals);
    // What a terminal sends to the program must not end its guard.
    ::posix_spawnattr_setflags(&attributes,
                               POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    std::array<char, 13> name{"vorlin-guard"};
    const std::array<char*, 5> argv{name.data(), arguments[0].data(), arguments[1].data(),
                                    arguments[2].data(), nullptr};
    const std::array<char*, 1> noEnvironment{nullptr};
    pid_t process = -1;
    const int failure = ::posix_spawn(&process, program.c_str(), &actions, &attributes, argv.data(),
                                      noEnvironment.data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return failure == 0 ? process : -1;
}

} // namespace

std::filesystem::path SwayGuard::ledgerPath(const std::filesystem::path& runtimeFolder,
                                            const std::string& socket)
{
    return runtimeFolder /
           ("vorlin-" + std::filesystem::path(socket).filename().string() + ".bindings");
}

SwayGuard::SwayGuard(Paths paths) : paths(std::move(paths))
{
    ledger.token = newToken();
    if (auto found = SwayLedger::read(this->paths.ledger)) {
        earlier = std::move(*found);
    }
}

SwayGuard::~SwayGuard()
{
    line.close();
}

void SwayGuard::keep(const SwayBindings& bindings)
{
    auto next = bindings;
    std::erase_if(next, [](const auto& each) { return each.second.empty(); });
    if (next == ledger.bindings && earlier.bindings.empty()) {
        return;
    }
    earlier.bindings.clear();
    ledger.bindings = std::move(next);
    ledger.write(paths.ledger);
    if (!ledger.bindings.empty()) {
        start();
    }
}

void SwayGuard::setHeld(const std::set<HardwareKey>& keys)
{
    if (keys == ledger.held) {
        return;
    }
    ledger.held = keys;
    if (!ledger.bindings.empty()) {
        ledger.write(paths.ledger);
    }
    tell();
}

void SwayGuard::start()
{
    if (process > 0 && ::waitpid(process, nullptr, WNOHANG) == 0) {
        return;
    }
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return;
    }
    line = Descriptor(ends[0]);
    // Out of the way of the standard descriptors of the new process.
    const Descriptor theirs(ends[1]);
    const Descriptor moved(::fcntl(theirs.number(), F_DUPFD_CLOEXEC, 3));
    process = spawn(paths.program, moved, {paths.socket, paths.ledger.string(), ledger.token});
    tell();
}

/// A guard that is gone is started anew with the next binding.
void SwayGuard::tell()
{
    if (line) {
        const char state = !ledger.held.empty() ? 'd' : 'u';
        ::send(line.number(), &state, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
    }
}

std::filesystem::path guardProgram()
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::path folder = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    const fs::path beside = folder / "vorlin-guard";
    const fs::path installed = folder.parent_path() / "libexec" / "vorlin" / "vorlin-guard";
    return !fs::exists(beside, ignored) && fs::exists(installed, ignored) ? installed : beside;
}

} // namespace vorlin
