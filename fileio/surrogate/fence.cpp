#include "fileio/surrogate/fence.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tarn {

namespace {

// A sanitizer's own memory is beyond any limit.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool IS_SANITIZED = true;
#else
constexpr bool IS_SANITIZED = false;
#endif

constexpr int REFUSED[] = {
    SCMP_SYS(socket),
    SCMP_SYS(socketpair),
    SCMP_SYS(connect),
    SCMP_SYS(bind),
    SCMP_SYS(listen),
    SCMP_SYS(accept),
    SCMP_SYS(accept4),
    SCMP_SYS(execve),
    SCMP_SYS(execveat),
    SCMP_SYS(fork),
    SCMP_SYS(vfork),
    SCMP_SYS(ptrace),
    SCMP_SYS(process_vm_readv),
    SCMP_SYS(process_vm_writev),
    SCMP_SYS(pidfd_getfd),
    SCMP_SYS(kill),
    SCMP_SYS(pidfd_send_signal),
    SCMP_SYS(creat),
    SCMP_SYS(unlink),
    SCMP_SYS(unlinkat),
    SCMP_SYS(rename),
    SCMP_SYS(renameat),
    SCMP_SYS(renameat2),
    SCMP_SYS(link),
    SCMP_SYS(linkat),
    SCMP_SYS(symlink),
    SCMP_SYS(symlinkat),
    SCMP_SYS(mkdir),
    SCMP_SYS(mkdirat),
    SCMP_SYS(rmdir),
    SCMP_SYS(mknod),
    SCMP_SYS(mknodat),
    SCMP_SYS(truncate),
    SCMP_SYS(chmod),
    SCMP_SYS(fchmod),
    SCMP_SYS(fchmodat),
    SCMP_SYS(chown),
    SCMP_SYS(fchown),
    SCMP_SYS(lchown),
    SCMP_SYS(fchownat),
    SCMP_SYS(setxattr),
    SCMP_SYS(lsetxattr),
    SCMP_SYS(fsetxattr),
    SCMP_SYS(openat2),
    SCMP_SYS(open_by_handle_at),
    SCMP_SYS(mount),
    SCMP_SYS(umount2),
    SCMP_SYS(unshare),
    SCMP_SYS(setns),
    SCMP_SYS(keyctl),
    SCMP_SYS(add_key),
    SCMP_SYS(bpf),
    SCMP_SYS(perf_event_open),
    SCMP_SYS(io_uring_setup),
    SCMP_SYS(userfaultfd),
    SCMP_SYS(init_module),
    SCMP_SYS(finit_module),
};

/// Files are opened to be read alone, since a further plug-in of the group may yet have to be loaded.
bool RefuseInPart(scmp_filter_ctx filter) {
    constexpr int FLAGS[] = {O_WRONLY, O_RDWR};
    bool isDone = true;
    const auto refuse = [&](int call, unsigned argument, scmp_datum_t mask, scmp_datum_t value) {
        const scmp_arg_cmp test{argument, SCMP_CMP_MASKED_EQ, mask, value};
        isDone = seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EACCES), call, 1, &test) == 0 && isDone;
    };
    for (const int flag : FLAGS) {
        refuse(SCMP_SYS(open), 1, O_ACCMODE, static_cast<scmp_datum_t>(flag));
        refuse(SCMP_SYS(openat), 2, O_ACCMODE, static_cast<scmp_datum_t>(flag));
    }
    // Threads, and no processes. What is asked in the newer way is told that there is only the older.
    refuse(SCMP_SYS(clone), 0, CLONE_THREAD, 0);
    refuse(SCMP_SYS(open), 1, O_CREAT, O_CREAT);
    refuse(SCMP_SYS(openat), 2, O_CREAT, O_CREAT);
    return seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0) == 0 && isDone;
}

}  // namespace

void RaiseFirstFence(int lastDescriptor) {
    // What the program has forgotten to keep to itself.
    ::close_range(static_cast<unsigned>(lastDescriptor) + 1, ~0u, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    constexpr rlim_t MOST_MEMORY = rlim_t{4} << 30, MOST_FILES = 256;
    const auto limit = [](auto what, rlim_t most) {
        const rlimit value{most, most};
        ::setrlimit(what, &value);
    };
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NOFILE, MOST_FILES);
    if (!IS_SANITIZED) limit(RLIMIT_AS, MOST_MEMORY);
}

bool RaiseFence() {
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    if (!filter) return false;
    bool isDone = RefuseInPart(filter);
    // What this kernel or processor does not have needs no rule.
    for (const int call : REFUSED) {
        const int code = seccomp_rule_add(filter, SCMP_ACT_ERRNO(EPERM), call, 0);
        isDone = isDone && (code == 0 || code == -EDOM || code == -EINVAL);
    }
    isDone = isDone && seccomp_load(filter) == 0;
    seccomp_release(filter);
    return isDone;
}

}  // namespace tarn
