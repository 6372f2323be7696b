#include "host/demo/demo_project.h"

#include "host/demo/demo_session.h"
#include "host/demo/piece.h"
#include "platform/file.h"

#include <cerrno>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace tarn;

namespace fs = std::filesystem;

namespace host {
namespace {
constexpr const char* kStampFile = "demo.stamp";
constexpr std::string_view kWorkPrefix = ".making-";
constexpr int kVersion = 1;  ///< to be raised when stems come out differently from the same notes
constexpr int kSampleRate = 48000;
/// Not all at the session's rate, as in projects that have grown.
const std::map<std::string_view, int> kOtherRates = {{"Strings", 44100}};

/// Holds the folder against other runs; the kernel lets go however the process ends.
class FolderLock {
public:
    explicit FolderLock(const fs::path& folder)
        : m_fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        int result = m_fd < 0 ? -1 : ::flock(m_fd, LOCK_EX);
        while (m_fd >= 0 && result != 0 && errno == EINTR) result = ::flock(m_fd, LOCK_EX);
        const int code = errno;
        if (result == 0) return;
        if (m_fd >= 0) ::close(m_fd);
        throw std::runtime_error(folder.string() + ": " + std::generic_category().message(code));
    }
    ~FolderLock() { ::close(m_fd); }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int m_fd;
};

/// What is being made lies here, and goes with the run. Each run has its own: the synthesiser of a killed one
/// may still be writing.
class WorkFolder {
public:
    explicit WorkFolder(const fs::path& project) {
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(project))
            if (entry.path().filename().string().starts_with(kWorkPrefix))
                fs::remove_all(entry.path(), ignored);
        std::string name = (project / kWorkPrefix).string() + "XXXXXX";
        if (!::mkdtemp(name.data()))
            throw std::runtime_error(project.string() + ": " + std::generic_category().message(errno));
        m_path = name;
    }
    ~WorkFolder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    const fs::path& Path() const { return m_path; }

private:
    fs::path m_path;
};

/// FNV-1a: tells versions of the piece apart, nothing more.
uint64_t Fingerprint(std::string_view bytes) {
    uint64_t hash = 0xCBF29CE484222325;
    for (char c : bytes) hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001B3;
    return hash;
}

std::string DescribeSource(const fs::path& path) {
    return path.string() + ' ' + std::to_string(fs::file_size(path)) + ' ' +
           std::to_string(fs::last_write_time(path).time_since_epoch().count()) + '\n';
}

/// The sources, and the files that came of them with their sizes. The session file counts by being there: its
/// user may have saved it. Empty when a file is missing.
std::string MakeStamp(const fs::path& folder, const DemoSources& sources, const MidiSong& piece) {
    std::string stamp = "version " + std::to_string(kVersion) + "\npiece " +
                        std::to_string(Fingerprint(FormatMidi(piece) + FormatSession(MakeDemoSession()) +
                                                   FormatSession(MakeDemoSession(ChannelMode::Surround51)))) +
                        "\n" + DescribeSource(sources.synthesiser.soundFont) + DescribeSource(sources.speech);
    std::vector<std::string> files{DemoAudioFile(kDemoVoice)};
    for (const MidiTrack& part : piece.tracks) files.push_back(DemoAudioFile(part.name));
    std::error_code ec;
    for (const std::string& file : files) {
        const auto size = fs::file_size(folder / file, ec);
        if (ec) return {};
        stamp += file + ' ' + std::to_string(size) + '\n';
    }
    for (const char* session : {kDemoSessionFile, kDemoSurroundFile})
        if (!fs::is_regular_file(folder / session, ec)) return {};
    return stamp;
}

bool IsCurrent(const fs::path& folder, const std::string& stamp) {
    std::string found, error;
    return !stamp.empty() && ReadWholeFile(folder / kStampFile, 1 << 16, found, error) && found == stamp;
}

void MakeSound(const fs::path& folder, const DemoSources& sources, const MidiSong& piece) {
    const WorkFolder work(folder);
    fs::create_directories(folder / "audio");
    fs::create_directories(folder / "midi");
    for (size_t i = 0; i < piece.tracks.size(); i++) {
        const std::string& name = piece.tracks[i].name;
        const auto other = kOtherRates.find(name);
        const fs::path stem = work.Path() / (name + ".wav");
        RenderStem(piece, i, other == kOtherRates.end() ? kSampleRate : other->second, sources.synthesiser,
                   stem);
        fs::rename(stem, folder / DemoAudioFile(name));
        fs::rename(fs::path(stem).replace_extension(".mid"), folder / DemoMidiFile(name));
    }
    fs::copy_file(sources.speech, work.Path() / "voice.wav");
    fs::rename(work.Path() / "voice.wav", folder / DemoAudioFile(kDemoVoice));
}
}  // namespace

bool MakeDemoProject(const fs::path& folder, const DemoSources& sources, bool force) {
    for (const fs::path& source : {sources.synthesiser.soundFont, sources.speech})
        if (!fs::is_regular_file(source)) throw std::runtime_error(source.string() + ": is not there");
    fs::create_directories(folder);
    const FolderLock lock(folder);
    const MidiSong piece = MakePiece();
    if (!force && IsCurrent(folder, MakeStamp(folder, sources, piece))) return false;

    // Without its stamp the project counts as unfinished.
    fs::remove(folder / kStampFile);
    MakeSound(folder, sources, piece);
    SaveSession(MakeDemoSession(), folder / kDemoSessionFile);
    SaveSession(MakeDemoSession(ChannelMode::Surround51), folder / kDemoSurroundFile);
    std::string error;
    if (!ReplaceFile(folder / kStampFile, MakeStamp(folder, sources, piece), error))
        throw std::runtime_error(error);
    return true;
}

}  // namespace host
