// IMPPropertyStore: what the host tells of itself and the project.
#include "host/contract/channel_words.h"
#include "host/contract/effect_catalog.h"
#include "host/contract/host_object.h"
#include "host/contract/preferences.h"
#include "host/contract/time.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>

using namespace tarn;

namespace host {
namespace {

constexpr uint32_t HOST_VERSION = 1;
constexpr uint32_t BITS_A_SAMPLE = 24;

template <class Record>
HRESULT Give(const Record& record, void* buffer) {
    std::memcpy(buffer, &record, sizeof record);
    return S_OK;
}

uint32_t TransportBits(ProjectCore& core) {
    const TransportState state = core.engine.Transport();
    return (state.playing ? TRANSPORT_PLAYING : 0) | (state.loop.on ? TRANSPORT_LOOP : 0);
}

HRESULT GetTransport(ProjectCore& core, void* buffer) { return Give(TransportBits(core), buffer); }

HRESULT GetRange(ProjectCore& core, void* buffer) {
    const LoopRange loop = core.engine.Transport().loop;
    return Give(MPTIMERANGE{NanoFromSeconds(loop.start), NanoFromSeconds(loop.end), TIMEFORMAT_NANO, 0},
                buffer);
}

HRESULT SetPosition(ProjectCore& core, const void* buffer);

HRESULT GetPosition(ProjectCore& core, void* buffer) {
    return Give(MPTIME{NanoFromSeconds(core.engine.Transport().seconds), TIMEFORMAT_NANO, 0}, buffer);
}

uint32_t MonitoringBits(const Session& session) {
    return (session.monitoring.dim ? MONITORING_DIM : 0) |
           (session.monitoring.downmix ? MONITORING_DOWNMIX : 0);
}

/// In the order of INSERT_.
constexpr ChannelKind INSERTED[] = {ChannelKind::AudioTrack, ChannelKind::MidiTrack, ChannelKind::AudioBus,
                                    ChannelKind::Fx,         ChannelKind::Synth,     ChannelKind::InputBus};
static_assert(std::size(INSERTED) == INSERT_KINDS);

HRESULT GetAudioFormat(ProjectCore& core, void* buffer) {
    MPAUDIOFORMAT format{};
    format.size = sizeof format;
    format.bitDepth = BITS_A_SAMPLE;
    core.Read([&](const Session& session) {
        format.sampleRate = static_cast<uint32_t>(session.sample_rate);
        format.monitoring = MonitoringBits(session);
        for (uint32_t i = 0; i < INSERT_KINDS; i++) {
            const auto count = std::ranges::count(session.channels, INSERTED[i], &Channel::kind);
            format.inserts[i] = {static_cast<uint32_t>(count),
                                 static_cast<uint32_t>(TraitsOf(INSERTED[i]).limit)};
        }
    });
    return Give(format, buffer);
}

HRESULT GetToolBar(ProjectCore& core, void* buffer) {
    return Give(MPTOOLBAR{sizeof(MPTOOLBAR), core.Read(MonitoringBits), 0}, buffer);
}

HRESULT SetToolBar(ProjectCore& core, const void* buffer) {
    MPTOOLBAR bar;
    std::memcpy(&bar, buffer, sizeof bar);
    if (bar.size != sizeof bar) return E_INVALIDARG;
    core.SetMonitoring({(bar.bits & MONITORING_DIM) != 0, (bar.bits & MONITORING_DOWNMIX) != 0});
    return S_OK;
}

HRESULT GetChannelMode(ProjectCore& core, void* buffer) {
    return Give(core.Read([](const Session& s) { return uint32_t{s.mode == ChannelMode::Surround51}; }),
                buffer);
}

HRESULT GetHostKind(ProjectCore& core, void* buffer) { return Give(uint32_t{core.face.fullEditor}, buffer); }

HRESULT GetFeatures(ProjectCore& core, void* buffer) {
    return Give(MPHOSTFEATURES{core.face.limited, core.face.features, 0}, buffer);
}

HRESULT GetAutomation(ProjectCore& core, void* buffer) {
    constexpr uint32_t OFFERED =
        AUTOMATION_READ | AUTOMATION_TOUCH_MODE | AUTOMATION_LATCH | AUTOMATION_WRITE;
    return Give(MPAUTOMATIONCAPS{sizeof(MPAUTOMATIONCAPS), core.face.limited ? 0 : OFFERED << 16}, buffer);
}

/// Hues far apart for neighbours, all of one calm saturation and lightness.
uint32_t TrackColour(uint32_t index) {
    constexpr uint32_t HUES = 240, STEP = 91;
    const double hue = (150 + index % HUES * STEP) % HUES / double{HUES};
    const auto part = [hue](double shift) {
        constexpr double MIDDLE = 118, SPREAD = 52;  // of 255
        const double at = std::fmod(hue + shift, 1.0) * 6;
        const double share = at < 1 ? at : at < 3 ? 1 : at < 4 ? 4 - at : 0;
        return static_cast<uint32_t>(std::lround(MIDDLE + SPREAD * (2 * share - 1)));
    };
    return part(1.0 / 3) | part(0) << 8 | part(2.0 / 3) << 16;
}

HRESULT GetPalette(MPPALETTE& palette) {
    if (palette.size != sizeof palette) return E_INVALIDARG;
    palette.first = PALETTE_FIRST;
    for (uint32_t i = 0; palette.colours && i < std::min(palette.count, kTrackColours); i++)
        palette.colours[i] = TrackColour(i);
    palette.count = kTrackColours;
    return S_OK;
}

/// This host has no meters of its own to look like.
HRESULT GetMeterColors(MPMETERCOLORS& colors) {
    if (colors.size != sizeof colors) return E_INVALIDARG;
    colors.text = colors.ground = colors.frame = COLOR_UNCHANGED;
    colors.peakBandCount = colors.vuBandCount = 0;
    for (uint32_t i = 0; i < 2; i++) colors.clip[i] = colors.scale[i] = COLOR_UNCHANGED;
    return S_OK;
}

HRESULT GetTime(ProjectCore& core, void* buffer) {
    const int64_t time = NanoFromSeconds(core.engine.Transport().seconds);
    std::memcpy(buffer, &time, sizeof time);
    std::memcpy(static_cast<char*>(buffer) + sizeof time, &TIMEFORMAT_NANO, sizeof TIMEFORMAT_NANO);
    return S_OK;
}

HRESULT SetTime(ProjectCore& core, const void* buffer) {
    MPTIME time{};
    std::memcpy(&time, buffer, sizeof time.time + sizeof time.format);
    return SetPosition(core, &time);
}

HRESULT GetJog(ProjectCore& core, void* buffer) {
    MPJOG jog{};
    jog.size = sizeof jog;
    jog.format = TIMEFORMAT_NANO;
    jog.position = NanoFromSeconds(core.engine.Transport().seconds);
    return Give(jog, buffer);
}

HRESULT SetJog(ProjectCore& core, const void* buffer) {
    MPJOG jog;
    std::memcpy(&jog, buffer, sizeof jog);
    if (jog.size != sizeof jog || jog.format != TIMEFORMAT_NANO) return E_INVALIDARG;
    core.ChangeTransport(
        [&](Engine& engine) { engine.Locate(SecondsFromNano(jog.position) + SecondsFromNano(jog.step)); });
    core.SendControl(MPCTRL_JOG);
    return S_OK;
}

HRESULT GetShuttle(ProjectCore& core, void* buffer) {
    MPSHUTTLE shuttle{};
    shuttle.size = sizeof shuttle;
    shuttle.speed = core.ShuttleSpeed();
    return Give(shuttle, buffer);
}

HRESULT SetShuttle(ProjectCore& core, const void* buffer) {
    MPSHUTTLE shuttle;
    std::memcpy(&shuttle, buffer, sizeof shuttle);
    if (shuttle.size != sizeof shuttle || !(std::abs(shuttle.speed) <= SHUTTLE_FASTEST)) return E_INVALIDARG;
    core.Shuttle(shuttle.speed);
    return S_OK;
}

HRESULT GetBlock(ProjectCore& core, void* buffer) {
    MPPROJECTBLOCK block{};
    block.size = sizeof block;
    block.format = TIMEFORMAT_NANO;
    core.Read([&](const Session& session) {
        block.length = NanoFromSeconds(session.length);
        block.tempo = session.tempo.value_or(0);
    });
    return Give(block, buffer);
}

HRESULT SetCommands(ProjectCore& core, const void* buffer) {
    MPCOMMANDREG registration;
    std::memcpy(&registration, buffer, sizeof registration);
    if (registration.size != sizeof registration) return E_INVALIDARG;
    if (registration.action == COMMANDS_REGISTER) return core.commands.Register(registration);
    if (registration.action == COMMANDS_UNREGISTER) return core.commands.Unregister(registration);
    const std::optional<uint32_t> command =
        registration.action == COMMANDS_RUN ? CommandOfItem(core, registration.reply[0]) : std::nullopt;
    if (!command) return E_INVALIDARG;
    core.commandWishes.Add(*command);
    return S_OK;
}

HRESULT GetCommands(ProjectCore& core, void* buffer) {
    auto& registration = *static_cast<MPCOMMANDREG*>(buffer);
    return registration.size == sizeof registration ? core.commands.Answer(registration) : E_INVALIDARG;
}

HRESULT GetProjectInfo(ProjectCore&, void* buffer) {
    MPPROJECTINFO info{};
    info.size = sizeof info;
    return Give(info, buffer);
}

template <size_t Size>
HRESULT GetZeros(ProjectCore&, void* buffer) {
    std::memset(buffer, 0, Size);
    return S_OK;
}

HRESULT SetTransport(ProjectCore& core, const void* buffer) {
    uint32_t bits = 0;
    std::memcpy(&bits, buffer, sizeof bits);
    core.ChangeTransport([bits](Engine& engine) {
        const TransportState state = engine.Transport();
        LoopRange loop = state.loop;
        loop.on = (bits & TRANSPORT_LOOP) && loop.end > loop.start;
        if (loop != state.loop) engine.SetLoop(loop);
        const bool play = bits & TRANSPORT_PLAYING;
        if (play && !state.playing) engine.Play();
        if (!play && state.playing) engine.Stop();
    });
    return S_OK;
}

HRESULT SetRange(ProjectCore& core, const void* buffer) {
    MPTIMERANGE range;
    std::memcpy(&range, buffer, sizeof range);
    if (range.format != TIMEFORMAT_NANO || range.start < 0 || range.end < range.start ||
        SecondsFromNano(range.end) > kMaxSeconds)
        return E_INVALIDARG;
    core.ChangeTransport([&](Engine& engine) {
        LoopRange loop{SecondsFromNano(range.start), SecondsFromNano(range.end), engine.Transport().loop.on};
        if (range.end == range.start) loop.on = false;
        engine.SetLoop(loop);
    });
    return S_OK;
}

HRESULT SetPosition(ProjectCore& core, const void* buffer) {
    MPTIME time;
    std::memcpy(&time, buffer, sizeof time);
    if (time.format != TIMEFORMAT_NANO || time.time < 0) return E_INVALIDARG;
    core.ChangeTransport([&](Engine& engine) { engine.Locate(SecondsFromNano(time.time)); });
    return S_OK;
}

template <bool Begins>
HRESULT RequestPort(ProjectCore& core, const void* buffer) {
    MPPORTREQUEST request;
    std::memcpy(&request, buffer, sizeof request);
    if (request.kind > PORTREQUEST_INPUT || !core.midi) return E_INVALIDARG;
    const uint32_t isOutput = request.kind == PORTREQUEST_OUTPUT ? 1 : 0;
    if (Begins)
        core.midi->Use(isOutput, request.port);
    else
        core.midi->Leave(isOutput, request.port);
    return S_OK;
}

struct Property {
    GUID id;
    uint32_t size;
    HRESULT (*get)(ProjectCore&, void*);
    HRESULT (*set)(ProjectCore&, const void*);
};
constexpr Property PROPERTIES[] = {
    {MPPROP_TRANSPORT, 4, GetTransport, SetTransport},
    {MPPROP_RANGE, sizeof(MPTIMERANGE), GetRange, SetRange},
    {MPPROP_TIME16, sizeof(MPTIME), GetPosition, SetPosition},
    {MPPROP_TIME12, 12, GetTime, SetTime},
    {MPPROP_JOG, sizeof(MPJOG), GetJog, SetJog},
    {MPPROP_SHUTTLE, sizeof(MPSHUTTLE), GetShuttle, SetShuttle},
    {MPPROP_BLOCK, sizeof(MPPROJECTBLOCK), GetBlock, nullptr},
    {MPPROP_CHANNEL_MODE, 4, GetChannelMode, nullptr},
    {MPPROP_TOOLBAR, sizeof(MPTOOLBAR), GetToolBar, SetToolBar},
    {MPPROP_COMMANDS, sizeof(MPCOMMANDREG), GetCommands, SetCommands},
    {MPPROP_AUTOMATION, sizeof(MPAUTOMATIONCAPS), GetAutomation, nullptr},
    {MPPROP_CHANNEL_MODE_EX, 12, GetZeros<12>, nullptr},
    {MPPROP_DISPLAY, 32, GetZeros<32>, nullptr},
    {MPPROP_AUDIO_FORMAT, sizeof(MPAUDIOFORMAT), GetAudioFormat, nullptr},
    {MPPROP_HOST_KIND, 4, GetHostKind, nullptr},
    {MPPROP_HOST_FEATURES, sizeof(MPHOSTFEATURES), GetFeatures, nullptr},
    {MPPROP_PROJECT_INFO, sizeof(MPPROJECTINFO), GetProjectInfo, nullptr},
    {MPPROP_PORTS_BEGIN, sizeof(MPPORTREQUEST), nullptr, RequestPort<true>},
    {MPPROP_PORTS_END, sizeof(MPPORTREQUEST), nullptr, RequestPort<false>},
};

const Property* FindProperty(const GUID& id) {
    for (const Property& row : PROPERTIES)
        if (row.id == id) return &row;
    return nullptr;
}

}  // namespace

HRESULT PropertyStorePart::GetHostInfo(char16_t** name, uint32_t* version) {
    if (!name || !version) return E_POINTER;
    *name = CoTaskMemString(u"Tarn");
    *version = HOST_VERSION;
    return *name ? S_OK : E_OUTOFMEMORY;
}

HRESULT PropertyStorePart::GetProperty(const GUID* id, uint32_t, uint32_t, uint32_t size, void* buffer) {
    if (!id || !buffer) return E_POINTER;
    if (*id == MPPROP_PREFERENCE) {
        auto& pref = *static_cast<MPPREFREC*>(buffer);
        if (size != sizeof pref || pref.size != sizeof pref) return E_INVALIDARG;
        return Guarded([&] { return GetPreference(Core(), m_host.Seat().keepsForUser, pref); });
    }
    if (*id == MPPROP_PAGE_START) {
        if (size == sizeof(MPPALETTE)) return GetPalette(*static_cast<MPPALETTE*>(buffer));
        if (size == sizeof(MPMETERCOLORS)) return GetMeterColors(*static_cast<MPMETERCOLORS*>(buffer));
        if (size != sizeof(MPIMAGES)) return E_INVALIDARG;
        const auto& images = Core().face.images;
        return images ? images(*static_cast<MPIMAGES*>(buffer)) : S_FALSE;
    }
    const Property* row = FindProperty(*id);
    if (!row || !row->get) return E_FAIL;
    if (size != row->size) return E_INVALIDARG;
    return Guarded([&] { return row->get(Core(), buffer); });
}

HRESULT PropertyStorePart::SetProperty(const GUID* id, uint32_t, uint32_t size, const void* buffer) {
    if (!id || !buffer) return E_POINTER;
    if (*id == MPPROP_PREFERENCE) {
        const auto& pref = *static_cast<const MPPREFREC*>(buffer);
        if (size != sizeof pref || pref.size != sizeof pref) return E_INVALIDARG;
        return Guarded([&] { return SetPreference(Core(), m_host.Seat().keepsForUser, pref); });
    }
    const Property* row = FindProperty(*id);
    if (!row || !row->set) return E_FAIL;
    if (size != row->size) return E_INVALIDARG;
    return Guarded([&] { return row->set(Core(), buffer); });
}

}  // namespace host
