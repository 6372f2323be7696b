#include "platform/named_lock.h"

#include "platform/user_folders.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace tarn {

namespace {
/// That of the user's session where there is one, since it is empty again at the next.
std::filesystem::path Folder() {
    if (const char* session = std::getenv("XDG_RUNTIME_DIR"); session && session[0] == '/')
        if (::access(session, W_OK) == 0) return session;
    return UserCacheFolder();
}
}  // namespace

NamedLock::NamedLock(std::string_view name) : m_fd(-1) {
    const std::filesystem::path folder = Folder();
    if (folder.empty()) return;
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    std::string file(name);
    for (char& c : file)
        if (c == '/' || c == '\\') c = ' ';
    m_fd = ::open((folder / (file + ".lock")).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    while (m_fd >= 0 && ::flock(m_fd, LOCK_EX) != 0) {
        if (errno == EINTR) continue;
        ::close(m_fd);
        m_fd = -1;
    }
}

NamedLock::~NamedLock() {
    if (m_fd >= 0) ::close(m_fd);
}

}  // namespace tarn
