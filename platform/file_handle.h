// Open files: positions of 64 bits, reads of any size through one window, so that a walk over small pieces is
// not a walk over system calls. Writes go to the system at once. A handle is used by one thread at a time.
#pragma once

#include "platform/types.h"

#include <memory>

namespace tarn {
struct FileStamp;
}

struct QMFILE;
typedef QMFILE* HQMFILE;

enum QmFileAccess : uint32_t { FILE_ACCESS_READ, FILE_ACCESS_READ_WRITE };

/// What becomes of a file that is there, or is not.
enum QmFileCreation : uint32_t {
    FILE_CREATE_NEW = 1,
    FILE_CREATE_ALWAYS,  ///< emptied or made
    FILE_OPEN_EXISTING,
    FILE_OPEN_ALWAYS,  ///< opened or made
    FILE_TRUNCATE_EXISTING,
};

enum QmFileOrigin : uint32_t { FILE_FROM_START, FILE_FROM_CURRENT, FILE_FROM_END };

extern "C" {

/// Null when the file cannot be opened so, for what has no positions (a folder, a pipe, a terminal), and for
/// a disk that is to be written; QmFile_LastError tells why. The path is as WideFromPath makes it.
[[nodiscard]] QM_API HQMFILE QmFile_Open(const char16_t* path, QmFileAccess access, QmFileCreation creation);
/// A handle on the file that a descriptor is open on; the descriptor stays the caller's. Null on failure.
[[nodiscard]] QM_API HQMFILE QmFile_OpenDescriptor(int descriptor);
/// What the file is open on; stays the handle's.
QM_API int QmFile_Descriptor(HQMFILE file);
/// Null is fine. False when the system lost what was written.
QM_API BOOL QmFile_Close(HQMFILE file);

/// `*got`, which may be null, is less than asked for at the end and on failure. True when all was there.
QM_API BOOL QmFile_Read(HQMFILE file, void* buffer, uint32_t bytes, uint32_t* got);
/// True when all was written.
QM_API BOOL QmFile_Write(HQMFILE file, const void* buffer, uint32_t bytes, uint32_t* put);
/// Returns the new position, which may lie behind the end, or -1, and then the old one stands. A position
/// before the start is refused.
QM_API int64_t QmFile_Seek(HQMFILE file, int64_t offset, QmFileOrigin origin);
/// -1 on failure.
QM_API int64_t QmFile_Size(HQMFILE file);
/// Cuts or extends the file to the position.
QM_API BOOL QmFile_SetEnd(HQMFILE file);
/// Waits until what was written is on the disk.
QM_API BOOL QmFile_Flush(HQMFILE file);

/// The system's number (errno) of this thread's last failure above.
QM_API int32_t QmFile_LastError();

/// System calls of the handle so far, for tests of the buffering.
QM_API uint64_t QmFile_SystemCalls(HQMFILE file);

}  // extern "C"

namespace tarn {
struct CloseFile {
    void operator()(QMFILE* file) const { QmFile_Close(file); }
};
using OwnedFile = std::unique_ptr<QMFILE, CloseFile>;

/// Of platform/file.h, as it is now. [any-thread]
QM_API FileStamp StampOf(HQMFILE file);
}  // namespace tarn

inline int64_t QmFile_Tell(HQMFILE file) { return QmFile_Seek(file, 0, FILE_FROM_CURRENT); }
