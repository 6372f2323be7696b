#include "host/engine/render_metadata.h"

#include "host/engine/clip_player.h"
#include "mediafile/meta/broadcast.h"
#include "mediafile/meta/meta_values.h"
#include "platform/file.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <tuple>

using namespace tarn;

namespace host {

namespace {

struct CloseFile {
    void operator()(QMFILE* file) const { QmFile_Close(file); }
};
using OwnedFile = std::unique_ptr<QMFILE, CloseFile>;

struct Recording {
    uint32_t rate = 0;
    std::vector<MediaCue> cues;
};
Recording ReadRecording(const std::filesystem::path& path) {
    const OwnedFile file(QmFile_Open(WideFromPath(path).c_str(), FILE_ACCESS_READ, FILE_OPEN_EXISTING));
    if (!file) return {};
    const FileSource source(file.get());
    const MediaContents contents = InspectMedia(source);
    if (!contents.hasFormat || contents.format.format.sampleRate == 0) return {};
    return {contents.format.format.sampleRate, MetaCues(ReadMetaDocument(source, contents))};
}

class Markers {
public:
    Markers(const Session& session, const std::filesystem::path& folder, int64_t start, int64_t frames)
        : m_rate(session.sample_rate), m_start(start), m_frames(frames) {
        for (const Channel& channel : session.channels)
            if (channel.kind == ChannelKind::AudioTrack)
                for (const Clip& clip : channel.clips) Add(clip, folder);
    }

    /// In their order, each once, whatever number of tracks have the recording.
    std::vector<MediaCue> Take() {
        const auto order = [](const MediaCue& c) { return std::tie(c.position, c.label, c.note, c.length); };
        std::ranges::sort(m_cues, {}, order);
        const auto same = [&](const MediaCue& a, const MediaCue& b) { return order(a) == order(b); };
        m_cues.erase(std::unique(m_cues.begin(), m_cues.end(), same), m_cues.end());
        uint32_t id = 0;
        for (MediaCue& cue : m_cues) cue.id = ++id;
        return std::move(m_cues);
    }

private:
    void Add(const Clip& clip, const std::filesystem::path& folder) {
        const auto [found, isNew] = m_recordings.try_emplace(clip.file);
        if (isNew) found->second = ReadRecording(folder / clip.file);
        for (const MediaCue& cue : found->second.cues) {
            const double inFile = cue.position / static_cast<double>(found->second.rate),
                         inClip = inFile - clip.offset;
            const double at = std::round((clip.start + inClip) * m_rate) - static_cast<double>(m_start);
            if (inClip < 0 || inClip >= clip.length || at < 0 || at >= static_cast<double>(m_frames))
                continue;
            MediaCue moved = cue;
            moved.position = static_cast<uint32_t>(std::min(at, double{UINT32_MAX}));
            if (cue.length)
                moved.length = static_cast<uint32_t>(
                    std::min({*cue.length / static_cast<double>(found->second.rate) * m_rate,
                              (clip.length - inClip) * m_rate, static_cast<double>(m_frames) - at}));
            m_cues.push_back(std::move(moved));
        }
    }

    const double m_rate;
    const int64_t m_start, m_frames;
    std::map<std::string, Recording> m_recordings;
    std::vector<MediaCue> m_cues;
};

int16_t Hundredths(double value) {
    constexpr double MOST = 99.99;
    return static_cast<int16_t>(std::lround(std::clamp(value, -MOST, MOST) * 100));
}

}  // namespace

MetaDocument RenderMetadata(const Session& session, const std::filesystem::path& folder, int64_t start,
                            const RenderResult& result) {
    MetaDocument document;
    document.container = MediaContainer::Wave;
    SetMetaCues(document, Markers(session, folder, start, result.frames).Take());
    BroadcastInfo info;
    info.version = BroadcastInfo::VERSION;
    info.originator = "Tarn";
    info.timeReference = static_cast<uint64_t>(start);
    if (result.loudnessLufs > kSilenceDb) info.loudnessValue = Hundredths(result.loudnessLufs);
    if (result.truePeakDbtp > kSilenceDb) info.maxTruePeak = Hundredths(result.truePeakDbtp);
    const bool isStereo = session.mode == ChannelMode::Stereo;
    info.codingHistory = "A=PCM,F=" + std::to_string(session.sample_rate) +
                         ",W=24,M=" + (isStereo ? "stereo" : "multichannel") + ",T=Tarn\r\n";
    document.Set("bext", BroadcastBytes(info));
    return document;
}

std::string WriteRenderMetadata(int descriptor, const MetaDocument& metadata) {
    const OwnedFile file(QmFile_OpenDescriptor(descriptor));
    if (!file) return "its metadata cannot be written";
    const FileSource source(file.get());
    const MediaContents contents = InspectMedia(source);
    MetaDocument wanted = ReadMetaDocument(source, contents);
    for (const MetaBlock& block : metadata.blocks) wanted.Set(block.id, block.payload);
    const MetaEditPlan plan = PlanMetaEdit(source, contents, wanted);
    if (plan.IsRefused()) return "its metadata: " + plan.refusal;
    return Failed(ApplyMetaEdit(file.get(), plan)) ? "its metadata cannot be written" : std::string();
}

}  // namespace host
