// An open file as the shared functions see it.
#pragma once

#include "platform/file_handle.h"

namespace tarn {

struct FileStream {
    HQMFILE file;

    uint32_t ReadSome(void* buffer, uint32_t bytes) const {
        uint32_t got = 0;
        QmFile_Read(file, buffer, bytes, &got);
        return got;
    }
    bool Read(void* buffer, uint32_t bytes) const { return QmFile_Read(file, buffer, bytes, nullptr); }
    bool Write(const void* buffer, uint32_t bytes) const {
        return QmFile_Write(file, buffer, bytes, nullptr);
    }
    int64_t Tell() const { return QmFile_Tell(file); }
    int64_t Size() const { return QmFile_Size(file); }
    bool Seek(int64_t position) const { return QmFile_Seek(file, position, FILE_FROM_START) >= 0; }
    bool SetEnd() const { return QmFile_SetEnd(file); }
};

}  // namespace tarn
