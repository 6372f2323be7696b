// Session files on the disk.
#include "host/session/session.h"

#include "platform/file.h"

using namespace tarn;

namespace host {

namespace {

// The reader's faults, told with the file they are in.
template <class Action>
auto WithFileName(const std::filesystem::path& path, Action action) {
    try {
        return action();
    } catch (const SessionError& e) {
        throw SessionError(path.string(), e.place, e.reason);
    }
}

}  // namespace

Session LoadSession(const std::filesystem::path& path) {
    std::error_code ignored;
    if (std::filesystem::is_fifo(path, ignored)) throw SessionError(path.string(), {}, "is not a file");
    std::string text, error;
    if (!ReadWholeFile(path, kMaxSessionBytes, text, error)) throw SessionError({}, {}, error);
    return WithFileName(path, [&] { return ParseSession(text); });
}

void SaveSession(const Session& session, const std::filesystem::path& path) {
    const std::string text = WithFileName(path, [&] { return FormatSession(session); });
    std::string error;
    if (!ReplaceFile(path, text, error)) throw SessionError({}, {}, error);
}

}  // namespace host
