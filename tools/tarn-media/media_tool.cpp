#include "tools/tarn-media/media_tool.h"

#include "fileio/convert/sample_source.h"
#include "mediafile/media_codes.h"
#include "platform/sole_writer.h"
#include "platform/text.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <vector>

#include <unistd.h>

using namespace tarn;

namespace fs = std::filesystem;

namespace {

struct TypeName {
    const char* name;
    QMSAMPLETYPE type;
};
constexpr TypeName TYPE_NAMES[] = {{"pcm8", QMSAMPLE_PCM8},       {"pcm16", QMSAMPLE_PCM16},
                                   {"pcm24", QMSAMPLE_PCM24},     {"pcm32", QMSAMPLE_PCM32},
                                   {"float32", QMSAMPLE_FLOAT32}, {"float64", QMSAMPLE_FLOAT64},
                                   {"signed8", QMSAMPLE_SIGNED8}, {"be16", QMSAMPLE_BE16},
                                   {"be24", QMSAMPLE_BE24},       {"be32", QMSAMPLE_BE32}};

// The unfinished files, for the handler below. A name that begins with a zero is none.
constexpr size_t MOST_UNFINISHED = 256, LONGEST_NAME = 4096;
char unfinished[MOST_UNFINISHED][LONGEST_NAME];
std::mutex unfinishedMutex;

/// An interrupted program leaves nothing behind.
extern "C" void RemoveUnfinished(int signal) {
    for (const char* name : unfinished)
        if (name[0]) ::unlink(name);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void Guard(const std::string& path) {
    if (path.size() >= LONGEST_NAME) return;  // half a name would be another file
    const std::scoped_lock lock(unfinishedMutex);
    for (char* name : unfinished) {
        if (name[0]) continue;
        std::memcpy(name + 1, path.c_str() + 1, path.size());
        name[0] = path[0];
        break;
    }
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, RemoveUnfinished);
}
void Unguard(const std::string& path) {
    const std::scoped_lock lock(unfinishedMutex);
    for (char* name : unfinished)
        if (name[0] && path == name) name[0] = 0;
}

/// Deleted when it is closed.
OwnedFile NamelessFile() {
    std::string name = (fs::temp_directory_path() / "tarn-media-XXXXXX").string();
    const int descriptor = ::mkstemp(name.data());
    if (descriptor < 0) return nullptr;
    ::unlink(name.c_str());
    OwnedFile file(QmFile_OpenDescriptor(descriptor));
    ::close(descriptor);
    return file;
}

OwnedFile StandardInput() {
    OwnedFile file = NamelessFile();
    std::vector<char> piece(1 << 20);
    while (file) {
        const ssize_t got = ::read(STDIN_FILENO, piece.data(), piece.size());
        if (got == 0) break;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 || !QmFile_Write(file.get(), piece.data(), static_cast<uint32_t>(got), nullptr))
            return nullptr;
    }
    return file;
}

void ToStandardOutput(HQMFILE file) {
    std::vector<char> piece(1 << 20);
    QmFile_Seek(file, 0, FILE_FROM_START);
    for (uint32_t got = 1; got > 0;) {
        QmFile_Read(file, piece.data(), static_cast<uint32_t>(piece.size()), &got);
        for (uint32_t done = 0; done < got;) {
            const ssize_t put = ::write(STDOUT_FILENO, piece.data() + done, got - done);
            if (put < 0 && errno != EINTR) throw std::runtime_error(std::generic_category().message(errno));
            done += static_cast<uint32_t>(std::max<ssize_t>(put, 0));
        }
    }
}

std::string SystemReason() { return std::generic_category().message(QmFile_LastError()); }

}  // namespace

int Complain(const std::string& file, const std::string& reason, int code) {
    std::fprintf(stderr, "tarn-media: %s: %s\n", file.c_str(), reason.c_str());
    return code;
}

std::string ReasonOf(HRESULT status) {
    if (status == MEDIA_E_OPEN && QmFile_LastError() == ESPIPE)
        return "it is a pipe or a device, and a file is needed";
    if (QmFile_LastError() != 0 && (status == MEDIA_E_OPEN || status == MEDIA_E_WRITE)) return SystemReason();
    return ReasonOfStatus(status);
}

OwnedFile OpenFile(const std::string& path, QmFileAccess access, QmFileCreation creation) {
    if (path == STANDARD_STREAM && access == FILE_ACCESS_READ) return StandardInput();
    return OwnedFile(QmFile_Open(WideFromPath(path).c_str(), access, creation));
}

OwnedFile OpenToEdit(const std::string& path, const FileStamp& whenRead) {
    if (!SoleWriter(path).IsSole())
        throw std::runtime_error("another program writes to it; nothing was changed");
    OwnedFile file = OpenFile(path, FILE_ACCESS_READ_WRITE, FILE_OPEN_EXISTING);
    if (!file) throw std::runtime_error(ReasonOf(MEDIA_E_OPEN));
    if (StampOf(file.get()) != whenRead)
        throw std::runtime_error("another program has written it meanwhile; nothing was changed");
    return file;
}

std::string Duration(uint64_t frames, uint32_t rate) {
    char text[64];
    const uint64_t millis = rate ? frames / rate * 1000 + frames % rate * 1000 / rate : 0;
    std::snprintf(text, sizeof text, "%" PRIu64 ":%02u:%02u.%03u", millis / 3600000,
                  static_cast<unsigned>(millis / 60000 % 60), static_cast<unsigned>(millis / 1000 % 60),
                  static_cast<unsigned>(millis % 1000));
    return text;
}

bool ParseTime(const std::string& text, TimePoint* time) {
    *time = {};
    const auto number = [](const std::string& part, auto* value) {
        const char* end = part.data() + part.size();
        const auto [at, error] = std::from_chars(part.data(), end, *value);
        return !part.empty() && error == std::errc() && at == end && *value >= 0;
    };
    if (text.ends_with('s')) {
        time->isGiven = time->isFrames = number(text.substr(0, text.size() - 1), &time->frames);
        return time->isGiven;
    }
    size_t from = 0, parts = 1;
    for (size_t colon = 0; (colon = text.find(':', from)) != text.npos; from = colon + 1, parts++) {
        uint32_t value = 0;
        if (!number(text.substr(from, colon - from), &value)) return false;
        time->seconds = (time->seconds + value) * 60;
    }
    constexpr double MOST = 1e9;  // far from where frames no longer fit
    double seconds = 0;
    time->isGiven = parts <= 3 && number(text.substr(from), &seconds) && seconds < MOST;
    time->seconds += seconds;
    return time->isGiven;
}

QMSAMPLETYPE TypeByName(const std::string& name) {
    for (const TypeName& row : TYPE_NAMES)
        if (row.name == name) return row.type;
    return QMSAMPLE_UNKNOWN;
}

std::string TypeNames() {
    std::string names;
    for (const TypeName& row : TYPE_NAMES) names += (names.empty() ? "" : ", ") + std::string(row.name);
    return names;
}

NewFile::NewFile(const std::string& target, bool mayReplace) : m_isStream(target == STANDARD_STREAM) {
    if (m_isStream) {
        m_file = NamelessFile();
        if (!m_file) throw std::runtime_error("a temporary file is needed: " + SystemReason());
        return;
    }
    std::error_code unknown;
    if (!mayReplace && fs::exists(target, unknown))
        throw std::runtime_error("is there already; --force replaces it");
    std::string error;
    if (!m_new.Open(target, error, ReplacingFile::Over::WhatWasThere)) throw std::runtime_error(error);
    m_file.reset(QmFile_OpenDescriptor(m_new.Descriptor()));
    if (!m_file) throw std::runtime_error(SystemReason());
    Guard(m_new.Aside().native());
}

NewFile::~NewFile() {
    if (!m_isStream) Unguard(m_new.Aside().native());
}

void NewFile::Commit() {
    if (m_isStream) return ToStandardOutput(m_file.get());
    m_file.reset();
    std::string error;
    const std::string aside = m_new.Aside().native();
    const bool isDone = m_new.Commit(error);
    Unguard(aside);
    if (!isDone) throw std::runtime_error(error);
}

Progress::Progress(const char* doing, uint64_t total)
    : m_doing(doing), m_total(total), m_isTerminal(::isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (m_shown != UINT64_MAX) std::fputs("\r\033[K", stderr);
}

void Progress::Show(uint64_t done) {
    if (!m_isTerminal || m_total == 0) return;
    const uint64_t percent = done * 100 / m_total;
    if (percent == m_shown) return;
    m_shown = percent;
    constexpr double MEGABYTE = 1e6;
    std::fprintf(stderr, "\r%s: %3u %% of %.0f MB", m_doing, static_cast<unsigned>(percent),
                 static_cast<double>(m_total) / MEGABYTE);
    std::fflush(stderr);
}

void CopyContent(HQMFILE from, HQMFILE to) {
    constexpr uint32_t PIECE = 1 << 20;
    std::vector<uint8_t> piece(PIECE);
    Progress progress("copying", static_cast<uint64_t>(std::max<int64_t>(QmFile_Size(from), 0)));
    QmFile_Seek(from, 0, FILE_FROM_START);
    uint64_t done = 0;
    for (uint32_t got = PIECE; got == PIECE; progress.Show(done)) {
        QmFile_Read(from, piece.data(), PIECE, &got);
        if (got < PIECE && QmFile_LastError() != 0)
            throw std::runtime_error("at " + std::to_string(done + got) + ": " + ReasonOf(MEDIA_E_READ));
        if (!QmFile_Write(to, piece.data(), got, nullptr)) throw std::runtime_error(ReasonOf(MEDIA_E_WRITE));
        done += got;
    }
    // Also where nothing was copied, so that the file is as long as what stands before.
    if (!QmFile_SetEnd(to)) throw std::runtime_error(ReasonOf(MEDIA_E_WRITE));
}
