#include "speech_worker/syscall_filter.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <memory>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>

namespace {

/// What computing needs, and reading files that are named. Names that an architecture does not have are
/// skipped by the library.
constexpr auto allowed = std::to_array<int>({
    // files
    SCMP_SYS(read),
    SCMP_SYS(readv),
    SCMP_SYS(pread64),
    SCMP_SYS(preadv),
    SCMP_SYS(preadv2),
    SCMP_SYS(lseek),
    SCMP_SYS(_llseek),
    SCMP_SYS(write),
    SCMP_SYS(writev),
    SCMP_SYS(close),
    SCMP_SYS(close_range),
    SCMP_SYS(dup),
    SCMP_SYS(dup2),
    SCMP_SYS(dup3),
    SCMP_SYS(fadvise64),
    SCMP_SYS(fstat),
    SCMP_SYS(fstat64),
    SCMP_SYS(newfstatat),
    SCMP_SYS(fstatat64),
    SCMP_SYS(stat),
    SCMP_SYS(stat64),
    SCMP_SYS(lstat),
    SCMP_SYS(lstat64),
    SCMP_SYS(statx),
    SCMP_SYS(statfs),
    SCMP_SYS(statfs64),
    SCMP_SYS(fstatfs),
    SCMP_SYS(fstatfs64),
    SCMP_SYS(access),
    SCMP_SYS(faccessat),
    SCMP_SYS(faccessat2),
    SCMP_SYS(readlink),
    SCMP_SYS(readlinkat),
    SCMP_SYS(getdents),
    SCMP_SYS(getdents64),
    SCMP_SYS(getcwd),
    SCMP_SYS(poll),
    SCMP_SYS(ppoll),
    SCMP_SYS(select),
    SCMP_SYS(pselect6),
    // memory
    SCMP_SYS(brk),
    SCMP_SYS(mmap),
    SCMP_SYS(mmap2),
    SCMP_SYS(munmap),
    SCMP_SYS(mremap),
    SCMP_SYS(mprotect),
    SCMP_SYS(madvise),
    SCMP_SYS(mincore),
    SCMP_SYS(membarrier),
    // threads and their end
    SCMP_SYS(futex),
    SCMP_SYS(futex_time64),
    SCMP_SYS(set_robust_list),
    SCMP_SYS(get_robust_list),
    SCMP_SYS(set_tid_address),
    SCMP_SYS(rseq),
    SCMP_SYS(set_thread_area),
    SCMP_SYS(arch_prctl),
    SCMP_SYS(prctl),
    SCMP_SYS(gettid),
    SCMP_SYS(sched_yield),
    SCMP_SYS(sched_getaffinity),
    SCMP_SYS(sched_setaffinity),
    SCMP_SYS(sched_getparam),
    SCMP_SYS(sched_getscheduler),
    SCMP_SYS(sched_get_priority_max),
    SCMP_SYS(sched_get_priority_min),
    SCMP_SYS(getcpu),
    SCMP_SYS(exit),
    SCMP_SYS(exit_group),
    // signals to oneself
    SCMP_SYS(rt_sigaction),
    SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigreturn),
    SCMP_SYS(sigreturn),
    SCMP_SYS(rt_sigsuspend),
    SCMP_SYS(rt_sigpending),
    SCMP_SYS(sigaltstack),
    SCMP_SYS(restart_syscall),
    SCMP_SYS(pause),
    // time
    SCMP_SYS(clock_gettime),
    SCMP_SYS(clock_gettime64),
    SCMP_SYS(clock_getres),
    SCMP_SYS(clock_getres_time64),
    SCMP_SYS(clock_nanosleep),
    SCMP_SYS(clock_nanosleep_time64),
    SCMP_SYS(nanosleep),
    SCMP_SYS(gettimeofday),
    SCMP_SYS(time),
    SCMP_SYS(times),
    // questions
    SCMP_SYS(getpid),
    SCMP_SYS(getppid),
    SCMP_SYS(getpgrp),
    SCMP_SYS(getuid),
    SCMP_SYS(getuid32),
    SCMP_SYS(geteuid),
    SCMP_SYS(geteuid32),
    SCMP_SYS(getgid),
    SCMP_SYS(getgid32),
    SCMP_SYS(getegid),
    SCMP_SYS(getegid32),
    SCMP_SYS(getrlimit),
    SCMP_SYS(ugetrlimit),
    SCMP_SYS(getrusage),
    SCMP_SYS(sysinfo),
    SCMP_SYS(uname),
    SCMP_SYS(getrandom),
});

/// What is asked for in vain more clearly than by its absence.
constexpr auto refused = std::to_array<int>({
    SCMP_SYS(socket),    SCMP_SYS(socketpair), SCMP_SYS(connect),  SCMP_SYS(execve),    SCMP_SYS(execveat),
    SCMP_SYS(fork),      SCMP_SYS(vfork),      SCMP_SYS(kill),     SCMP_SYS(tkill),     SCMP_SYS(ptrace),
    SCMP_SYS(unlink),    SCMP_SYS(unlinkat),   SCMP_SYS(rename),   SCMP_SYS(renameat),  SCMP_SYS(renameat2),
    SCMP_SYS(mkdir),     SCMP_SYS(mkdirat),    SCMP_SYS(truncate), SCMP_SYS(ftruncate), SCMP_SYS(creat),
    SCMP_SYS(setrlimit),
});

/// System calls that a process may make (seccomp mode 2). Whatever is not named does not exist, as if the
/// kernel were older: that is the answer to which the C library knows a way round.
class Filter {
  public:
    Filter() : m_filter(seccomp_init(SCMP_ACT_ERRNO(ENOSYS))) {
        if (!m_filter) throw std::bad_alloc();
    }

    template <typename... Conditions>
    void rule(std::uint32_t action, int call, Conditions... conditions) {
        check(seccomp_rule_add(m_filter.get(), action, call, sizeof...(conditions), conditions...));
    }
    void apply() { check(seccomp_load(m_filter.get())); }

  private:
    static void check(int result) {
        if (result < 0) throw std::system_error(-result, std::generic_category());
    }

    struct Release {
        void operator()(void* filter) const noexcept { seccomp_release(filter); }
    };
    std::unique_ptr<void, Release> m_filter;
};

constexpr std::uint32_t allow = SCMP_ACT_ALLOW;
constexpr std::uint32_t refuse = SCMP_ACT_ERRNO(EPERM);

/// `flags` is the number of the argument that holds the flags of open(2).
void allowReadingOnly(Filter& filter, int call, unsigned flags) {
    constexpr scmp_datum_t changing = O_WRONLY | O_RDWR | O_CREAT | O_TRUNC;
    filter.rule(allow, call, SCMP_CMP64(flags, SCMP_CMP_MASKED_EQ, changing, 0));
    for (const scmp_datum_t flag : {O_WRONLY, O_RDWR, O_CREAT, O_TRUNC})
        filter.rule(refuse, call, SCMP_CMP64(flags, SCMP_CMP_MASKED_EQ, flag, flag));
}

/// Of fcntl(2) only what duplicates a descriptor and what asks for and sets flags. The rest can have the
/// kernel signal another process of the user's when something can be read (F_SETOWN, F_SETSIG, O_ASYNC), when
/// a file is opened (F_SETLEASE) or changed (F_NOTIFY), or hold up others with a lock. With ioctl(2) the same
/// is asked for by FIOASYNC and FIOSETOWN.
void allowDescriptorFlags(Filter& filter, int call) {
    for (const scmp_datum_t command : {F_DUPFD, F_DUPFD_CLOEXEC, F_GETFD, F_SETFD, F_GETFL})
        filter.rule(allow, call, SCMP_A1_32(SCMP_CMP_EQ, command));
    constexpr auto setFlags = SCMP_A1_32(SCMP_CMP_EQ, F_SETFL);
    filter.rule(allow, call, setFlags, SCMP_A2_64(SCMP_CMP_MASKED_EQ, O_ASYNC, 0));
    filter.rule(refuse, call, setFlags, SCMP_A2_64(SCMP_CMP_MASKED_EQ, O_ASYNC, O_ASYNC));
}

/// The C library falls back from clone3, whose flags a filter cannot see, to clone.
void allowThreadsOnly(Filter& filter) {
    filter.rule(allow, SCMP_SYS(clone), SCMP_A0_64(SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD));
    filter.rule(refuse, SCMP_SYS(clone), SCMP_A0_64(SCMP_CMP_MASKED_EQ, CLONE_THREAD, 0));
}

} // namespace

void filterSystemCalls() {
    Filter filter;
    for (const int call : allowed) filter.rule(allow, call);
    for (const int call : refused) filter.rule(refuse, call);
    allowReadingOnly(filter, SCMP_SYS(open), 1);
    allowReadingOnly(filter, SCMP_SYS(openat), 2);
    allowDescriptorFlags(filter, SCMP_SYS(fcntl));
    allowDescriptorFlags(filter, SCMP_SYS(fcntl64));
    allowThreadsOnly(filter);
    filter.rule(allow, SCMP_SYS(tgkill), SCMP_A0_64(SCMP_CMP_EQ, static_cast<scmp_datum_t>(::getpid())));
    filter.rule(allow, SCMP_SYS(prlimit64), SCMP_A2_64(SCMP_CMP_EQ, 0));  // asks, does not set
    filter.rule(allow, SCMP_SYS(ioctl), SCMP_A1_32(SCMP_CMP_EQ, TCGETS)); // is this a terminal?
    filter.apply();
}
