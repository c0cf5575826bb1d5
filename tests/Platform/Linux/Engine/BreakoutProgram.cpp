// Confines itself exactly as the engine process does, and then tries to do what it must not.
//
//     engine_breakout confined|free|without-file-rules ATTEMPT FOLDER ADDRESS
//
// Exits with `worked` or `refused`, or is ended by the call filter. ADDRESS is one of the parent's
// memory. `free` does the same without confinement, so that a test can see that it could work.
#include "App/Linux/Engine/Confinement.h"
#include "Platform/Linux/Engine/Wire/Startup.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <seccomp.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <thread>

namespace {

constexpr int worked = 0;
constexpr int refused = 10;
constexpr int badUse = 20;

bool done(long result)
{
    return result >= 0;
}

bool opens(const char* path, int flags = O_RDONLY)
{
    constexpr mode_t mode = 0600;
    return done(::open(path, flags, mode));
}

/// A call by its number, with arguments that are at least not wrong in kind.
bool calls(long number, long a = 0, long b = 0, long c = 0, long d = 0, long e = 0)
{
    return done(::syscall(number, a, b, c, d, e));
}

template <class T>
long address(T* pointer)
{
    return reinterpret_cast<long>(pointer);
}

bool makesProcess(const std::function<pid_t()>& make)
{
    const pid_t child = make();
    if (child == 0) {
        ::_exit(0);
    }
    return child > 0 && ::waitpid(child, nullptr, 0) == child;
}

/// The oldest way, where the processor's table of calls still has it.
pid_t plainFork()
{
#if defined(SYS_fork)
    return static_cast<pid_t>(::syscall(SYS_fork));
#else
    return ::fork();
#endif
}

bool runs(const char* program)
{
    std::array<char, 5> name{"true"};
    const std::array<char*, 2> arguments{name.data(), nullptr};
    const std::array<char*, 1> environment{nullptr};
    return done(::execve(program, arguments.data(), environment.data())); // or does not return
}

bool connects()
{
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    return socket >= 0;
}

bool mapsExecutable()
{
    return ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS,
                  -1, 0) != MAP_FAILED;
}

bool makesExecutable()
{
    void* const page =
        ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return page != MAP_FAILED && done(::mprotect(page, 4096, PROT_READ | PROT_EXEC));
}

bool runsFromMemory()
{
    const int file = ::memfd_create("x", 0);
    return file >= 0;
}

bool reads(pid_t process, long from, bool write)
{
    std::array<char, 8> ours{};
    const iovec local{.iov_base = ours.data(), .iov_len = ours.size()};
    // The address came as text. NOLINTNEXTLINE(performance-no-int-to-ptr)
    const iovec remote{.iov_base = reinterpret_cast<void*>(from), .iov_len = ours.size()};
    return write ? done(::process_vm_writev(process, &local, 0, &remote, 0, 0))
                 : done(::process_vm_readv(process, &local, 1, &remote, 1, 0));
}

bool listsFolder()
{
    const int folder = ::open(".", O_RDONLY | O_DIRECTORY);
    std::array<char, 512> entries{};
    return folder >= 0 && calls(SYS_getdents64, folder, address(entries.data()), entries.size());
}

bool limits(pid_t process)
{
    const rlimit most{.rlim_cur = 100, .rlim_max = 200};
    return done(::prlimit(process, RLIMIT_NOFILE, &most, nullptr));
}

bool raisesCoreLimit()
{
    const rlimit most{.rlim_cur = 1, .rlim_max = 1};
    return done(::setrlimit(RLIMIT_CORE, &most));
}

bool seizes(pid_t process)
{
    const bool seized = done(::ptrace(PTRACE_SEIZE, process, nullptr, nullptr));
    if (seized) {
        ::ptrace(PTRACE_DETACH, process, nullptr, nullptr);
    }
    return seized;
}

/// From a thread that is started after the confinement.
bool onThread(const std::function<bool()>& attempt)
{
    bool result = false;
    std::thread([&] { result = attempt(); }).join();
    return result;
}

bool schedules(pid_t process)
{
    const sched_param parameters{};
    return done(::sched_setscheduler(process, SCHED_BATCH, &parameters));
}

std::string inParent(const char* what)
{
    return "/proc/" + std::to_string(::getppid()) + "/" + what;
}

using Attempts = std::map<std::string, std::function<bool()>>;

Attempts fileAttempts()
{
    return {
        {"reads-own-file", [] { return opens("model.txt"); }},
        {"opens-passwd", [] { return opens("/etc/passwd"); }},
        {"opens-sibling", [] { return opens("../sibling/secret.txt"); }},
        {"climbs", [] { return opens("inner/../../sibling/secret.txt"); }},
        {"follows-link", [] { return opens("link-out"); }},
        {"reads-linked-weights", [] { return opens("Linked.mlmodelc/weights/weight.bin"); }},
        {"reads-linked-folder", [] { return opens("Shared.mlmodelc/model.mil"); }},
        {"reads-beside-linked-file", [] { return opens("../blobs/other"); }},
        {"lists-linked-folder", [] { return opens("Shared.mlmodelc", O_RDONLY | O_DIRECTORY); }},
        {"writes-linked-file", [] { return opens("Linked.mlmodelc/weights/weight.bin", O_RDWR); }},
        {"opens-linked-device", [] { return opens("Linked.mlmodelc/device"); }},
        {"opens-folder-above", [] { return opens("..", O_RDONLY | O_DIRECTORY); }},
        {"lists-folder", listsFolder},
        {"changes-folder", [] { return done(::chdir("/")) && opens("etc/passwd"); }},
        {"opens-as-path", [] { return opens("/etc/passwd", O_PATH); }},
        {"writes-own-file", [] { return opens("model.txt", O_WRONLY); }},
        {"updates-own-file", [] { return opens("model.txt", O_RDWR); }},
        {"truncates-own-file", [] { return opens("model.txt", O_RDONLY | O_TRUNC); }},
        {"truncates-by-name", [] { return done(::truncate("model.txt", 1)); }},
        {"makes-file", [] { return opens("new.txt", O_WRONLY | O_CREAT); }},
        {"makes-file-reading", [] { return opens("new.txt", O_RDONLY | O_CREAT); }},
        {"makes-nameless-file", [] { return opens(".", O_TMPFILE | O_RDWR); }},
        {"writes-outside", [] { return opens("../sibling/secret.txt", O_WRONLY); }},
        {"makes-folder", [] { return done(::mkdir("new", 0700)); }},
        {"makes-link", [] { return done(::symlink("/etc", "etc")); }},
        {"links", [] { return done(::link("model.txt", "other.txt")); }},
        {"removes", [] { return done(::unlink("model.txt")); }},
        {"renames", [] { return done(::rename("model.txt", "other.txt")); }},
        {"changes-mode", [] { return done(::chmod("model.txt", 0777)); }},
        {"opens-own-memory", [] { return opens("/proc/self/mem", O_RDWR); }},
        {"opens-own-maps", [] { return opens("/proc/self/maps"); }},
        {"opens-parents-memory", [] { return opens(inParent("mem").c_str(), O_RDWR); }},
        {"opens-parents-environment", [] { return opens(inParent("environ").c_str()); }},
        {"opens-handle",
         [] {
             std::array<char, 64> handle{};
             return calls(SYS_open_by_handle_at, AT_FDCWD, address(handle.data()), 0);
         }},
        {"mounts", [] { return done(::mount("none", ".", "tmpfs", 0, nullptr)); }},
        {"changes-root", [] { return done(::chroot(".")); }},
    };
}

Attempts processAttempts(long parentsAddress)
{
    const pid_t parent = ::getppid();
    return {
        {"executes", [] { return runs("/bin/true"); }},
        {"executes-own-file", [] { return runs("program"); }},
        {"executes-on-thread", [] { return onThread([] { return runs("/bin/true"); }); }},
        {"forks", [] { return makesProcess([] { return ::fork(); }); }},
        {"forks-plainly", [] { return makesProcess([] { return plainFork(); }); }},
        {"clones",
         [] {
             return makesProcess(
                 [] { return static_cast<pid_t>(::syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0)); });
         }},
        {"leaves-namespaces", [] { return done(::unshare(CLONE_NEWUSER)); }},
        {"traces-parent", [=] { return seizes(parent); }},
        {"asks-to-be-traced", [] { return done(::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr)); }},
        {"kills-parent", [=] { return done(::kill(parent, 0)); }},
        {"kills-parents-thread", [=] { return calls(SYS_tgkill, parent, parent, 0); }},
        {"queues-signal", [=] { return done(::sigqueue(parent, 0, {})); }},
        {"opens-process", [=] { return calls(SYS_pidfd_open, parent, 0); }},
        {"reads-parents-memory", [=] { return reads(parent, parentsAddress, false); }},
        {"writes-parents-memory", [=] { return reads(parent, parentsAddress, true); }},
        {"limits-parent", [=] { return limits(parent); }},
        {"slows-parent", [=] { return schedules(parent); }},
        {"nices-parent",
         [=] { return done(::setpriority(PRIO_PROCESS, static_cast<id_t>(parent), 0)); }},
        {"maps-executable", mapsExecutable},
        {"makes-executable", makesExecutable},
        {"runs-from-memory", runsFromMemory},
    };
}

Attempts kernelAttempts()
{
    return {
        {"unix-socket", connects},
        {"internet-socket", [] { return done(::socket(AF_INET, SOCK_STREAM, 0)); }},
        {"internet-datagrams", [] { return done(::socket(AF_INET6, SOCK_DGRAM, 0)); }},
        {"raw-socket", [] { return done(::socket(AF_NETLINK, SOCK_RAW, 0)); }},
        {"socket-on-thread",
         [] { return onThread([] { return done(::socket(AF_INET, SOCK_STREAM, 0)); }); }},
        {"connects",
         [] {
             sockaddr_un to{};
             to.sun_family = AF_UNIX;
             return done(::connect(3, reinterpret_cast<const sockaddr*>(&to), sizeof to)) ||
                    errno == ECONNREFUSED || errno == EISCONN || errno == EINVAL;
         }},
        {"pairs-sockets",
         [] {
             std::array<int, 2> ends{};
             return done(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()));
         }},
        {"makes-pipe",
         [] {
             std::array<int, 2> ends{};
             return done(::pipe(ends.data()));
         }},
        {"io-uring",
         [] {
             std::array<char, 256> parameters{};
             return calls(SYS_io_uring_setup, 1, address(parameters.data())) || errno == EINVAL;
         }},
        {"bpf",
         [] {
             std::array<char, 128> attributes{};
             return calls(SYS_bpf, 0, address(attributes.data()), attributes.size()) ||
                    errno == EINVAL;
         }},
        {"userfault", [] { return calls(SYS_userfaultfd, 0); }},
        {"keys", [] { return calls(SYS_keyctl, 0, -3, 0); }},
        {"measures",
         [] {
             std::array<char, 128> attributes{};
             return calls(SYS_perf_event_open, address(attributes.data()), 0, -1, -1, 0);
         }},
        {"controls-devices", [] { return done(::ioctl(0, FIONREAD, nullptr)) || errno == EFAULT; }},
        {"new-privileges", [] { return done(::prctl(PR_SET_NO_NEW_PRIVS, 0, 0, 0, 0)); }},
        {"becomes-dumpable", [] { return done(::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0)); }},
        {"survives-parent", [] { return done(::prctl(PR_SET_PDEATHSIG, 0, 0, 0, 0)); }},
        {"another-filter",
         [] { return done(::prctl(PR_SET_SECCOMP, 0, 0, 0, 0)) || errno == EINVAL; }},
        {"raises-core-limit", raisesCoreLimit},
        {"changes-user", [] { return done(::setuid(::getuid())); }},
        {"writes-to-standard-error",
         [] {
             const char nothing = ' ';
             return done(::write(2, &nothing, 0));
         }},
    };
}

/// As on a kernel without Landlock.
bool hideFileRules()
{
    void* const filter = seccomp_init(SCMP_ACT_ALLOW);
    return filter != nullptr &&
           seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(landlock_create_ruleset), 0) ==
               0 &&
           seccomp_load(filter) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    using namespace vorlin::engine;
    if (argc != 5) {
        return badUse;
    }
    const std::string mode = argv[1];
    Attempts attempts = fileAttempts();
    attempts.merge(processAttempts(std::strtol(argv[4], nullptr, 0)));
    attempts.merge(kernelAttempts());
    const auto found = attempts.find(argv[2]);
    std::array<int, 2> ends{};
    const int folder = ::open(argv[3], O_PATH | O_DIRECTORY);
    if (found == attempts.end() || folder < 0 || ::dup2(folder, 100) < 0 ||
        ::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0 ||
        ::dup2(ends[0], controlDescriptor) < 0 || ::dup2(100, folderDescriptor) < 0) {
        return badUse;
    }
    if (mode == "without-file-rules" && !hideFileRules()) {
        return badUse;
    }
    if (mode == "free" ? ::chdir(argv[3]) != 0 : !confine(folderDescriptor)) {
        return badUse;
    }
    return found->second() ? worked : refused;
}
