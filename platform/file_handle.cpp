#include "platform/file_handle.h"

#include "platform/file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tarn;

namespace {

constexpr uint32_t WINDOW = 8192;

thread_local int32_t lastError = 0;

bool FailWith(int32_t code = errno) {
    lastError = code;
    return false;
}

int OpenFlags(QmFileAccess access, QmFileCreation creation) {
    // A pipe without a writer must not hold the caller.
    const int flags = O_CLOEXEC | O_NONBLOCK | (access == FILE_ACCESS_READ ? O_RDONLY : O_RDWR);
    switch (creation) {
    case FILE_CREATE_NEW: return flags | O_CREAT | O_EXCL;
    case FILE_CREATE_ALWAYS: return flags | O_CREAT | O_TRUNC;
    case FILE_OPEN_EXISTING: return flags;
    case FILE_OPEN_ALWAYS: return flags | O_CREAT;
    case FILE_TRUNCATE_EXISTING: return flags | O_TRUNC;
    }
    return -1;
}

}  // namespace

struct QMFILE {
    int fd = -1;
    int64_t position = 0;
    int64_t windowStart = 0;
    uint32_t windowBytes = 0;
    uint64_t systemCalls = 0;
    uint8_t window[WINDOW];

    /// Bytes of the window from the position on.
    uint32_t InWindow() const {
        const int64_t offset = position - windowStart;
        return offset >= 0 && offset < windowBytes ? windowBytes - static_cast<uint32_t>(offset) : 0;
    }

    /// Reads at the position without moving it; -1 on failure.
    int64_t ReadThrough(void* buffer, uint32_t bytes) {
        uint32_t done = 0;
        while (done < bytes) {
            systemCalls++;
            const ssize_t n =
                ::pread(fd, static_cast<uint8_t*>(buffer) + done, bytes - done, position + done);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) return FailWith(), -1;
            if (n == 0) break;
            done += static_cast<uint32_t>(n);
        }
        return done;
    }
};

/// Takes the descriptor. Opening a folder or a pipe for reading succeeds, and every read at a place fails:
/// say so here. A disk may be read, but what writes files must not write over one.
static HQMFILE Handle(int fd, QmFileAccess access) {
    if (fd < 0) return FailWith(), nullptr;
    struct stat info {};
    const bool isTold = ::fstat(fd, &info) == 0,
               isDiskToRead = S_ISBLK(info.st_mode) && access == FILE_ACCESS_READ;
    const bool isFile = isTold && (S_ISREG(info.st_mode) || isDiskToRead);
    auto* file = isFile ? new (std::nothrow) QMFILE : nullptr;
    if (file) return file->fd = fd, file;
    const int code = !isTold ? errno : isFile ? ENOMEM : S_ISDIR(info.st_mode) ? EISDIR : ESPIPE;
    ::close(fd);
    return FailWith(code), nullptr;
}

extern "C" {

HQMFILE QmFile_Open(const char16_t* path, QmFileAccess access, QmFileCreation creation) try {
    const std::string name = PathFromWide(path).native();
    const int flags = OpenFlags(access, creation);
    if (flags < 0) return FailWith(EINVAL), nullptr;
    int fd = -1;
    do fd = ::open(name.c_str(), flags, 0666);
    while (fd < 0 && errno == EINTR);
    return Handle(fd, access);
} catch (const std::exception&) {
    return FailWith(ENOMEM), nullptr;
}

HQMFILE QmFile_OpenDescriptor(int descriptor) {
    return Handle(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0), FILE_ACCESS_READ_WRITE);
}

int QmFile_Descriptor(HQMFILE file) { return file->fd; }

BOOL QmFile_Close(HQMFILE file) {
    if (!file) return 1;
    const bool closed = ::close(file->fd) == 0 || FailWith();
    delete file;
    return closed;
}

BOOL QmFile_Read(HQMFILE file, void* buffer, uint32_t bytes, uint32_t* got) {
    auto* out = static_cast<uint8_t*>(buffer);
    uint32_t done = 0;
    bool failed = false;
    while (done < bytes) {
        if (const uint32_t there = file->InWindow()) {
            const uint32_t taken = std::min(there, bytes - done);
            std::memcpy(out + done, file->window + (file->position - file->windowStart), taken);
            done += taken;
            file->position += taken;
            continue;
        }
        const bool isLarge = bytes - done >= WINDOW;
        const int64_t read =
            isLarge ? file->ReadThrough(out + done, bytes - done) : file->ReadThrough(file->window, WINDOW);
        failed = read < 0;
        if (isLarge && read > 0) {
            done += static_cast<uint32_t>(read);
            file->position += read;
        } else {
            file->windowStart = file->position;
            file->windowBytes = static_cast<uint32_t>(std::max<int64_t>(read, 0));
        }
        if (read <= 0) break;
    }
    if (got) *got = done;
    if (done < bytes && !failed) lastError = 0;
    return done == bytes;
}

BOOL QmFile_Write(HQMFILE file, const void* buffer, uint32_t bytes, uint32_t* put) {
    const auto* data = static_cast<const uint8_t*>(buffer);
    uint32_t done = 0;
    while (done < bytes) {
        file->systemCalls++;
        const ssize_t n = ::pwrite(file->fd, data + done, bytes - done, file->position + done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            FailWith();
            break;
        }
        done += static_cast<uint32_t>(n);
    }
    file->position += done;
    file->windowBytes = 0;
    if (put) *put = done;
    return done == bytes;
}

int64_t QmFile_Seek(HQMFILE file, int64_t offset, QmFileOrigin origin) {
    const int64_t from = origin == FILE_FROM_START     ? 0
                         : origin == FILE_FROM_CURRENT ? file->position
                                                       : QmFile_Size(file);
    int64_t target = 0;
    if (from < 0) return -1;
    if (__builtin_add_overflow(from, offset, &target) || target < 0) return FailWith(EINVAL), -1;
    return file->position = target;
}

int64_t QmFile_Size(HQMFILE file) {
    struct stat info;
    file->systemCalls++;
    if (::fstat(file->fd, &info) != 0) return FailWith(), -1;
    if (S_ISREG(info.st_mode)) return info.st_size;
    const off_t end = ::lseek(file->fd, 0, SEEK_END);  // devices have an end, too
    return end < 0 ? (FailWith(), -1) : end;
}

BOOL QmFile_SetEnd(HQMFILE file) {
    file->systemCalls++;
    file->windowBytes = 0;
    return ::ftruncate(file->fd, file->position) == 0 || FailWith();
}

BOOL QmFile_Flush(HQMFILE file) {
    file->systemCalls++;
    return ::fsync(file->fd) == 0 || FailWith();
}

int32_t QmFile_LastError() { return lastError; }

uint64_t QmFile_SystemCalls(HQMFILE file) { return file->systemCalls; }

}  // extern "C"

FileStamp tarn::StampOf(HQMFILE file) { return StampOf(file->fd).value_or(FileStamp{}); }
