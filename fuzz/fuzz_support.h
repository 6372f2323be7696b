// A file of the given bytes for targets that read files: in memory, so that the disk is not the limit.
#pragma once

#include "platform/file_handle.h"

#include <cstdlib>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

class FuzzFile {
public:
    FuzzFile(const uint8_t* data, size_t size) : m_fd(::memfd_create("fuzz", 0)) {
        if (m_fd < 0 || ::write(m_fd, data, size) != static_cast<ssize_t>(size)) std::abort();
        const std::string name = "/proc/self/fd/" + std::to_string(m_fd);
        m_path.assign(name.begin(), name.end());
        m_file = QmFile_Open(m_path.c_str(), FILE_ACCESS_READ_WRITE, FILE_OPEN_EXISTING);
        if (!m_file) std::abort();
    }
    ~FuzzFile() {
        QmFile_Close(m_file);
        ::close(m_fd);
    }
    FuzzFile(const FuzzFile&) = delete;
    FuzzFile& operator=(const FuzzFile&) = delete;

    HQMFILE File() const { return m_file; }
    const char16_t* Path() const { return m_path.c_str(); }
    void Rewind() const { QmFile_Seek(m_file, 0, FILE_FROM_START); }

private:
    int m_fd;
    std::u16string m_path;
    HQMFILE m_file;
};
