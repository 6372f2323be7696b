// IMPPropertyStore: what the host tells of itself and the project, and the preferences that it keeps for
// plug-ins in the session.
#include "host/contract/host_object.h"
#include "host/contract/time.h"
#include "platform/text.h"

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

PreferenceKey KeyOf(const MPPREFREC& pref) {
    PreferenceKey key;
    key.section = pref.section ? Utf8FromUtf16(pref.section) : std::string();
    if (pref.keyName)
        key.key = Utf8FromUtf16(pref.keyName);
    else
        key.key = pref.numericKey;
    return key;
}

/// Gives the stored value when it is of the asked type; else the default stays in the record.
HRESULT GetPreference(ProjectCore& core, bool ofUser, MPPREFREC& pref) {
    const std::optional<PreferenceValue> value =
        core.WithPreferences(ofUser, [&](const Preferences& all) -> std::optional<PreferenceValue> {
            const auto at = all.find(KeyOf(pref));
            if (at == all.end()) return std::nullopt;
            return at->second;
        });
    if (!value) return S_OK;
    if (pref.type == PREF_INT && std::holds_alternative<int32_t>(*value))
        pref.number = std::get<int32_t>(*value);
    if (pref.type == PREF_UINT && std::holds_alternative<uint32_t>(*value))
        pref.number = std::get<uint32_t>(*value);
    if (pref.type == PREF_STRING && std::holds_alternative<std::string>(*value)) {
        pref.data = CoTaskMemString(Utf16FromUtf8(std::get<std::string>(*value)).c_str());
        return pref.data ? S_OK : E_OUTOFMEMORY;
    }
    if (pref.type == PREF_BINARY && std::holds_alternative<std::vector<uint8_t>>(*value)) {
        const auto& bytes = std::get<std::vector<uint8_t>>(*value);
        if (!pref.data || bytes.size() != pref.dataSize) return E_INVALIDARG;
        std::memcpy(pref.data, bytes.data(), bytes.size());
    }
    return S_OK;
}

HRESULT SetPreference(ProjectCore& core, bool ofUser, const MPPREFREC& pref) {
    PreferenceValue value;
    switch (pref.type) {
    case PREF_INT: value = static_cast<int32_t>(pref.number); break;
    case PREF_UINT: value = static_cast<uint32_t>(pref.number); break;
    case PREF_STRING:
        if (!pref.data) return E_POINTER;
        value = Utf8FromUtf16(static_cast<const char16_t*>(pref.data));
        break;
    case PREF_BINARY: {
        if (!pref.data || pref.dataSize > kMaxPreferenceBytes) return E_INVALIDARG;
        const auto* bytes = static_cast<const uint8_t*>(pref.data);
        value = std::vector<uint8_t>(bytes, bytes + pref.dataSize);
        break;
    }
    default: return E_INVALIDARG;
    }
    return core.WithPreferences(ofUser, [&](Preferences& all) {
        const PreferenceKey key = KeyOf(pref);
        const auto at = all.find(key);
        if (at != all.end() && at->second == value) return S_OK;
        if (at == all.end() && all.size() >= kMaxPreferences) return E_INVALIDARG;
        Session alone = NewSession();
        alone.preferences[key] = value;
        try {
            CheckSession(alone);  // a text that no session file may hold
        } catch (const SessionError&) {
            return E_INVALIDARG;
        }
        all[key] = std::move(value);
        if (ofUser) core.userPreferenceChanges++;
        return S_OK;
    });
}

HRESULT GetTransport(ProjectCore& core, void* buffer) { return Give(TransportBits(core), buffer); }

HRESULT GetRange(ProjectCore& core, void* buffer) {
    const LoopRange loop = core.engine.Transport().loop;
    return Give(MPTIMERANGE{NanoFromSeconds(loop.start), NanoFromSeconds(loop.end), TIMEFORMAT_NANO, 0},
                buffer);
}

HRESULT GetPosition(ProjectCore& core, void* buffer) {
    return Give(MPTIME{NanoFromSeconds(core.engine.Transport().seconds), TIMEFORMAT_NANO, 0}, buffer);
}

HRESULT GetAudioFormat(ProjectCore& core, void* buffer) {
    MPAUDIOFORMAT format{};
    format.size = sizeof format;
    format.sampleRate = core.Read([](const Session& s) { return static_cast<uint32_t>(s.sample_rate); });
    format.bitDepth = BITS_A_SAMPLE;
    return Give(format, buffer);
}

HRESULT GetFeatures(ProjectCore&, void* buffer) {
    return Give(MPHOSTFEATURES{1, FEATURE_REORDER, 0}, buffer);  // no recording, no automation
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
    {MPPROP_CHANNEL_MODE, 4, GetZeros<4>, nullptr},  // stereo
    {MPPROP_CHANNEL_MODE_EX, 12, GetZeros<12>, nullptr},
    {MPPROP_DISPLAY, 32, GetZeros<32>, nullptr},
    {MPPROP_AUDIO_FORMAT, sizeof(MPAUDIOFORMAT), GetAudioFormat, nullptr},
    {MPPROP_HOST_KIND, 4, GetZeros<4>, nullptr},  // not the full editor
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
