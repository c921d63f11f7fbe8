#pragma once

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <future>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

/// Older kernels, played to the calling thread and to all that it starts afterwards. There is no way back:
/// call these in a process of their own.
namespace oldKernel {

/// Whether the kernel of this machine has Landlock at all.
inline bool isLandlockHere() {
    return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
}

/// Without filters of system calls.
inline void withoutFilters() {
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    seccomp_rule_add(filter, SCMP_ACT_ERRNO(EINVAL), SCMP_SYS(seccomp), 0);
    seccomp_rule_add(filter, SCMP_ACT_ERRNO(EINVAL), SCMP_SYS(prctl), 1,
                     SCMP_A0(SCMP_CMP_EQ, PR_SET_SECCOMP));
    seccomp_load(filter);
    seccomp_release(filter);
}

/// Without Landlock: ENOSYS where it was not built in, EOPNOTSUPP where it is switched off.
inline void withoutLandlock(int errorNumber) {
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    for (const int call : {SYS_landlock_create_ruleset, SYS_landlock_add_rule, SYS_landlock_restrict_self})
        seccomp_rule_add(filter, SCMP_ACT_ERRNO(static_cast<std::uint16_t>(errorNumber)), call, 0);
    seccomp_load(filter);
    seccomp_release(filter);
}

/// With the first version of Landlock, which does not know the right to move files between folders. A thread
/// of this process answers in the kernel's place, so it does not outlive an execve.
inline void withLandlockAbi1() {
    std::promise<int> listener;
    std::thread([answers = listener.get_future()]() mutable {
        const int descriptor = answers.get();
        seccomp_notif* request = nullptr;
        seccomp_notif_resp* response = nullptr;
        seccomp_notify_alloc(&request, &response);
        for (;;) {
            *request = {}; // or it is refused
            if (seccomp_notify_receive(descriptor, request) != 0) std::abort();
            const auto* const attributes =
                reinterpret_cast<const landlock_ruleset_attr*>(request->data.args[0]);
            *response = {};
            response->id = request->id;
            if (request->data.args[2] == LANDLOCK_CREATE_RULESET_VERSION)
                response->val = 1;
            else if (attributes->handled_access_fs >= LANDLOCK_ACCESS_FS_REFER)
                response->error = -EINVAL;
            else
                response->flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
            seccomp_notify_respond(descriptor, response);
        }
    }).detach();
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    seccomp_rule_add(filter, SCMP_ACT_NOTIFY, SYS_landlock_create_ruleset, 0);
    seccomp_load(filter);
    listener.set_value(seccomp_notify_fd(filter));
}

} // namespace oldKernel
