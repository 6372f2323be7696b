#include "host/media/import.h"

#include "fileio/convert/sample_chain.h"
#include "host/engine/audio_file.h"
#include "mediafile/sample_file.h"
#include "platform/file.h"
#include "platform/file_handle.h"
#include "platform/text.h"
#include "platform/user_folders.h"

#include <algorithm>
#include <stdexcept>

using namespace tarn;

namespace fs = std::filesystem;

namespace host {
namespace {

constexpr uint32_t MOST_CHANNELS = 2;  ///< that a track plays

struct Cancelled {};

/// Where wave files are made, and what was made so far: it goes again unless it is kept.
class MadeFiles {
public:
    explicit MadeFiles(const fs::path& session) {
        const fs::path data = session.empty() ? UserDataFolder() : fs::path();
        m_folder = (session.empty() ? data / "Tarn" : session.parent_path()) / "Imported";
    }
    ~MadeFiles() {
        std::error_code ignored;
        for (const fs::path& file : m_files) fs::remove(file, ignored);
        if (m_isNewFolder) fs::remove(m_folder, ignored);  // unless something lies in it
    }
    MadeFiles(const MadeFiles&) = delete;
    MadeFiles& operator=(const MadeFiles&) = delete;

    /// A name that is free, for what is made of that file.
    fs::path NameFor(const fs::path& recording) {
        std::error_code error;
        m_isNewFolder |= fs::create_directories(m_folder, error);
        if (error) throw std::runtime_error("folder " + m_folder.string() + ": " + error.message());
        const std::string stem = recording.stem().string();
        fs::path name = m_folder / (stem + ".wav");
        for (int n = 2; fs::exists(fs::symlink_status(name, error)); n++)
            name = m_folder / (stem + " " + std::to_string(n) + ".wav");
        return name;
    }
    void Add(const fs::path& file) { m_files.push_back(file); }
    void Keep() {
        m_files.clear();
        m_isNewFolder = false;
    }

private:
    fs::path m_folder;
    std::vector<fs::path> m_files;
    bool m_isNewFolder = false;
};

void Check(HRESULT hr) {
    if (Failed(hr)) throw std::runtime_error(ReasonOfStatus(hr));
}

/// Two of as many as there are: what they mean by their speakers, else the first.
MixMatrix ForTrack(const _qmwaveformat& format) {
    if (format.channels <= MOST_CHANNELS) return MixMatrix::Same(format.channels);
    if (auto known = MixMatrix::ForChannels(format.channels, format.channelMask, MOST_CHANNELS))
        return *known;
    MixMatrix first{format.channels, MOST_CHANNELS, {}};
    first.gains.resize(size_t{first.from} * first.to);
    for (uint32_t c = 0; c < MOST_CHANNELS; c++) first.At(c, c) = 1;
    return first;
}

/// The whole of the sound as a wave file under that name. Throws std::runtime_error, and Cancelled.
void MakeWave(const PluginSound& sound, const fs::path& path, const std::function<bool(double)>& progress) {
    ChainPlan plan;
    plan.frames = sound.frames;
    plan.matrix = ForTrack(sound.format);
    plan.fromRate = plan.toRate = sound.format.sampleRate;
    plan.type =
        plan.matrix.IsSame() ? StoredType(MediaContainer::Wave, sound.format.sampleType) : QMSAMPLE_FLOAT32;
    if (plan.type == QMSAMPLE_UNKNOWN) plan.type = QMSAMPLE_FLOAT32;
    std::string error;
    ReplacingFile made;
    if (!made.Open(path, error, ReplacingFile::Over::WhatWasThere)) throw std::runtime_error(error);
    const OwnedFile file(QmFile_OpenDescriptor(made.Descriptor()));
    if (!file) Check(MEDIA_E_OPEN);
    _qmwaveformat stored{};
    stored.Init(plan.toRate, plan.type, plan.matrix.to, 0, sizeof stored);
    SampleFileGrowth growth;
    growth.mayBecomeLong = true;
    SampleFile samples(file.get(), MediaContainer::Wave, stored, growth);
    Check(samples.Begin());
    PluginSamples source(sound);
    SampleChain chain(source, plan);
    for (;;) {
        const std::vector<uint8_t>& piece = chain.NextStored();
        if (piece.empty()) break;
        Check(samples.Write(piece.data(), static_cast<uint32_t>(piece.size())));
        if (!progress(static_cast<double>(chain.FramesRead()) / static_cast<double>(plan.frames)))
            throw Cancelled{};
    }
    Check(samples.End());
    if (!made.Commit(error)) throw std::runtime_error(error);
}

double SecondsOf(const fs::path& path, int* channels = nullptr) {
    const AudioFile file(path);
    if (channels) *channels = file.Channels();
    return static_cast<double>(file.Frames()) / file.SampleRate();
}

/// Throws std::runtime_error with the reason, and Cancelled.
Recording Import(IQmFileIOMgrForApp& manager, const fs::path& path, MadeFiles& made,
                 const std::function<bool(double)>& progress) {
    const std::string name = path.stem().string();
    // As a session has it.
    if (Utf8FromUtf16(Utf16FromUtf8(path.string())) != path.string())
        throw std::runtime_error("its name is not UTF-8");
    try {
        int channels = 0;
        const double seconds = SecondsOf(path, &channels);
        if (channels <= static_cast<int>(MOST_CHANNELS)) return {name, path, seconds};
    } catch (const AudioFileError& e) {
        std::error_code unknown;
        if (e.mayPass || !fs::is_regular_file(path, unknown)) throw;
    }
    ComPtr<IQmReadFile> opened;
    PluginSound sound;
    Check(manager.OpenReader(WideFromPath(path).c_str(), opened.Out()));
    Check(sound.Open(*opened));
    const fs::path wave = made.NameFor(path);
    MakeWave(sound, wave, progress);
    made.Add(wave);
    return {name, wave, SecondsOf(wave)};
}

}  // namespace

ImportResult ImportRecordings(Project& project, IQmFileIOMgrForApp& manager,
                              const std::vector<fs::path>& files, double start,
                              const std::function<bool(double)>& progress) {
    ImportResult result;
    std::vector<Recording> recordings;
    MadeFiles made(project.Path());
    const auto share = static_cast<double>(std::max<size_t>(files.size(), 1));
    for (size_t i = 0; i < files.size(); i++) {
        const auto step = [&](double done) {
            return !progress || progress((static_cast<double>(i) + done) / share);
        };
        try {
            if (!step(0)) throw Cancelled{};
            std::error_code unknown;
            Recording recording = Import(manager, fs::absolute(files[i], unknown), made, step);
            if (!(recording.seconds > 0)) throw std::runtime_error("has no sound");
            recordings.push_back(std::move(recording));
        } catch (const Cancelled&) {
            result.cancelled = true;
            return result;
        } catch (const std::exception& e) {
            result.problems.push_back(files[i].string() + ": " + e.what());
        }
    }
    if (recordings.empty()) return result;
    if (project.AddRecordings(recordings, start)) {
        result.tracks = recordings.size();
        made.Keep();
    } else {
        result.problems.push_back(project.Refusal());
    }
    return result;
}

}  // namespace host
