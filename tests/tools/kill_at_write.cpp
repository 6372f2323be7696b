// Preloaded into a program: kills it at its n-th write into a file, counted from 0 by KILL_AT_WRITE.
#include <csignal>
#include <cstdlib>

#include <sys/syscall.h>
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) ssize_t pwrite64(int fd, const void* bytes, size_t count,
                                                                   off_t at) {
    static int writes = std::atoi(std::getenv("KILL_AT_WRITE"));
    if (writes-- == 0) std::raise(SIGKILL);
    return ::syscall(SYS_pwrite64, fd, bytes, count, at);
}
extern "C" __attribute__((visibility("default"))) ssize_t pwrite(int fd, const void* bytes, size_t count,
                                                                 off_t at) {
    return pwrite64(fd, bytes, count, at);
}
