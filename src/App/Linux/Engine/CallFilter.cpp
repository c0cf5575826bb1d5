#include "CallFilter.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <memory>

namespace vorlin::engine {

namespace {

/// Adds rules to a filter; remembers whether one could not be added.
class Rules {
public:
    Rules() : filter(seccomp_init(SCMP_ACT_ERRNO(EPERM)), seccomp_release)
    {
        require(
            filter != nullptr && seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1) == 0 &&
            seccomp_attr_set(filter.get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS) == 0);
    }

    void all(std::uint32_t action, std::initializer_list<int> calls)
    {
        for (const int call : calls) {
            add(action, call, {});
        }
    }

    /// Allows a call whose arguments all fit.
    void allow(int call, std::initializer_list<scmp_arg_cmp> arguments)
    {
        add(SCMP_ACT_ALLOW, call, arguments);
    }

    bool load() { return good && seccomp_load(filter.get()) == 0; }

private:
    void add(std::uint32_t action, int call, std::initializer_list<scmp_arg_cmp> arguments)
    {
        require(good && seccomp_rule_add_array(filter.get(), action, call,
                                               static_cast<unsigned>(arguments.size()),
                                               arguments.begin()) == 0);
    }
    void require(bool condition) { good = good && condition; }

    std::unique_ptr<void, void (*)(scmp_filter_ctx)> filter;
    bool good = true;
};

scmp_arg_cmp equals(unsigned argument, std::uint64_t value)
{
    return {argument, SCMP_CMP_EQ, value, 0};
}

/// Of the bits in `mask` exactly those in `bits` are set.
scmp_arg_cmp has(unsigned argument, std::uint64_t mask, std::uint64_t bits)
{
    return {argument, SCMP_CMP_MASKED_EQ, mask, bits};
}

/// No bit is set beside those in `bits`, of the 32 that an int has.
scmp_arg_cmp onlyOf(unsigned argument, std::uint32_t bits)
{
    return {argument, SCMP_CMP_MASKED_EQ, static_cast<std::uint32_t>(~bits), 0};
}

void allowMemory(Rules& rules)
{
    rules.all(SCMP_ACT_ALLOW,
              {SCMP_SYS(brk), SCMP_SYS(madvise), SCMP_SYS(mremap), SCMP_SYS(munmap)});
    rules.allow(SCMP_SYS(mmap), {has(2, PROT_EXEC, 0)});
    rules.allow(SCMP_SYS(mprotect), {has(2, PROT_EXEC, 0)});
}

void allowThreads(Rules& rules)
{
    constexpr std::uint64_t sharing =
        CLONE_VM | CLONE_FS | CLONE_FILES | CLONE_SIGHAND | CLONE_THREAD;
    constexpr std::uint64_t forbidden =
        CLONE_PTRACE | CLONE_VFORK | CLONE_PARENT | CLONE_PIDFD | CLONE_UNTRACED | CLONE_NEWNS |
        CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET | CLONE_NEWIPC | CLONE_NEWUTS | CLONE_NEWCGROUP;
    rules.allow(SCMP_SYS(clone), {has(0, sharing | forbidden, sharing)});
    // Its flags lie in memory, where no filter sees them; the C library then takes clone.
    rules.all(SCMP_ACT_ERRNO(ENOSYS), {SCMP_SYS(clone3)});
    rules.all(SCMP_ACT_ALLOW,
              {SCMP_SYS(clock_gettime), SCMP_SYS(clock_nanosleep), SCMP_SYS(exit),
               SCMP_SYS(exit_group), SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(gettimeofday),
               SCMP_SYS(nanosleep), SCMP_SYS(restart_syscall), SCMP_SYS(rseq),
               SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn),
               SCMP_SYS(sched_getaffinity), SCMP_SYS(sched_yield), SCMP_SYS(set_robust_list),
               SCMP_SYS(sigaltstack)});
    constexpr auto command = static_cast<std::uint32_t>(FUTEX_CMD_MASK);
    for (const int operation : {FUTEX_WAIT, FUTEX_WAKE, FUTEX_CMP_REQUEUE, FUTEX_WAKE_OP,
                                FUTEX_WAIT_BITSET, FUTEX_WAKE_BITSET}) {
        rules.allow(SCMP_SYS(futex), {has(1, command, static_cast<std::uint64_t>(operation))});
    }
    // Abort raises a signal for its own thread.
    rules.allow(SCMP_SYS(tgkill), {equals(0, static_cast<std::uint64_t>(::getpid()))});
    // A thread lowers its own priority.
    rules.allow(SCMP_SYS(getpriority), {equals(0, PRIO_PROCESS), equals(1, 0)});
    rules.allow(SCMP_SYS(setpriority), {equals(0, PRIO_PROCESS), equals(1, 0)});
    rules.allow(SCMP_SYS(sched_setscheduler), {equals(0, 0)});
}

void allowFiles(Rules& rules)
{
    // Two of these are 0 on some processors. NOLINTBEGIN(misc-redundant-expression)
    constexpr std::uint32_t reading =
        O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_LARGEFILE;
    // NOLINTEND(misc-redundant-expression)
    rules.allow(SCMP_SYS(openat), {onlyOf(2, reading)});
    rules.all(SCMP_ACT_ALLOW,
              {SCMP_SYS(close), SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(fstat),
               SCMP_SYS(getcwd), SCMP_SYS(newfstatat), SCMP_SYS(readlink), SCMP_SYS(readlinkat),
               SCMP_SYS(statx), SCMP_SYS(getrandom)});
}

void allowPackets(Rules& rules)
{
    rules.all(SCMP_ACT_ALLOW, {SCMP_SYS(recvmsg), SCMP_SYS(sendmsg)});
}

/// No library calls these by itself: somebody has taken over.
void endOnAttack(Rules& rules)
{
    rules.all(SCMP_ACT_KILL_PROCESS, {SCMP_SYS(accept),
                                      SCMP_SYS(accept4),
                                      SCMP_SYS(add_key),
                                      SCMP_SYS(bind),
                                      SCMP_SYS(bpf),
                                      SCMP_SYS(chroot),
                                      SCMP_SYS(connect),
                                      SCMP_SYS(delete_module),
                                      SCMP_SYS(execve),
                                      SCMP_SYS(execveat),
                                      SCMP_SYS(finit_module),
                                      SCMP_SYS(fsopen),
                                      SCMP_SYS(init_module),
                                      SCMP_SYS(io_uring_enter),
                                      SCMP_SYS(io_uring_register),
                                      SCMP_SYS(io_uring_setup),
                                      SCMP_SYS(kcmp),
                                      SCMP_SYS(kexec_load),
                                      SCMP_SYS(keyctl),
                                      SCMP_SYS(listen),
                                      SCMP_SYS(memfd_create),
                                      SCMP_SYS(mount),
                                      SCMP_SYS(move_mount),
                                      SCMP_SYS(name_to_handle_at),
                                      SCMP_SYS(open_by_handle_at),
                                      SCMP_SYS(open_tree),
                                      SCMP_SYS(perf_event_open),
                                      SCMP_SYS(pidfd_getfd),
                                      SCMP_SYS(pidfd_open),
                                      SCMP_SYS(pivot_root),
                                      SCMP_SYS(process_madvise),
                                      SCMP_SYS(process_vm_readv),
                                      SCMP_SYS(process_vm_writev),
                                      SCMP_SYS(ptrace),
                                      SCMP_SYS(reboot),
                                      SCMP_SYS(request_key),
                                      SCMP_SYS(setns),
                                      SCMP_SYS(socket),
                                      SCMP_SYS(socketpair),
                                      SCMP_SYS(swapon),
                                      SCMP_SYS(umount2),
                                      SCMP_SYS(unshare),
                                      SCMP_SYS(userfaultfd)});
}

} // namespace

bool applyCallFilter()
{
    Rules rules;
    allowMemory(rules);
    allowThreads(rules);
    allowFiles(rules);
    allowPackets(rules);
    endOnAttack(rules);
    return rules.load();
}

} // namespace vorlin::engine
