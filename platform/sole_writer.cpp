#include "platform/sole_writer.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace tarn {

SoleWriter::SoleWriter(const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return;
    // A lease for reading is given only while nobody has the file open for writing.
    m_isSole = ::fcntl(fd, F_SETLEASE, F_RDLCK) == 0 || errno != EAGAIN;
    ::fcntl(fd, F_SETLEASE, F_UNLCK);
    ::close(fd);
}

}  // namespace tarn
