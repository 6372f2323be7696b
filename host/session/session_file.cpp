// Session files on the disk.
#include "host/session/session.h"

#include "platform/file.h"

#include <nlohmann/json.hpp>

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

// Whether the file is a session of version 1. What can't be read as one is nothing that is worth keeping.
bool IsVersion1(const std::filesystem::path& path) {
    std::string text, error;
    if (!std::filesystem::is_regular_file(path) || !ReadWholeFile(path, kMaxSessionBytes, text, error))
        return false;
    const auto onlyVersion = [](int depth, nlohmann::json::parse_event_t event, nlohmann::json& value) {
        return depth == 0 ||
               (depth == 1 && (event != nlohmann::json::parse_event_t::key || value == "version"));
    };
    const auto document = nlohmann::json::parse(text, onlyVersion, false);
    return document.is_object() && document.contains("version") && document["version"] == 1;
}

// A second name for the old file: replacing the first one leaves it as it was.
void KeepVersion1(const std::filesystem::path& path) {
    std::error_code error;
    const std::filesystem::path old = std::filesystem::canonical(path, error);
    if (error || !IsVersion1(old)) return;
    std::filesystem::path kept = path;
    kept += ".v1";
    if (std::filesystem::exists(std::filesystem::symlink_status(kept, error))) return;
    std::filesystem::create_hard_link(old, kept, error);
    if (error) std::filesystem::copy_file(old, kept, error);
    if (error) throw SessionError(kept.string(), {}, "cannot keep the old session: " + error.message());
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
    KeepVersion1(path);
    std::string error;
    if (!ReplaceFile(path, text, error)) throw SessionError({}, {}, error);
}

}  // namespace host
