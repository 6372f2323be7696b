// Preloaded into a program: at its n-th step towards a file's content, counted from 0 by MEDDLE_AT, it is
// killed, or MEDDLE_WITH is run by the shell. A step is to open a file for writing, to write, to cut, to
// rename.
#include <csignal>
#include <cstdarg>
#include <cstdlib>

#include <fcntl.h>
#include <stdio.h>
#include <sys/syscall.h>
#include <unistd.h>

#define FACE extern "C" __attribute__((visibility("default")))

namespace {

void Step() {
    static int left = std::atoi(std::getenv("MEDDLE_AT"));
    if (left-- != 0) return;
    const char* command = std::getenv("MEDDLE_WITH");
    if (!command) std::raise(SIGKILL);
    ::unsetenv("LD_PRELOAD");
    if (std::system(command) != 0) std::abort();
}

}  // namespace

FACE int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const int mode = flags & O_CREAT ? va_arg(rest, int) : 0;
    va_end(rest);
    if ((flags & O_ACCMODE) != O_RDONLY) Step();
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}
FACE ssize_t pwrite(int fd, const void* bytes, size_t count, off_t at) {
    Step();
    return ::syscall(SYS_pwrite64, fd, bytes, count, at);
}
FACE ssize_t write(int fd, const void* bytes, size_t count) {
    if (fd > STDERR_FILENO) Step();
    return ::syscall(SYS_write, fd, bytes, count);
}
FACE int ftruncate(int fd, off_t length) {
    Step();
    return static_cast<int>(::syscall(SYS_ftruncate, fd, length));
}
FACE int rename(const char* from, const char* to) {
    Step();
    return static_cast<int>(::syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to));
}
FACE int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    Step();
    return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}
