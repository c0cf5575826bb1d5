// Landlock by its own system calls: the C library has none, and the build's kernel headers may be
// older than the running kernel.
#include "FileRules.h"

#include "Platform/Shared/Descriptor.h"
#include "Platform/Shared/LinkedFiles.h"

#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <system_error>

namespace vorlin::engine {

namespace {

/// The attributes of a rule set as of version 6; older kernels take the beginning.
struct RuleSet {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scopes = 0;
};

/// The rights of version 1, execution to symbolic links; later versions added one or two each.
constexpr std::uint64_t firstFileRights = (std::uint64_t{1} << 13) - 1;
constexpr std::uint64_t refer = std::uint64_t{1} << 13;
constexpr std::uint64_t truncate = std::uint64_t{1} << 14;
constexpr std::uint64_t deviceControl = std::uint64_t{1} << 15;
constexpr std::uint64_t bindAndConnect = 3;    // TCP
constexpr std::uint64_t socketsAndSignals = 3; // abstract sockets, signals

std::size_t describe(long version, RuleSet& rules)
{
    rules.files = firstFileRights | (version >= 2 ? refer : 0) | (version >= 3 ? truncate : 0) |
                  (version >= 5 ? deviceControl : 0);
    rules.network = version >= 4 ? bindAndConnect : 0;
    rules.scopes = version >= 6 ? socketsAndSignals : 0;
    return version >= 6   ? sizeof rules
           : version >= 4 ? offsetof(RuleSet, scopes)
                          : offsetof(RuleSet, network);
}

bool makeReadable(const Descriptor& rules, int path)
{
    landlock_path_beneath_attr readable{};
    readable.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE;
    readable.parent_fd = path;
    return ::syscall(SYS_landlock_add_rule, rules.number(), LANDLOCK_RULE_PATH_BENEATH, &readable,
                     0) == 0;
}

/// Each file by itself, also those in folders that links lead to. What cannot be allowed cannot be
/// read later, and the loading says so.
void makeLinkedFilesReadable(const Descriptor& rules)
{
    std::error_code error;
    std::filesystem::directory_iterator next(".", error);
    while (!error && next != std::filesystem::directory_iterator()) {
        if (next->path().extension() == ".mlmodelc") {
            followLinks(next->path(),
                        [&rules](const Descriptor& file) { makeReadable(rules, file.number()); });
        }
        next.increment(error);
    }
}

} // namespace

FileRules applyFileRules(int folder)
{
    const long version =
        ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1) {
        return errno == ENOSYS || errno == EOPNOTSUPP ? FileRules::notInThisKernel
                                                      : FileRules::failed;
    }
    RuleSet attributes;
    const std::size_t size = describe(version, attributes);
    const Descriptor rules(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &attributes, size, 0)));
    if (!rules) {
        return FileRules::failed;
    }
    if (!makeReadable(rules, folder)) {
        return FileRules::failed;
    }
    makeLinkedFilesReadable(rules);
    const bool done = ::syscall(SYS_landlock_restrict_self, rules.number(), 0) == 0;
    return done ? FileRules::inForce : FileRules::failed;
}

} // namespace vorlin::engine
