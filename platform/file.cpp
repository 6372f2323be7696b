#include "platform/file.h"

#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>
#include <unistd.h>

namespace tarn {

namespace fs = std::filesystem;

namespace {
/// The lone surrogate of a byte that is no text is so much more than the byte.
constexpr char16_t RAW_BYTE = 0xDC00;

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

private:
    int m_fd;
};

int OpenToRead(const fs::path& path, int flags = 0) {
    int fd = -1;
    do fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | flags);
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
    const Descriptor fd(OpenToRead(folder, O_DIRECTORY));
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

fs::path FolderOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

/// 64 random bits. The clock only where the system has no randomness to give.
std::string FreshName() {
    uint64_t bits = 0;
    if (::getrandom(&bits, sizeof bits, GRND_NONBLOCK) != sizeof bits)
        bits = static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    char name[32];
    std::snprintf(name, sizeof name, ".tarn-%016" PRIx64, bits);
    return name;
}

/// The owner, where that is allowed, and the permissions of the file to be replaced.
bool TakeAttributes(int fd, const struct stat& old) {
    mode_t mode = old.st_mode & 07777;
    if (::fchown(fd, old.st_uid, old.st_gid) != 0) {
        if (errno != EPERM) return false;
        mode &= 0777;  // rights of another owner are not ours to give
    }
    return ::fchmod(fd, mode) == 0;
}

FileStamp Stamp(const struct stat& info) {
    return {info.st_dev, info.st_ino, info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
}

/// As rename, for a target that is not there. Not every file system can do it in one step, or has links.
int RenameNew(const fs::path& from, const fs::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return -1;
    if (::link(from.c_str(), to.c_str()) == 0) return ::unlink(from.c_str());
    return errno == EEXIST ? -1 : ::rename(from.c_str(), to.c_str());
}
}  // namespace

std::optional<FileStamp> StampOf(const fs::path& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 ? std::optional(Stamp(info)) : std::nullopt;
}
std::optional<FileStamp> StampOf(int descriptor) {
    struct stat info;
    return ::fstat(descriptor, &info) == 0 ? std::optional(Stamp(info)) : std::nullopt;
}

bool ReadWholeFile(const fs::path& path, size_t limit, std::string& bytes, std::string& error) {
    constexpr size_t kStep = size_t{1} << 20;
    bytes.clear();
    const Descriptor fd(OpenToRead(path));
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

bool ReplacingFile::Open(const fs::path& path, std::string& error, Over over) {
    m_over = over;
    const std::optional<fs::path> target = FollowLinks(path);
    if (!target) return Fail(error, "cannot write", path, ELOOP);
    m_target = *target;
    struct stat old;
    const bool isThere = ::stat(m_target.c_str(), &old) == 0;
    if (!isThere && errno != ENOENT) return Fail(error, "cannot write", m_target);
    if (isThere && S_ISDIR(old.st_mode)) return Fail(error, "cannot write", m_target, EISDIR);
    if (isThere && !S_ISREG(old.st_mode)) {
        error = "cannot write " + m_target.string() + ": it is a device or a pipe, not a file";
        return false;
    }
    if (isThere && ::access(m_target.c_str(), W_OK) != 0) return Fail(error, "cannot write", m_target);
    m_old = StampOf(m_target);
    const fs::path folder = FolderOf(m_target);
    // Nobody reads what takes the place of a private file before it has that file's permissions.
    const mode_t mode = isThere ? 0600 : 0666;
    do {
        m_aside = folder / FreshName();
        m_fd = ::open(m_aside.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    } while (m_fd < 0 && (errno == EEXIST || errno == EINTR));
    if (m_fd < 0) {
        Fail(error, "cannot write in", folder);
        m_aside.clear();  // what has that name is not ours to remove
        return false;
    }
    if (!isThere || TakeAttributes(m_fd, old)) return true;
    Fail(error, "cannot write", m_target);
    Discard();
    return false;
}

bool ReplacingFile::Write(std::string_view bytes, std::string& error) {
    return WriteAll(m_fd, bytes) || Fail(error, "cannot write", m_target);
}

bool ReplacingFile::TakePlace(std::string& error) {
    const bool isNew = m_over == Over::WhatWasThere && !m_old;
    if (m_over == Over::WhatWasThere && StampOf(m_target) != m_old) {
        error = "cannot replace " + m_target.string() + ": another program has written it meanwhile";
        return false;
    }
    const int done = isNew ? RenameNew(m_aside, m_target) : ::rename(m_aside.c_str(), m_target.c_str());
    return done == 0 || Fail(error, "cannot replace", m_target);
}

bool ReplacingFile::Commit(std::string& error) {
    if (::fsync(m_fd) != 0 || ::close(std::exchange(m_fd, -1)) != 0) {
        Fail(error, "cannot write", m_target);
        Discard();
        return false;
    }
    if (!TakePlace(error)) {
        Discard();
        return false;
    }
    m_aside.clear();
    const fs::path folder = FolderOf(m_target);
    return SyncFolder(folder) || Fail(error, "cannot sync", folder);
}

void ReplacingFile::Discard() {
    if (m_fd >= 0) ::close(std::exchange(m_fd, -1));
    if (!m_aside.empty()) ::unlink(m_aside.c_str());
    m_aside.clear();
}

bool ReplaceFile(const fs::path& path, std::string_view bytes, std::string& error) {
    ReplacingFile file;
    return file.Open(path, error) && file.Write(bytes, error) && file.Commit(error);
}

std::u16string WideFromPath(const fs::path& path) {
    const std::string& name = path.native();
    std::u16string wide;
    const auto size = static_cast<int32_t>(name.size());
    for (int32_t i = 0; i < size;) {
        const int32_t start = i;
        UChar32 c = 0;
        U8_NEXT(name.data(), i, size, c);
        if (c >= 0) {
            char16_t units[2];
            int32_t count = 0;
            U16_APPEND_UNSAFE(units, count, c);
            wide.append(units, static_cast<size_t>(count));
            continue;
        }
        i = start + 1;
        wide += static_cast<char16_t>(RAW_BYTE + static_cast<uint8_t>(name[static_cast<size_t>(start)]));
    }
    return wide;
}

fs::path PathFromWide(std::u16string_view text) {
    const auto isRaw = [](char16_t c) { return c >= RAW_BYTE + 0x80 && c <= RAW_BYTE + 0xFF; };
    std::string name;
    for (size_t i = 0; i < text.size();) {
        if (isRaw(text[i])) {
            name += static_cast<char>(text[i++] - RAW_BYTE);
            continue;
        }
        size_t end = i;
        while (end < text.size() && !isRaw(text[end])) end += U16_IS_LEAD(text[end]) ? 2 : 1;
        end = std::min(end, text.size());
        name += Utf8FromUtf16(text.substr(i, end - i));
        i = end;
    }
    return name;
}

}  // namespace tarn
