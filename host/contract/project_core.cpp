#include "host/contract/project_core.h"

#include "host/contract/channel_copies.h"
#include "host/contract/channel_parts.h"
#include "host/contract/channel_words.h"
#include "host/effects/effect.h"
#include "host/session/rule_checker.h"

#include <algorithm>
#include <cmath>

using namespace tarn;

namespace host {
namespace {

constexpr float SILENCE = 1e-5f;  // -100 dB: nothing of it shows

/// Position in the session's list of the index-th channel of a row, or where the row ends.
size_t PlaceInRow(const std::vector<Channel>& channels, ChannelKind kind, size_t index) {
    size_t end = IsTrack(kind) ? 0 : channels.size();
    size_t seen = 0;
    for (size_t i = 0; i < channels.size(); i++) {
        if (!ShareRow(channels[i].kind, kind)) continue;
        if (seen++ == index) return i;
        end = i + 1;
    }
    return end;
}

/// At the ends of their rows, and nothing else selected.
void InsertCopies(std::vector<Channel> made, std::vector<Channel>& channels) {
    for (Channel& other : channels) other.selected = false;
    for (Channel& channel : made) {
        const size_t at = PlaceInRow(channels, channel.kind, SIZE_MAX);
        channels.insert(channels.begin() + static_cast<std::ptrdiff_t>(at), std::move(channel));
    }
}

/// A clip's file relative to another folder. Throws SessionError: a session that names another file than it
/// plays must not be written.
std::string SeenFrom(const std::filesystem::path& folder, const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::path seen = std::filesystem::proximate(file, folder.empty() ? "." : folder, error);
    if (error) throw SessionError(file.string(), {}, error.message());
    return seen.generic_string();
}

ChannelId FirstOf(const Session& session, ChannelKind kind) {
    const auto at = std::ranges::find(session.channels, kind, &Channel::kind);
    return at == session.channels.end() ? kNoChannel : at->id;
}

/// Where a new channel of that kind goes to.
ChannelId FirstOutput(const Session& session, ChannelKind kind) {
    return FirstOf(session, kind == ChannelKind::MidiTrack ? ChannelKind::Synth : ChannelKind::Master);
}

/// Leaves nothing that leads to or from a channel that goes: what fed it by its output feeds what it fed.
void Detach(Channel& channel, const Channel& gone) {
    if (channel.output == gone.id)
        channel.output = channel.kind == ChannelKind::MidiTrack ? kNoChannel : gone.output;
    if (const Send* send = SendTo(channel, gone.id)) RemovePart(channel, send->id);
    if (channel.input.channel == gone.id) channel.input = {};
}

std::optional<size_t> FindParameter(const Effect& effect, const std::string& symbol) {
    const std::span<const EffectParameter> all = effect.Parameters();
    const auto at = std::ranges::find(all, symbol, &EffectParameter::symbol);
    return at == all.end() ? std::nullopt : std::optional(static_cast<size_t>(at - all.begin()));
}

const EffectInfo* FindInfo(const std::vector<EffectInfo>& list, const std::string& uri) {
    const auto at = std::ranges::find(list, uri, &EffectInfo::uri);
    return at == list.end() ? nullptr : &*at;
}

}  // namespace

ProjectCore::ProjectCore(EngineOptions options, std::unique_ptr<MidiDriver> driver, const HostFace& shownAs)
    : effects(options.effects), face(shownAs), engine(std::move(options)),
      m_writer([this](ChannelId channel, const AutomationKey& key, bool on) {
          engine.TakeByHand(channel, key, on);
      }) {
    if (!driver) return;
    midi = std::make_unique<MidiPorts>(
        std::move(driver), [this](std::vector<ReceivedEvent>& events) { TakeEvents(events); },
        [this] {
            m_portsMayDiffer = true;
            SendNotify(MPNOTIFY_PORTS);
            MPCHANNELID all{};
            TellChannel(CHANGE_CTRL_REPLACED, all, KIND_MIDI_PORT_ENTRY);
        });
}

void ProjectCore::AddFilter(IMPEventFilter* filter) {
    std::lock_guard lock(m_filterLock);
    m_filters.emplace_back(filter);
}

void ProjectCore::RemoveFilter(IMPEventFilter* filter) {
    std::lock_guard lock(m_filterLock);
    std::erase_if(m_filters, [filter](const auto& f) { return f.Get() == filter; });
}

// The first plug-in that takes an event keeps it from the others, and from the tracks.
void ProjectCore::TakeEvents(std::vector<ReceivedEvent>& events) {
    MPFILTERINFO info{};
    info.capabilities = ~(FILTER_PEEK_ONLY | FILTER_NOT_TO_PAGE);
    {
        std::lock_guard lock(m_filterLock);
        for (const ComPtr<IMPEventFilter>& filter : m_filters) {
            EventStream stream(events);
            filter->FilterEvents(&stream, &info);
        }
    }
    const std::vector<MidiPort> ports = midi->Inputs();
    for (const ReceivedEvent& event : events) {
        if (event.consumed || !event.event.data.empty()) continue;
        const auto port = std::ranges::find(ports, event.port, &MidiPort::id);
        if (port != ports.end()) engine.PlayLive(port->name, MidiBytes(event.event.rec));
    }
}

void ProjectCore::FollowMidiPorts() {
    if (!midi || !m_portsMayDiffer.exchange(false)) return;
    const std::vector<MidiPort> ports = midi->Inputs();
    std::set<uint64_t> played;
    Read([&](const Session& session) {
        for (const Channel& channel : session.channels)
            for (const MidiPort& port : ports)
                if (IsPlayedOn(channel) &&
                    (channel.input.midi_port.empty() || channel.input.midi_port == port.name))
                    played.insert(port.id);
    });
    for (const uint64_t port : played)
        if (!m_playedPorts.contains(port)) midi->Use(PORTS_INPUT, port);
    for (const uint64_t port : m_playedPorts)
        if (!played.contains(port)) midi->Leave(PORTS_INPUT, port);
    m_playedPorts = std::move(played);
}

void ProjectCore::SetTexts(HostTexts texts) {
    std::lock_guard lock(m_lock);
    m_texts = std::make_shared<HostTexts>(std::move(texts));
}

std::shared_ptr<const HostTexts> ProjectCore::Texts() const {
    std::lock_guard lock(m_lock);
    return m_texts;
}

void ProjectCore::ApplyToEngine() {
    engine.SetSession(m_session, m_path.parent_path());
    m_portsMayDiffer = true;
}

void ProjectCore::Replace(Session session, const std::filesystem::path& path) {
    CheckSession(session);
    {
        std::lock_guard lock(m_lock);
        const Session old = std::exchange(m_session, std::move(session));
        const std::filesystem::path oldPath = std::exchange(m_path, path);
        try {
            engine.Forget();
            ApplyToEngine();
        } catch (...) {
            m_session = old;
            m_path = oldPath;
            throw;
        }
        m_modified = false;
        m_undo.Clear();
        engine.SetMonitoring(m_session.monitoring);
    }
    m_writer.Forget();
    m_shuttle = 0;
    engine.Stop();
    engine.Locate(0);
    std::lock_guard lock(m_levelLock);
    m_levels.clear();
}

std::filesystem::path ProjectCore::Path() const {
    std::lock_guard lock(m_lock);
    return m_path;
}

void ProjectCore::SaveAs(const std::filesystem::path& path) {
    std::lock_guard lock(m_lock);
    Session session = m_session;
    engine.SaveStates(session);
    const std::filesystem::path from = m_path.parent_path(), to = path.parent_path();
    UndoList undo = m_undo;
    if (from != to) {
        const auto move = [&](Channel& channel) {
            for (Clip& clip : channel.clips) clip.file = SeenFrom(to, from / clip.file);
        };
        std::ranges::for_each(session.channels, move);
        undo.EachChannel(move);
    }
    SaveSession(session, path);
    m_undo = std::move(undo);
    m_session = std::move(session);
    m_path = path;
    m_modified = false;
    ApplyToEngine();
}

Session ProjectCore::WithStates() {
    std::lock_guard lock(m_lock);
    // Kept: what the session holds and what the engine took last stay the same, or the next edit would bring
    // an older state back.
    engine.SaveStates(m_session);
    return m_session;
}

void ProjectCore::KeepStates(ChannelId id) {
    Channel* channel = FindChannel(m_session, id);
    if (!channel || (channel->inserts.empty() && !channel->instrument)) return;
    Session alone;
    alone.channels.push_back(*channel);
    engine.SaveStates(alone);
    *channel = std::move(alone.channels[0]);
}

// Edits
// ----------------------------------------------------------------------------------------------------------

std::string ProjectCore::Refusal() const {
    std::lock_guard lock(m_lock);
    return m_refusal;
}

HRESULT ProjectCore::Refuse(const std::string& reason) {
    std::lock_guard lock(m_lock);
    m_refusal = reason;
    return E_INVALIDARG;
}

ProjectCore::Told ProjectCore::WhatChanged(const Session& session, const Channel& before,
                                           const Channel& after) {
    return {after.id, KindWord(session, after),
            IsWide(session, after.kind) && after.kind == ChannelKind::Master, ChangesBetween(before, after)};
}

void ProjectCore::Tell(const Told& told) {
    for (const SubChange& sub : told.changes.subs)
        TellChannel(sub.flags, {told.id, sub.id, 0}, sub.flags == CHANGE_ATTRIBUTES ? sub.groups : told.kind);
    const uint32_t groups = told.changes.groups;
    if (groups) TellChannel(CHANGE_ATTRIBUTES, {told.id, 0, 0}, groups);
    if (told.wide && (groups & (MASK_VOLUME | MASK_SWITCHES)))
        for (size_t slot = 0; slot < std::size(COMPANION_PAIRS); slot++)
            TellChannel(CHANGE_ATTRIBUTES, {CompanionId(told.id, slot), 0, 0}, groups);
}

HRESULT ProjectCore::EditChannel(ChannelId id, const Edit& edit) {
    Told told;
    {
        std::lock_guard lock(m_lock);
        Channel* channel = FindChannel(m_session, id);
        if (!channel) return S_FALSE;
        const Channel before = *channel;
        Channel after = before;
        edit(after);
        told = WhatChanged(m_session, before, after);
        if (!told.changes.anything) return S_OK;
        *channel = std::move(after);
        try {
            if (told.changes.levelsOnly) {
                CheckChannel(*channel, before.name);
                if (told.changes.heard) engine.SetLevels(m_session.channels);
            } else {
                CheckSession(m_session);
                ApplyToEngine();
            }
        } catch (const SessionError& e) {
            *channel = before;
            m_refusal = e.reason;
            return E_INVALIDARG;
        }
        if (told.changes.matters) {  // what is selected is no work to be saved
            m_modified = true;
            m_undo.Record({.kind = told.changes.kind, .before = {before}, .after = {*channel}},
                          UndoList::Clock::now());
        }
    }
    Tell(told);
    return S_OK;
}

void ProjectCore::TellDifferences(const Session& was, const Session& is) {
    const auto tellOf = [this](const Session& session, const Channel& channel, uint32_t flags) {
        const uint32_t word = KindWord(session, channel);
        TellChannel(flags, {channel.id, 0, 0}, word);
        if (IsTrack(channel.kind)) SendNotify(MPNOTIFY_OBJECT, flags, LEVEL_TRACK, channel.id, word);
    };
    for (const Channel& channel : was.channels)
        if (!FindChannel(is, channel.id)) tellOf(was, channel, CHANGE_REMOVED);
    for (const Channel& channel : is.channels)
        if (!FindChannel(was, channel.id)) tellOf(is, channel, CHANGE_ADDED);
    for (const Channel& channel : is.channels)
        if (const Channel* before = FindChannel(was, channel.id); before && *before != channel)
            Tell(WhatChanged(is, *before, channel));
    for (const Channel& channel : is.channels)
        if (FindChannel(was, channel.id) && OrderIndex(was, channel.id) != OrderIndex(is, channel.id))
            TellChannel(CHANGE_ATTRIBUTES, {channel.id, 0, 0}, MASK_IDENTITY);
}

HRESULT ProjectCore::ChangeChannels(const Change& change, const Keep& keep) {
    Session was, is;
    {
        std::lock_guard lock(m_lock);
        was = m_session;
        try {
            if (!change(m_session.channels)) {
                m_session.channels = std::move(was.channels);
                return S_FALSE;
            }
            CheckSession(m_session);
            ApplyToEngine();
        } catch (const SessionError& e) {
            m_session = std::move(was);
            m_refusal = e.reason;
            return E_INVALIDARG;
        }
        m_modified = true;
        keep(was.channels);
        is = m_session;
    }
    TellDifferences(was, is);
    return S_OK;
}

ProjectCore::Keep ProjectCore::Record(EditKind kind) {
    return [this, kind](const std::vector<Channel>& was) {
        m_undo.Record(StepBetween(kind, was, m_session.channels), UndoList::Clock::now());
    };
}

ChannelId ProjectCore::AddChannel(ChannelKind kind, const std::string& name, size_t index) {
    if (kind == ChannelKind::Master || kind == ChannelKind::PreviewBus) return kNoChannel;
    Channel channel{.kind = kind, .name = name};
    const auto add = [&](std::vector<Channel>& channels) {
        for (const Channel& other : channels) channel.id = std::max(channel.id, other.id);
        channel.id++;
        channel.output = FirstOutput(m_session, kind);
        channel.colour = static_cast<uint32_t>(channels.size() % kTrackColours);
        if (kind == ChannelKind::InputBus || kind == ChannelKind::MidiTrack)
            channel.input.source = InputSource::Device;
        const size_t at = PlaceInRow(channels, kind, index);
        channels.insert(channels.begin() + static_cast<std::ptrdiff_t>(at), channel);
        return true;
    };
    return ChangeChannels(add, Record(EditKind::AddChannel)) == S_OK ? channel.id : kNoChannel;
}

std::vector<Channel> ProjectCore::CopySelected() {
    std::lock_guard lock(m_lock);
    std::vector<Channel> copied;
    for (const Channel& channel : m_session.channels) {
        if (!channel.selected || channel.kind == ChannelKind::Master ||
            channel.kind == ChannelKind::PreviewBus)
            continue;
        KeepStates(channel.id);
        copied.push_back(channel);
    }
    return copied;
}

HRESULT ProjectCore::PasteChannels(const std::vector<Channel>& copied) {
    if (copied.empty()) return S_FALSE;
    const auto paste = [&](std::vector<Channel>& channels) {
        InsertCopies(CopiesOf(copied, channels, FirstOutput(m_session, ChannelKind::AudioTrack)), channels);
        return true;
    };
    return ChangeChannels(paste, Record(EditKind::AddChannel));
}

HRESULT ProjectCore::AddRecordings(const std::vector<Recording>& recordings, double start) {
    double before = 0;
    const auto add = [&](std::vector<Channel>& channels) {
        before = m_session.length;
        std::vector<Channel> tracks;
        ChannelId last = kNoChannel;
        for (const Channel& other : channels) last = std::max(last, other.id);
        for (const Recording& recording : recordings) {
            Channel track{.id = ++last, .name = recording.name};
            track.output = FirstOutput(m_session, ChannelKind::AudioTrack);
            track.colour = static_cast<uint32_t>((channels.size() + tracks.size()) % kTrackColours);
            const std::filesystem::path folder = m_path.parent_path();
            track.clips.push_back({SeenFrom(folder, recording.file), start, 0, recording.seconds, 0});
            tracks.push_back(std::move(track));
            m_session.length = std::max(m_session.length, start + recording.seconds);
        }
        InsertCopies(CopiesOf(std::move(tracks), channels, kNoChannel), channels);
        return !recordings.empty();
    };
    return ChangeChannels(add, [&](const std::vector<Channel>& was) {
        EditStep step = StepBetween(EditKind::Import, was, m_session.channels);
        step.lengthBefore = before;
        step.lengthAfter = m_session.length;
        m_undo.Record(std::move(step), UndoList::Clock::now());
    });
}

HRESULT ProjectCore::RemoveChannel(ChannelId id) {
    bool stays = false;
    {
        std::lock_guard lock(m_lock);
        KeepStates(id);
    }
    const HRESULT hr = ChangeChannels(
        [&](std::vector<Channel>& channels) {
            const auto at = std::ranges::find(channels, id, &Channel::id);
            if (at == channels.end()) return false;
            stays = at->kind == ChannelKind::Master || at->kind == ChannelKind::PreviewBus;
            if (stays) return false;
            const Channel gone = *at;
            channels.erase(at);
            for (Channel& other : channels) Detach(other, gone);
            return true;
        },
        Record(EditKind::RemoveChannel));
    return stays ? Refuse("master and preview bus stay") : hr;
}

bool ProjectCore::MoveChannel(ChannelId id, size_t index) {
    return ChangeChannels(
               [&](std::vector<Channel>& channels) {
                   const auto from = std::ranges::find(channels, id, &Channel::id);
                   if (from == channels.end() || from->kind == ChannelKind::Master ||
                       from->kind == ChannelKind::PreviewBus)
                       return false;
                   Channel moved = std::move(*from);
                   channels.erase(from);
                   const size_t at = PlaceInRow(channels, moved.kind, index);
                   channels.insert(channels.begin() + static_cast<std::ptrdiff_t>(at), std::move(moved));
                   return true;
               },
               Record(EditKind::MoveChannel)) == S_OK;
}

void ProjectCore::RecordMove(EditKind kind, EffectMove move) {
    m_modified = true;
    const std::lock_guard lock(m_lock);
    EditStep step{.kind = kind};
    step.moves.push_back(std::move(move));
    m_undo.Record(std::move(step), UndoList::Clock::now());
}

// An effect that does not run any more has nothing to take back.
HRESULT ProjectCore::UndoMoves(const std::vector<EffectMove>& moves, bool redo) {
    HRESULT hr = S_OK;
    for (const EffectMove& move : moves) {
        const auto& [channel, effect, symbol] = move.part;
        const std::shared_ptr<Effect> running = FindEffect(channel, effect);
        if (!running) continue;
        m_modified = true;
        if (symbol.empty()) {
            try {
                running->LoadState(redo ? move.stateAfter : move.stateBefore);
                TellChannel(CHANGE_ATTRIBUTES, {channel, effect, 0}, MASK_EFFECT_STATE);
            } catch (const EffectError& e) {
                hr = Refuse(e.what());
            }
        } else if (const auto parameter = FindParameter(*running, symbol)) {
            running->SetValue(*parameter, redo ? move.valueAfter : move.valueBefore);
            TellChannel(CHANGE_ATTRIBUTES, {channel, effect, *parameter + 1}, MASK_VOLUME);
        }
    }
    return hr;
}

HRESULT ProjectCore::Undo(bool redo) {
    for (;;) {
        std::vector<EffectMove> moves;
        {
            std::lock_guard lock(m_lock);
            if (const EditStep* step = m_undo.Next(redo)) {
                moves = step->moves;
                for (const Channel& channel : redo ? step->before : step->after) KeepStates(channel.id);
            }
            if (!moves.empty()) m_undo.Done(redo);
        }
        if (!moves.empty()) return UndoMoves(moves, redo);
        bool moved = false;  // a parameter, by another hand since
        const HRESULT hr = ChangeChannels(
            [&](std::vector<Channel>& channels) {
                const EditStep* step = m_undo.Next(redo);
                moved = step && !step->moves.empty();
                if (!step || moved) return false;
                if (step->lengthBefore != step->lengthAfter)
                    m_session.length = redo ? step->lengthAfter : step->lengthBefore;
                channels = m_undo.Changed(redo, std::move(channels));
                return true;
            },
            [&](const std::vector<Channel>&) { m_undo.Done(redo); });
        if (!moved) return hr;
    }
}

std::optional<EditKind> ProjectCore::NextUndo(bool redo) const {
    std::lock_guard lock(m_lock);
    const EditStep* step = m_undo.Next(redo);
    return step ? std::optional(step->kind) : std::nullopt;
}

void ProjectCore::SetMonitoring(const Monitoring& monitoring) {
    {
        std::lock_guard lock(m_lock);
        if (m_session.monitoring == monitoring) return;
        m_session.monitoring = monitoring;
        engine.SetMonitoring(monitoring);
        m_modified = true;
    }
    SendControl(MPCTRL_BUSY);
}

// Parts of a channel
// ----------------------------------------------------------------------------------------------------------

HRESULT ProjectCore::InsertEffect(ChannelId id, const std::string& uri, size_t place, SubId* made) {
    if (!effects) return Refuse("this host has no effects");
    const std::vector<EffectInfo> list = effects->List();
    const EffectInfo* info = FindInfo(list, uri);
    try {
        // Made once for nothing, so that what can't be had does not get into a chain.
        effects->Make(uri, Read([](const Session& s) { return s.sample_rate; }));
    } catch (const EffectError& e) {
        return Refuse(e.what());
    }
    const std::string name = info ? info->name : uri;
    const bool instrument = info && info->instrument;
    bool fits = true;
    const HRESULT hr = EditChannel(id, [&](Channel& channel) {
        fits = instrument ? channel.kind == ChannelKind::Synth : TraitsOf(channel.kind).audio;
        if (!fits) return;
        *made = FreeSub(channel);
        Insert insert{.id = *made, .uri = uri, .name = name};
        if (instrument) {
            if (channel.instrument) host::RemovePart(channel, channel.instrument->id);
            channel.instrument = std::move(insert);
            return;
        }
        place = std::min(place, channel.inserts.size());
        channel.inserts.insert(channel.inserts.begin() + static_cast<std::ptrdiff_t>(place),
                               std::move(insert));
    });
    if (fits) return hr;
    return Refuse(instrument ? name + " is an instrument, which belongs on a soft synth"
                             : "this kind of channel has no effects");
}

HRESULT ProjectCore::AddSend(ChannelId id, ChannelId target, SubId* made) {
    bool twice = false;
    const HRESULT hr = EditChannel(id, [&](Channel& channel) {
        twice = SendTo(channel, target);
        if (twice) return;
        *made = FreeSub(channel);
        channel.sends.push_back({.id = *made, .target = target});
    });
    return twice ? Refuse("it has a send there already") : hr;
}

HRESULT ProjectCore::RemovePart(ChannelId id, SubId part) {
    {
        std::lock_guard lock(m_lock);
        KeepStates(id);
    }
    bool gone = false;
    const HRESULT hr = EditChannel(id, [&](Channel& channel) { gone = host::RemovePart(channel, part); });
    return hr == S_OK && !gone ? S_FALSE : hr;
}

HRESULT ProjectCore::MoveEffect(ChannelId id, SubId effect, size_t place) {
    bool moved = false;
    const HRESULT hr =
        EditChannel(id, [&](Channel& channel) { moved = MoveInChain(channel, effect, place); });
    return hr == S_OK && !moved ? S_FALSE : hr;
}

HRESULT ProjectCore::SetParameter(ChannelId id, SubId effect, size_t parameter, float value) {
    const std::shared_ptr<Effect> running = FindEffect(id, effect);
    if (!running || parameter >= running->Parameters().size()) return S_FALSE;
    const EffectParameter& what = running->Parameters()[parameter];
    if (what.shown || !std::isfinite(value)) return E_INVALIDARG;
    const float before = running->Value(parameter);
    running->SetValue(parameter, value);
    if (const float after = running->Value(parameter); after != before)
        RecordMove(EditKind::Parameter,
                   {.part = {id, effect, what.symbol}, .valueBefore = before, .valueAfter = after});
    Moved(id, {AutomationTarget::Parameter, effect, what.symbol},
          std::clamp(double{value}, double{what.minimum}, double{what.maximum}));
    TellChannel(CHANGE_ATTRIBUTES, {id, effect, parameter + 1}, MASK_VOLUME);
    return S_OK;
}

HRESULT ProjectCore::LoadPreset(ChannelId id, SubId effect, size_t preset) {
    const std::shared_ptr<Effect> running = FindEffect(id, effect);
    if (!running || preset >= running->Presets().size()) return S_FALSE;
    try {
        EffectMove move{.part = {id, effect}, .stateBefore = running->SaveState()};
        running->LoadPreset(preset);
        move.stateAfter = running->SaveState();
        RecordMove(EditKind::Preset, std::move(move));
    } catch (const EffectError& e) {
        return Refuse(e.what());
    }
    TellChannel(CHANGE_ATTRIBUTES, {id, effect, 0}, MASK_EFFECT_STATE);
    return S_OK;
}

// Automation
// ----------------------------------------------------------------------------------------------------------

std::optional<double> ProjectCore::Shown(const Channel& channel, const AutomationKey& key) const {
    if (m_writer.IsHeld(channel.id, key)) return SettingOf(channel, key);
    return ValueAt(channel, key, channel.automation.empty() ? 0 : engine.Transport().seconds);
}

void ProjectCore::Touch(ChannelId id, const AutomationKey& key, bool on) {
    AutomationMode mode = AutomationMode::Off;
    std::optional<double> before;
    Read([&](const Session& s) {
        const Channel* channel = FindChannel(s, id);
        if (!channel) return;
        mode = channel->automation_mode;
        before = SettingOf(*channel, key);
    });
    if (const auto effect = key.target == AutomationTarget::Parameter ? FindEffect(id, key.sub) : nullptr) {
        if (const auto parameter = FindParameter(*effect, key.parameter)) before = effect->Value(*parameter);
        const std::lock_guard lock(m_lock);
        m_undo.Hold({id, key.sub, key.parameter}, on);
    }
    m_writer.Touch(id, key, mode, on, before);
}

void ProjectCore::Moved(ChannelId id, const AutomationKey& key, std::optional<double> value) {
    const TransportState transport = engine.Transport();
    AutomationMode mode = AutomationMode::Off;
    Read([&](const Session& s) {
        const Channel* channel = FindChannel(s, id);
        if (!channel) return;
        mode = channel->automation_mode;
        if (!value) value = SettingOf(*channel, key);
    });
    if (value) m_writer.Move(id, key, mode, *value, transport.seconds, transport.playing);
}

void ProjectCore::WriteAutomation() {
    const TransportState transport = engine.Transport();
    // What a channel that writes has is written over from the first moment on.
    if (transport.playing && !std::exchange(m_writerPlayed, transport.playing))
        Read([&](const Session& session) {
            for (const Channel& channel : session.channels)
                for (const AutomationCurve& curve : channel.automation)
                    if (const auto value = SettingOf(channel, curve.key);
                        value && channel.automation_mode == AutomationMode::Write)
                        m_writer.Move(channel.id, curve.key, AutomationMode::Write, *value, transport.seconds,
                                      true);
        });
    m_writerPlayed = transport.playing;
    if (m_writer.IsIdle()) return;
    m_writer.Tick(transport.seconds, transport.playing);
    for (const AutomationWriter::Stretch& stretch : m_writer.TakeComplete())
        EditChannel(stretch.channel, [&](Channel& channel) {
            WriteStretch(channel, stretch.key, stretch.points, stretch.before);
        });
}

void ProjectCore::ChangeTransport(const std::function<void(Engine&)>& change) {
    change(engine);
    {
        std::lock_guard lock(m_lock);
        m_session.loop = engine.Transport().loop;
    }
    if (engine.Transport().playing) m_shuttle = 0;
    SendControl(MPCTRL_TRANSPORT);
}

void ProjectCore::Shuttle(double speed) {
    if (speed != 0 && engine.Transport().playing) ChangeTransport([](Engine& e) { e.Stop(); });
    m_shuttle = speed;
}

void ProjectCore::Wind(double elapsed) {
    const double speed = m_shuttle;
    if (speed == 0) return;
    const double length = Read([](const Session& session) { return session.length; });
    const double from = engine.Transport().seconds;
    const double to = std::clamp(from + speed * elapsed, 0.0, std::max(from, length));
    if (to == from) return;
    engine.Locate(to);
    SendControl(MPCTRL_JOG);
}

ShownLevels ProjectCore::Levels(ChannelId id) const {
    std::lock_guard lock(m_levelLock);
    const auto at = m_levels.find(id);
    return at == m_levels.end() ? ShownLevels() : at->second;
}

void ProjectCore::ResetPeaks() {
    engine.TakeMeters();  // what has not been taken belongs to the past as well
    std::lock_guard lock(m_levelLock);
    for (auto& row : m_levels) row.second.highest = {};
}

bool ProjectCore::UpdateLevels(double elapsed) {
    constexpr double FALL_DB_A_SECOND = 20.0 / 1.7;
    const auto fall = static_cast<float>(std::pow(10.0, -FALL_DB_A_SECOND * elapsed / 20.0));
    const std::vector<ChannelMeter> meters = engine.TakeMeters();
    bool showing = false;
    std::lock_guard lock(m_levelLock);
    const std::map<ChannelId, ShownLevels> old = std::exchange(m_levels, {});
    for (const ChannelMeter& meter : meters) {
        ShownLevels& shown = m_levels[meter.id];
        if (const auto known = old.find(meter.id); known != old.end()) shown = known->second;
        for (size_t side = 0; side < kMaxSides; side++) {
            const float before = shown.peak[side];
            float peak = std::max(meter.reading.peak[side], before * fall);
            if (peak < SILENCE) peak = 0;
            shown.peak[side] = peak;
            shown.vu[side] = meter.reading.vu[side];
            shown.highest[side] = std::max(shown.highest[side], meter.reading.peak[side]);
            showing |= peak != 0 || before != 0;  // the fall to nothing is shown too
        }
    }
    return showing;
}

void ProjectCore::SendControl(const GUID& id, uint32_t flags, uint32_t kindMask, uint32_t seat) {
    MPCTRLREC rec{};
    rec.id = id;
    rec.flags = flags;
    rec.kindMask = kindMask;
    controlSinks.Send<IMPCtrlChannelSink>([&](IMPCtrlChannelSink& sink) { sink.OnControl(&rec); }, seat);
}

void ProjectCore::TellChannel(uint32_t flags, const MPCHANNELID& object, uint32_t kindMask) {
    MPCTRLREC rec{};
    rec.id = MPCTRL_CHANNEL;
    rec.flags = flags;
    rec.kindMask = kindMask;
    // Without a channel: the list of entries of that kind.
    rec.level = object.subSub                   ? LEVEL_PARAMETER
                : object.sub || !object.channel ? LEVEL_SUB_OBJECT
                                                : LEVEL_CHANNEL;
    rec.object = object;
    controlSinks.Send<IMPCtrlChannelSink>([&](IMPCtrlChannelSink& sink) { sink.OnControl(&rec); });
}

void ProjectCore::SendNotify(const GUID& id, uint32_t flags, uint32_t level, ChannelId channel,
                             uint32_t kindMask) {
    MPNOTIFYREC rec{};
    rec.id = id;
    rec.flags = flags;
    rec.level = level;
    rec.path.channel = channel;
    rec.kindMask = kindMask;
    notificationSinks.Send<IMPNotificationSink>([&](IMPNotificationSink& sink) { sink.OnNotify(&rec); });
}

}  // namespace host
