#include "host/contract/project_core.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

constexpr float SILENCE = 1e-5f;  // -100 dB: nothing of it shows

bool IsTrack(ChannelKind kind) { return kind == ChannelKind::AudioTrack; }

/// Position in the session's list of the index-th channel of a row, or where the row ends.
size_t PlaceInRow(const std::vector<Channel>& channels, ChannelKind kind, size_t index) {
    size_t end = IsTrack(kind) ? 0 : channels.size();
    size_t seen = 0;
    for (size_t i = 0; i < channels.size(); i++) {
        if (channels[i].kind != kind) continue;
        if (seen++ == index) return i;
        end = i + 1;
    }
    return end;
}

/// A clip's file relative to another folder. Throws SessionError: a session that names another file than it
/// plays must not be written.
std::string SeenFrom(const std::filesystem::path& folder, const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::path seen = std::filesystem::proximate(file, folder.empty() ? "." : folder, error);
    if (error) throw SessionError(file.string(), {}, error.message());
    return seen.generic_string();
}

}  // namespace

uint32_t KindWord(ChannelKind kind) {
    switch (kind) {
    case ChannelKind::AudioTrack: return KIND_AUDIO_TRACK;
    case ChannelKind::MidiTrack: return KIND_MIDI_TRACK;
    case ChannelKind::AudioBus: return KIND_AUDIO_BUS;
    case ChannelKind::Fx: return KIND_FX;
    case ChannelKind::Synth: return KIND_SYNTH;
    case ChannelKind::InputBus: return KIND_INPUT_BUS;
    case ChannelKind::Master: return KIND_MASTER;
    case ChannelKind::PreviewBus: return KIND_BUS | KIND_SPECIAL;
    }
    return 0;
}

int32_t OrderIndex(const Session& session, ChannelId id) {
    int32_t tracks = 0, busses = 0, master = 0;
    for (const Channel& channel : session.channels) master += channel.kind == ChannelKind::AudioBus;
    for (const Channel& channel : session.channels) {
        int32_t order = ORDER_PREVIEW_OUTPUT;
        if (channel.kind == ChannelKind::AudioTrack) order = tracks++;
        if (channel.kind == ChannelKind::AudioBus) order = busses++;
        if (channel.kind == ChannelKind::Master) order = master;
        if (channel.id == id) return order;
    }
    return 0;
}

ProjectCore::ProjectCore(EngineOptions options, std::unique_ptr<MidiDriver> driver)
    : engine(std::move(options)) {
    if (!driver) return;
    midi = std::make_unique<MidiPorts>(
        std::move(driver), [this](std::vector<ReceivedEvent>& events) { FilterEvents(events); },
        [this] { SendNotify(MPNOTIFY_PORTS); });
}

void ProjectCore::AddFilter(IMPEventFilter* filter) {
    std::lock_guard lock(m_filterLock);
    m_filters.emplace_back(filter);
}

void ProjectCore::RemoveFilter(IMPEventFilter* filter) {
    std::lock_guard lock(m_filterLock);
    std::erase_if(m_filters, [filter](const auto& f) { return f.Get() == filter; });
}

// The first plug-in that takes an event keeps it from the others.
void ProjectCore::FilterEvents(std::vector<ReceivedEvent>& events) {
    MPFILTERINFO info{};
    info.capabilities = ~(FILTER_PEEK_ONLY | FILTER_NOT_TO_PAGE);
    std::lock_guard lock(m_filterLock);
    for (const ComPtr<IMPEventFilter>& filter : m_filters) {
        EventStream stream(events);
        filter->FilterEvents(&stream, &info);
    }
}

void ProjectCore::ApplyToEngine() { engine.SetSession(m_session, m_path.parent_path()); }

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
    }
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
    const std::filesystem::path from = m_path.parent_path(), to = path.parent_path();
    if (from != to)
        for (Channel& channel : session.channels)
            for (Clip& clip : channel.clips) clip.file = SeenFrom(to, from / clip.file);
    SaveSession(session, path);
    m_session = std::move(session);
    m_path = path;
    m_modified = false;
    ApplyToEngine();
}

HRESULT ProjectCore::EditChannel(ChannelId id, const Edit& edit) {
    uint32_t changed = 0;
    {
        std::lock_guard lock(m_lock);
        Channel* channel = FindChannel(m_session, id);
        if (!channel) return S_FALSE;
        const Channel before = *channel;
        changed = edit(*channel);
        if (*channel == before) return S_OK;
        try {
            CheckSession(m_session);
            constexpr uint32_t LEVELS = MASK_VOLUME | MASK_PAN | MASK_SWITCHES;
            if (changed & ~(LEVELS | MASK_NAME | MASK_IDENTITY))
                ApplyToEngine();
            else if (changed & LEVELS)
                engine.SetLevels(m_session.channels);
        } catch (const SessionError&) {
            *channel = before;
            return E_INVALIDARG;
        }
        Channel selectionAside = *channel;
        selectionAside.selected = before.selected;
        if (selectionAside != before) m_modified = true;  // what is selected is no work to be saved
    }
    SendControl(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, id, changed);
    return S_OK;
}

std::vector<ProjectCore::Place> ProjectCore::Places() const {
    std::vector<Place> places;
    for (const Channel& channel : m_session.channels)
        places.push_back({channel.id, OrderIndex(m_session, channel.id)});
    return places;
}

void ProjectCore::TellMoved(const std::vector<Place>& before) {
    std::vector<Place> now;
    {
        std::lock_guard lock(m_lock);
        now = Places();
    }
    for (const Place& place : now)
        for (const Place& old : before)
            if (old.id == place.id && old.order != place.order)
                SendControl(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, place.id, MASK_IDENTITY);
}

ChannelId ProjectCore::AddChannel(ChannelKind kind, const std::string& name, size_t index) {
    if (kind != ChannelKind::AudioTrack && kind != ChannelKind::AudioBus) return kNoChannel;
    std::vector<Place> before;
    Channel channel;
    {
        std::lock_guard lock(m_lock);
        before = Places();
        ChannelId highest = 0;
        for (const Channel& other : m_session.channels) {
            highest = std::max(highest, other.id);
            if (other.kind == ChannelKind::Master) channel.output = other.id;
        }
        channel.id = highest + 1;
        channel.kind = kind;
        channel.name = name;
        channel.colour = static_cast<uint32_t>(m_session.channels.size() % kTrackColours);
        const Session old = m_session;
        const size_t at = PlaceInRow(m_session.channels, kind, index);
        m_session.channels.insert(m_session.channels.begin() + static_cast<std::ptrdiff_t>(at), channel);
        try {
            ApplyToEngine();
        } catch (const SessionError&) {
            m_session = old;
            return kNoChannel;
        }
        m_modified = true;
    }
    SendControl(MPCTRL_CHANNEL, CHANGE_ADDED, LEVEL_CHANNEL, channel.id, KindWord(kind));
    if (IsTrack(kind)) SendNotify(MPNOTIFY_OBJECT, CHANGE_ADDED, LEVEL_TRACK, channel.id, KindWord(kind));
    TellMoved(before);
    return channel.id;
}

HRESULT ProjectCore::RemoveChannel(ChannelId id) {
    std::vector<Place> before;
    std::vector<ChannelId> rerouted;
    ChannelKind kind;
    {
        std::lock_guard lock(m_lock);
        const Channel* channel = FindChannel(m_session, id);
        if (!channel) return S_FALSE;
        kind = channel->kind;
        if (kind == ChannelKind::Master || kind == ChannelKind::PreviewBus) return E_INVALIDARG;
        before = Places();
        const ChannelId output = channel->output;
        for (Channel& other : m_session.channels)
            if (other.output == id) {
                other.output = output;
                rerouted.push_back(other.id);
            }
        std::erase_if(m_session.channels, [id](const Channel& c) { return c.id == id; });
        ApplyToEngine();
        m_modified = true;
    }
    SendControl(MPCTRL_CHANNEL, CHANGE_REMOVED, LEVEL_CHANNEL, id, KindWord(kind));
    if (IsTrack(kind)) SendNotify(MPNOTIFY_OBJECT, CHANGE_REMOVED, LEVEL_TRACK, id, KindWord(kind));
    for (ChannelId other : rerouted)
        SendControl(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, other, MASK_OUTPUT_ROUTE);
    TellMoved(before);
    return S_OK;
}

bool ProjectCore::MoveChannel(ChannelId id, size_t index) {
    std::vector<Place> before;
    {
        std::lock_guard lock(m_lock);
        Channel* channel = FindChannel(m_session, id);
        if (!channel || channel->kind == ChannelKind::Master || channel->kind == ChannelKind::PreviewBus)
            return false;
        before = Places();
        Channel moved = *channel;
        std::erase_if(m_session.channels, [id](const Channel& c) { return c.id == id; });
        const size_t at = PlaceInRow(m_session.channels, moved.kind, index);
        m_session.channels.insert(m_session.channels.begin() + static_cast<std::ptrdiff_t>(at),
                                  std::move(moved));
        ApplyToEngine();
        m_modified = true;
    }
    TellMoved(before);
    return true;
}

void ProjectCore::ChangeTransport(const std::function<void(Engine&)>& change) {
    change(engine);
    {
        std::lock_guard lock(m_lock);
        m_session.loop = engine.Transport().loop;
    }
    SendControl(MPCTRL_TRANSPORT);
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
        for (size_t side : {Left, Right}) {
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

void ProjectCore::SendControl(const GUID& id, uint32_t flags, uint32_t level, ChannelId channel,
                              uint32_t kindMask, uint32_t seat) {
    MPCTRLREC rec{};
    rec.id = id;
    rec.flags = flags;
    rec.level = level;
    rec.object.channel = channel;
    rec.kindMask = kindMask;
    controlSinks.Send<IMPCtrlChannelSink>([&](IMPCtrlChannelSink& sink) { sink.OnControl(&rec); }, seat);
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
