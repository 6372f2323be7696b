#include "host/engine/mix_model.h"

#include "host/engine/audibility.h"
#include "host/engine/gain.h"

namespace host {

std::unique_ptr<MixGraph> MixModel::Build(const Session& session, const std::filesystem::path& folder,
                                          bool withPreview) {
    std::map<ChannelId, Entry> entries;
    std::vector<MixGraph::Part> parts;
    for (const Channel& channel : session.channels) {
        Entry& entry = entries[channel.id];
        if (const auto known = m_entries.find(channel.id); known != m_entries.end()) entry = known->second;
        if (!entry.part.strip) entry.part.strip = std::make_shared<ChannelStrip>(m_sampleRate);
        std::vector<Clip> clips = channel.clips;
        for (Clip& clip : clips) clip.file = (folder / clip.file).lexically_normal().string();
        if (entry.clips != clips) {
            entry.clips = std::move(clips);
            entry.part.stream.reset();
            if (!channel.clips.empty())
                entry.part.stream = std::make_shared<TrackStream>(
                    std::make_unique<ClipPlayer>(channel.clips, folder, m_sampleRate, m_problems),
                    m_sampleRate);
        }
        parts.push_back(entry.part);
    }
    m_entries = std::move(entries);
    SetLevels(session.channels);
    return std::make_unique<MixGraph>(session.channels, parts, m_sampleRate, withPreview);
}

void MixModel::SetLevels(const std::vector<Channel>& channels) {
    const std::vector<bool> audible = AudibleChannels(channels);
    for (size_t i = 0; i < channels.size(); i++) {
        const Channel& channel = channels[i];
        const auto known = m_entries.find(channel.id);
        if (known == m_entries.end()) continue;
        const float volume = audible[i] ? GainFromDb(channel.fader_db) : 0.0f;
        const float gain = channel.phase ? -volume : volume;
        const StereoGain pan = PanGains(channel.pan);
        known->second.part.strip->SetTarget({gain * pan.left, gain * pan.right});
    }
}

std::vector<std::shared_ptr<TrackStream>> MixModel::Streams() const {
    std::vector<std::shared_ptr<TrackStream>> streams;
    for (const auto& [id, entry] : m_entries)
        if (entry.part.stream) streams.push_back(entry.part.stream);
    return streams;
}

std::vector<MixModel::Named> MixModel::Strips() const {
    std::vector<Named> strips;
    for (const auto& [id, entry] : m_entries) strips.push_back({id, entry.part.strip});
    return strips;
}

}  // namespace host
