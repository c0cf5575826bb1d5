#include "Confinement.h"

#include "CallFilter.h"
#include "FileRules.h"
#include "Platform/Linux/Engine/Wire/Startup.h"
#include "Platform/Shared/Descriptor.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

namespace vorlin::engine {

namespace {

/// When memory runs out, the kernel shall end this process before any other of the desktop's.
void volunteerForOutOfMemory()
{
    const Descriptor file(::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    if (file) {
        [[maybe_unused]] const auto written = ::write(file.number(), "500", 3); // a wish
    }
}

bool limit(__rlimit_resource resource, rlim_t most)
{
    const rlimit both{.rlim_cur = most, .rlim_max = most};
    return ::setrlimit(resource, &both) == 0;
}

/// Memory that is not a file's: half of the machine's, so that a hostile model costs an error
/// and not the desktop.
bool limitMemory()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return true; // their own memory would count, terabytes of it
#else
    constexpr rlim_t least = rlim_t{1} << 30;
    const auto pages = static_cast<rlim_t>(std::max(0L, ::sysconf(_SC_PHYS_PAGES)));
    const auto pageBytes = static_cast<rlim_t>(std::max(0L, ::sysconf(_SC_PAGESIZE)));
    return limit(RLIMIT_DATA, std::max(least, pages * pageBytes / 2));
#endif
}

bool applyLimits()
{
    constexpr rlim_t descriptors = 256;
    return limit(RLIMIT_CORE, 0) && limit(RLIMIT_FSIZE, 0) && limit(RLIMIT_MSGQUEUE, 0) &&
           limit(RLIMIT_MEMLOCK, 0) && limit(RLIMIT_NOFILE, descriptors) && limitMemory();
}

/// Also when started by root: nothing is left, and nothing can come back.
bool dropPrivileges()
{
    for (int capability = 0; ::prctl(PR_CAPBSET_READ, capability, 0, 0, 0) >= 0; ++capability) {
        // Refused where there is nothing to drop it with; no program is started here anyway.
        ::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0);
    }
    ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    const std::array<__user_cap_data_struct, 2> none{};
    return ::syscall(SYS_capset, &header, none.data()) == 0 &&
           ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
}

} // namespace

bool confine(int folder)
{
    volunteerForOutOfMemory();
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0 ||
        ::close_range(static_cast<unsigned>(std::max(folder, controlDescriptor)) + 1, ~0U, 0) !=
            0 ||
        ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0 || !applyLimits() || ::fchdir(folder) != 0 ||
        !dropPrivileges() || applyFileRules(folder) == FileRules::failed) {
        return false;
    }
    ::close(folder);
    return applyCallFilter();
}

} // namespace vorlin::engine
