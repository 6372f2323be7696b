#include "platform/file.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0) ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    explicit operator bool() const { return m_fd >= 0; }
    int Get() const { return m_fd; }
    /// Closes with the result that writers want to know.
    bool Close() { return ::close(std::exchange(m_fd, -1)) == 0; }

private:
    int m_fd;
};

int Open(const fs::path& path, int flags) {
    int fd;
    do fd = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    while (fd < 0 && errno == EINTR);
    return fd;
}

bool Fail(std::string& error, const char* what, const fs::path& path, int code = errno) {
    error = std::string(what) + " " + path.string() + ": " + std::generic_category().message(code);
    return false;
}

bool WriteAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        bytes.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

/// Some file systems can't sync a folder, which is no fault of the file.
bool SyncFolder(const fs::path& folder) {
    const Descriptor fd(Open(folder, O_RDONLY | O_DIRECTORY));
    return fd && (::fsync(fd.Get()) == 0 || errno == EINVAL);
}

/// Where the links of a path lead, also when nothing is there yet.
std::optional<fs::path> FollowLinks(fs::path path) {
    constexpr int kMostLinks = 40;
    std::error_code ec;
    for (int i = 0; i < kMostLinks; i++) {
        if (!fs::is_symlink(path, ec)) return path;
        path = path.parent_path() / fs::read_symlink(path, ec);
    }
    return std::nullopt;
}

/// A file of a fresh name beside the target, removed unless it was renamed.
class AsideFile {
public:
    explicit AsideFile(const fs::path& folder) : m_fd(Create(folder)) {}
    ~AsideFile() {
        if (m_present) ::unlink(m_path.c_str());
    }
    AsideFile(const AsideFile&) = delete;
    AsideFile& operator=(const AsideFile&) = delete;

    bool Created() const { return m_present; }
    bool Write(std::string_view bytes) { return WriteAll(m_fd.Get(), bytes); }
    /// Takes the owner, where that is allowed, and the permissions of the file to be replaced.
    bool TakeAttributes(const fs::path& target) {
        struct stat old;
        if (::stat(target.c_str(), &old) != 0) return errno == ENOENT;
        if (::fchown(m_fd.Get(), old.st_uid, old.st_gid) != 0 && errno != EPERM) return false;
        return ::fchmod(m_fd.Get(), old.st_mode & 07777) == 0;
    }
    bool Finish() { return ::fsync(m_fd.Get()) == 0 && m_fd.Close(); }
    bool RenameTo(const fs::path& target) {
        m_present = ::rename(m_path.c_str(), target.c_str()) != 0;
        return !m_present;
    }

private:
    int Create(const fs::path& folder) {
        static std::atomic<unsigned> counter{0};
        int fd;
        do {
            m_path = folder / (".tarn-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
            fd = Open(m_path, O_WRONLY | O_CREAT | O_EXCL);
        } while (fd < 0 && errno == EEXIST);
        m_present = fd >= 0;
        return fd;
    }

    fs::path m_path;
    bool m_present = false;
    Descriptor m_fd;
};
}  // namespace

bool ReadWholeFile(const fs::path& path, size_t limit, std::string& bytes, std::string& error) {
    constexpr size_t kStep = size_t{1} << 20;
    bytes.clear();
    const Descriptor fd(Open(path, O_RDONLY));
    struct stat info;
    if (!fd || ::fstat(fd.Get(), &info) != 0) return Fail(error, "cannot open", path);
    std::string read;
    // The size is a hint only: pipes have none, and files grow.
    size_t wanted = std::min(limit, info.st_size > 0 ? static_cast<size_t>(info.st_size) : kStep);
    for (;;) {
        const size_t have = read.size();
        const size_t room = (wanted > have ? wanted - have : std::min(kStep, limit - have)) + 1;
        read.resize(have + room);
        const ssize_t n = ::read(fd.Get(), read.data() + have, room);
        const int code = errno;
        read.resize(have + static_cast<size_t>(std::max<ssize_t>(n, 0)));
        if (n < 0 && code == EINTR) continue;
        if (n < 0) return Fail(error, "cannot read", path, code);
        if (n == 0) break;
        if (read.size() > limit) return Fail(error, "cannot read", path, EFBIG);
    }
    bytes = std::move(read);
    return true;
}

bool ReplaceFile(const fs::path& path, std::string_view bytes, std::string& error) {
    const std::optional<fs::path> target = FollowLinks(path);
    if (!target) return Fail(error, "cannot write", path, ELOOP);
    const fs::path folder = target->has_parent_path() ? target->parent_path() : fs::path(".");
    AsideFile aside(folder);
    if (!aside.Created()) return Fail(error, "cannot write in", folder);
    if (!aside.TakeAttributes(*target) || !aside.Write(bytes) || !aside.Finish())
        return Fail(error, "cannot write", *target);
    if (!aside.RenameTo(*target)) return Fail(error, "cannot replace", *target);
    if (!SyncFolder(folder)) return Fail(error, "cannot sync", folder);
    return true;
}
