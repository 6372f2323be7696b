#include "host/engine/mix_model.h"

#include "host/engine/audibility.h"

#include <algorithm>

namespace host {

namespace {

std::string NameOf(const Channel& channel) {
    return channel.name.empty() ? "channel " + std::to_string(channel.id) : channel.name;
}

const std::string& NameOf(const Insert& insert) { return insert.name.empty() ? insert.uri : insert.name; }

/// Parts that a soft synth is told to end the notes of.
constexpr std::ptrdiff_t kMostLeft = 16;

template <class F>
void EachInsert(const Channel& channel, F f) {
    if (channel.instrument) f(*channel.instrument);
    for (const Insert& insert : channel.inserts) f(insert);
}

}  // namespace

std::unique_ptr<MixGraph> MixModel::Build(const Session& session, const std::filesystem::path& folder,
                                          bool withPreview) {
    std::map<ChannelId, Entry> entries;
    for (const Channel& channel : session.channels) {
        Entry& entry = entries[channel.id];
        if (const auto known = m_entries.find(channel.id); known != m_entries.end())
            entry = std::move(known->second);
        entry.name = NameOf(channel);
        if (!entry.part.strip) entry.part.strip = std::make_shared<ChannelStrip>(m_sampleRate);
        TakeClips(entry, channel, folder);
        const bool wide = channel.kind == ChannelKind::Master || channel.kind == ChannelKind::AudioBus;
        TakeEffects(entry, channel,
                    wide && session.mode == ChannelMode::Surround51 ? kMaxSides : kStereoSides);
        TakeAutomation(entry, channel);
        std::map<SubId, std::shared_ptr<SendStrip>> sends;
        for (const Send& send : channel.sends) {
            auto& strip = sends[send.id] = entry.part.sends[send.id];
            if (!strip) strip = std::make_shared<SendStrip>(m_sampleRate);
        }
        entry.part.sends = std::move(sends);
    }
    m_entries = std::move(entries);
    TakeFeeders(session);
    for (const Channel& listener : session.channels) {
        if (listener.input.source != InputSource::Channel) continue;
        auto& strip = m_entries.at(listener.input.channel).part.listeners[listener.id];
        if (!strip) strip = std::make_shared<SendStrip>(m_sampleRate);
        strip->mailbox.Put({.level = 1, .linked = 1, .heard = 1});
    }
    SetLevels(session.channels);
    return MakeGraph(session, withPreview);
}

std::unique_ptr<MixGraph> MixModel::MakeGraph(const Session& session, bool withPreview) {
    std::vector<ChannelPart> parts;
    for (auto& [id, entry] : m_entries)
        for (auto& [sub, known] : entry.effects) known.latency = entry.part.effects.at(sub)->Latency();
    for (const Channel& channel : session.channels) parts.push_back(m_entries.at(channel.id).part);
    auto graph = std::make_unique<MixGraph>(session, parts, m_sampleRate, withPreview);
    for (size_t i = 0; i < parts.size(); i++)
        m_entries.at(session.channels[i].id).part.delays = std::move(parts[i].delays);
    return graph;
}

void MixModel::TakeClips(Entry& entry, const Channel& channel, const std::filesystem::path& folder) {
    std::vector<Clip> clips = channel.clips;
    for (Clip& clip : clips) clip.file = (folder / clip.file).lexically_normal().string();
    const bool same = entry.clips == clips;
    entry.clips = std::move(clips);
    if (channel.kind == ChannelKind::MidiTrack) return TakeMidi(entry, channel, folder, !same);
    if (same) return;
    entry.part.stream.reset();
    if (!channel.clips.empty())
        entry.part.stream = std::make_shared<TrackStream>(
            std::make_unique<ClipPlayer>(channel.clips, folder, m_sampleRate, m_problems), m_sampleRate);
}

// A part belongs to one instrument and one list of events: what it has sounding there is its own to end.
void MixModel::TakeMidi(Entry& entry, const Channel& channel, const std::filesystem::path& folder,
                        bool newClips) {
    const Entry::MidiWay way{channel.midi_channel, channel.output, IsPlayedOn(channel)};
    if (newClips || !entry.moments)
        entry.moments = std::make_shared<const std::vector<MidiMoment>>(
            ReadMidiClips(channel.clips, folder, m_sampleRate, m_problems));
    else if (entry.part.midi && entry.midiWay == way)
        return;
    entry.midiWay = way;
    if (way.live && !entry.live) entry.live = std::make_shared<LiveMidi>();
    entry.part.midi = std::make_shared<MidiPart>(entry.moments, way.channel, way.live ? entry.live : nullptr);
}

void MixModel::TakeFeeders(const Session& session) {
    for (const Channel& synth : session.channels) {
        if (synth.kind != ChannelKind::Synth) continue;
        std::vector<std::shared_ptr<MidiPart>> now;
        for (const Channel& track : session.channels)
            if (const auto& part = m_entries.at(track.id).part.midi; part && track.output == synth.id)
                now.push_back(part);
        Entry& entry = m_entries.at(synth.id);
        // For longer than the next graph: the audio thread may pass over some.
        auto& left = entry.part.left;
        for (const auto& part : entry.feeders)
            if (std::ranges::find(now, part) == now.end()) left.push_back(part);
        if (std::ssize(left) > kMostLeft) left.erase(left.begin(), left.end() - kMostLeft);
        entry.feeders = std::move(now);
    }
}

std::vector<LiveMidiRouter::Listener> MixModel::Listeners(const Session& session) const {
    std::vector<LiveMidiRouter::Listener> listeners;
    for (const Channel& channel : session.channels)
        if (IsPlayedOn(channel))
            listeners.push_back(
                {channel.input.midi_port, channel.input.midi_channel, m_entries.at(channel.id).live});
    return listeners;
}

void MixModel::TakeEffects(Entry& entry, const Channel& channel, size_t sides) {
    std::map<SubId, std::shared_ptr<EffectSlot>> slots;
    std::map<SubId, Known> known;
    EachInsert(channel, [&](const Insert& insert) {
        const auto before = entry.effects.find(insert.id);
        const bool same = before != entry.effects.end() && before->second.uri == insert.uri &&
                          before->second.sides == sides;
        auto& slot = slots[insert.id] =
            same ? entry.part.effects.at(insert.id) : MakeSlot(channel, insert, sides);
        if (slot->Face() && !insert.state.empty() && !(same && before->second.state == insert.state)) {
            try {
                slot->Face()->LoadState(insert.state);
            } catch (const EffectError& e) {
                m_problems.Report(entry.name + ": " + e.what());
            }
        }
        known[insert.id] = {insert.uri, insert.state, sides};
    });
    entry.part.effects = std::move(slots);
    entry.effects = std::move(known);
}

std::shared_ptr<EffectSlot> MixModel::MakeSlot(const Channel& channel, const Insert& insert, size_t sides) {
    std::vector<std::unique_ptr<Effect>> effects;
    try {
        if (!m_library) throw EffectError(NameOf(insert) + ": effects can't be loaded here");
        effects.push_back(m_library->Make(insert.uri, m_sampleRate));
        const EffectInfo& info = effects.front()->Info();
        while (info.inputs == 1 && info.outputs == 1 && effects.size() < sides)
            effects.push_back(m_library->Make(insert.uri, m_sampleRate));
    } catch (const EffectError& e) {
        effects.clear();
        m_problems.Report(NameOf(channel) + ": " + e.what());
    }
    return std::make_shared<EffectSlot>(std::move(effects), NameOf(insert), sides, m_sampleRate);
}

void MixModel::TakeAutomation(Entry& entry, const Channel& channel) {
    const bool off = channel.automation_mode == AutomationMode::Off || channel.automation.empty();
    const bool same = entry.mode == channel.automation_mode && entry.curves == channel.automation;
    if (same && (off || entry.part.lanes)) return;
    entry.mode = channel.automation_mode;
    entry.curves = channel.automation;
    entry.part.lanes.reset();
    if (off) return;
    auto lanes = std::make_shared<ChannelLanes>();
    for (const AutomationCurve& curve : channel.automation) {
        using T = AutomationTarget;
        const bool byHand = entry.mode == AutomationMode::Write || m_byHand.contains({channel.id, curve.key});
        auto lane = std::make_unique<AutomationLane>(curve, m_sampleRate, byHand);
        const T target = curve.key.target;
        if (target == T::SendLevel || target == T::SendPan || target == T::SendMute) {
            lanes->sends.emplace_back(curve.key.sub, std::move(lane));
        } else if (target == T::Bypass) {
            lanes->effects.push_back({std::move(lane), 0});
        } else if (target != T::Parameter) {
            lanes->strip.push_back(std::move(lane));
        } else if (const Effect* effect = entry.part.effects.at(curve.key.sub)->Face()) {
            const auto parameters = effect->Parameters();
            const auto at = std::ranges::find(parameters, curve.key.parameter, &EffectParameter::symbol);
            if (at != parameters.end())
                lanes->effects.push_back({std::move(lane), static_cast<size_t>(at - parameters.begin())});
            else
                m_problems.Report(entry.name + ": " + entry.part.effects.at(curve.key.sub)->Name() +
                                  " has no parameter " + curve.key.parameter);
        }
    }
    entry.part.lanes = std::move(lanes);
}

void MixModel::SetLevels(const std::vector<Channel>& channels) {
    const std::vector<Audibility> audible = AudibleChannels(channels);
    for (size_t i = 0; i < channels.size(); i++) {
        const Channel& channel = channels[i];
        const auto known = m_entries.find(channel.id);
        if (known == m_entries.end()) continue;
        ChannelPart& part = known->second.part;
        part.strip->Set(SettingsOf(channel, audible[i].output));
        for (size_t k = 0; k < channel.sends.size(); k++)
            if (const auto send = part.sends.find(channel.sends[k].id); send != part.sends.end())
                send->second->mailbox.Put(SettingsOf(channel.sends[k], audible[i].sends[k]));
        EachInsert(channel, [&](const Insert& insert) {
            const auto slot = part.effects.find(insert.id);
            const bool automated = part.lanes && part.lanes->Find({AutomationTarget::Bypass, insert.id});
            const bool instrument = channel.instrument && &insert == &*channel.instrument;
            if (slot != part.effects.end() && !automated)
                slot->second->SetBypass(insert.bypass || (channel.chain_bypass && !instrument));
        });
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

std::shared_ptr<ChannelStrip> MixModel::StripOf(ChannelId id) const {
    const auto at = m_entries.find(id);
    return at == m_entries.end() ? nullptr : at->second.part.strip;
}

template <class F>
void MixModel::EachEffect(F f) const {
    for (const auto& [id, entry] : m_entries)
        for (const auto& [sub, slot] : entry.part.effects) f(entry, sub, *slot);
}

std::shared_ptr<EffectSlot> MixModel::FindEffect(ChannelId channel, SubId id) const {
    const auto entry = m_entries.find(channel);
    if (entry == m_entries.end()) return nullptr;
    const auto slot = entry->second.part.effects.find(id);
    return slot == entry->second.part.effects.end() ? nullptr : slot->second;
}

void MixModel::ForgetEffects() {
    for (auto& [id, entry] : m_entries) entry.effects.clear();
    m_byHand.clear();
}

void MixModel::SaveStates(Session& session) {
    for (Channel& channel : session.channels) {
        const auto entry = m_entries.find(channel.id);
        if (entry == m_entries.end()) continue;
        for (auto& [id, slot] : entry->second.part.effects) {
            Insert* insert = FindInsert(channel, id);
            if (!insert || !slot->Face()) continue;
            try {
                std::string state = slot->Face()->SaveState();
                if (state.size() > kMaxStateBytes)
                    throw EffectError(slot->Name() + ": its state is too long");
                entry->second.effects[id].state = insert->state = std::move(state);
            } catch (const EffectError& e) {
                m_problems.Report(entry->second.name + ": " + e.what());
            }
        }
    }
}

std::vector<std::string> MixModel::Faults() const {
    std::vector<std::string> faults;
    EachEffect([&](const Entry& entry, SubId, const EffectSlot& slot) {
        const std::string who = entry.name + ": " + slot.Name();
        if (slot.Failed())
            faults.push_back(who + " gives what is no sound, and is silent until it is bypassed or reset");
        if (slot.LatencyIsAbsurd()) faults.push_back(who + " claims a latency that is not made up for");
        if (const std::string complaint = slot.Face() ? slot.Face()->Complaint() : std::string();
            !complaint.empty())
            faults.push_back(who + ": " + complaint);
    });
    return faults;
}

bool MixModel::LatencyChanged() const {
    bool changed = false;
    EachEffect([&](const Entry& entry, SubId id, const EffectSlot& slot) {
        const auto known = entry.effects.find(id);
        changed |= known != entry.effects.end() && slot.Latency() != known->second.latency;
    });
    return changed;
}

void MixModel::TakeByHand(ChannelId channel, const AutomationKey& key, bool on) {
    if (on)
        m_byHand.emplace(channel, key);
    else
        m_byHand.erase({channel, key});
    const auto entry = m_entries.find(channel);
    if (entry == m_entries.end() || !entry->second.part.lanes) return;
    if (AutomationLane* lane = entry->second.part.lanes->Find(key))
        lane->TakeByHand(on || entry->second.mode == AutomationMode::Write);
}

}  // namespace host
