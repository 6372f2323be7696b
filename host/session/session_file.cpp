// Session files on the disk.
#include "host/session/session.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace host {

namespace {

// Closes on every way out; the close that must be checked is made by hand.
struct Descriptor {
    int fd = -1;
    ~Descriptor() {
        if (fd >= 0) ::close(fd);
    }
};

[[noreturn]] void FailAt(const std::filesystem::path& path) {
    throw SessionError(path.string(), {}, std::strerror(errno));
}

std::string ReadWhole(const std::filesystem::path& path) {
    Descriptor file{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    struct stat info {};
    if (file.fd < 0 || ::fstat(file.fd, &info) != 0) FailAt(path);
    if (!S_ISREG(info.st_mode)) throw SessionError(path.string(), {}, "is not a file");
    std::string text;
    char block[65536];
    for (;;) {
        const ssize_t n = ::read(file.fd, block, sizeof block);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) FailAt(path);
        if (n == 0) return text;
        text.append(block, static_cast<size_t>(n));
        if (text.size() > kMaxSessionBytes)
            throw SessionError(path.string(), {}, "is too long for a session");
    }
}

void WriteWhole(int fd, std::string_view text, const std::filesystem::path& path) {
    while (!text.empty()) {
        const ssize_t n = ::write(fd, text.data(), text.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) FailAt(path);
        text.remove_prefix(static_cast<size_t>(n));
    }
}

}  // namespace

Session LoadSession(const std::filesystem::path& path) {
    const std::string text = ReadWhole(path);
    try {
        return ParseSession(text);
    } catch (const SessionError& e) {
        throw SessionError(path.string(), e.place, e.reason);
    }
}

void SaveSession(const Session& session, const std::filesystem::path& path) {
    std::string text;
    try {
        text = FormatSession(session);
    } catch (const SessionError& e) {
        throw SessionError(path.string(), e.place, e.reason);
    }
    const std::filesystem::path aside = path.string() + ".new";
    Descriptor file{::open(aside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)};
    if (file.fd < 0) FailAt(aside);
    try {
        WriteWhole(file.fd, text, aside);
        if (::fsync(file.fd) != 0 || ::rename(aside.c_str(), path.c_str()) != 0) FailAt(path);
    } catch (...) {
        ::unlink(aside.c_str());
        throw;
    }
    // The rename itself is safe on the disk once the folder is.
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    Descriptor dir{::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (dir.fd < 0 || ::fsync(dir.fd) != 0) FailAt(folder);
}

}  // namespace host
