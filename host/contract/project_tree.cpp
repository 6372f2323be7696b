// IMPProjectTree and IMPTimeConverter: tracks, their clips as events with one take each, and their times.
#include "host/contract/channel_words.h"
#include "host/contract/host_object.h"
#include "host/contract/time.h"

using namespace tarn;

namespace host {
namespace {

constexpr uint64_t THE_TAKE = 1;  ///< id of a clip's only take
constexpr uint32_t TIMEFORMAT_SAMPLES = 1;

/// Ids of the children of a path: tracks, a track's clips counted from 1, a clip's take.
std::vector<MPCHANNELID> Children(const Session& session, const MPCHANNELID& parent, uint32_t level) {
    std::vector<MPCHANNELID> ids;
    for (const Channel& channel : session.channels) {
        if (!IsTrack(channel.kind)) continue;
        if (level == LEVEL_TRACK) ids.push_back({channel.id, 0, 0});
        if (level == LEVEL_TRACK || channel.id != parent.channel) continue;
        for (uint64_t event = 1; event <= channel.clips.size(); event++) {
            if (level == LEVEL_EVENT) ids.push_back({channel.id, event, 0});
            if (level == LEVEL_TAKE && event == parent.sub) ids.push_back({channel.id, event, THE_TAKE});
        }
    }
    return ids;
}

HRESULT Fill(const Session& session, const MPCHANNELID& id, uint32_t level, MPEVENTREC& rec) {
    const Channel* channel = FindChannel(session, id.channel);
    if (!channel || !IsTrack(channel->kind)) return S_FALSE;
    rec = {};
    rec.type = MPNULL;
    rec.format = TIMEFORMAT_NANO;
    rec.order = static_cast<uint32_t>(OrderIndex(session, channel->id));
    rec.channel = channel->midi_channel - 1;  // any where it names none
    if (level == LEVEL_TRACK) return S_OK;
    if (id.sub < 1 || id.sub > channel->clips.size()) return S_FALSE;
    if (level == LEVEL_TAKE && id.subSub != THE_TAKE) return S_FALSE;
    rec.order = static_cast<uint32_t>(id.sub - 1);
    rec.start = NanoFromSeconds(channel->clips[id.sub - 1].start);
    return S_OK;
}

bool IsLevel(uint32_t level) { return level >= LEVEL_TRACK && level <= LEVEL_TAKE; }

uint32_t OwnRate(const ProjectCore& core, uint32_t format) {
    if (format == TIMEFORMAT_NANO) return kNanoRate;
    if (format != TIMEFORMAT_SAMPLES) return 0;
    return core.Read([](const Session& session) { return static_cast<uint32_t>(session.sample_rate); });
}

}  // namespace

HRESULT ProjectTreePart::First(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more, uint32_t) {
    if (!key || !more) return E_POINTER;
    *more = 0;
    if (!IsLevel(level)) return S_FALSE;
    return Guarded([&] {
        return Core().Read([&](const Session& session) {
            const std::vector<MPCHANNELID> ids = Children(session, *key, level);
            if (ids.empty()) return S_FALSE;
            *key = ids.front();
            *more = ids.size() > 1;
            return rec ? Fill(session, *key, level, *rec) : S_OK;
        });
    });
}

HRESULT ProjectTreePart::Next(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more, uint32_t) {
    if (!key || !more) return E_POINTER;
    *more = 0;
    if (!IsLevel(level)) return S_FALSE;
    return Guarded([&] {
        return Core().Read([&](const Session& session) {
            const std::vector<MPCHANNELID> ids = Children(session, *key, level);
            for (size_t i = 0; i + 1 < ids.size(); i++) {
                if (ids[i] != *key) continue;
                *key = ids[i + 1];
                *more = i + 2 < ids.size();
                return rec ? Fill(session, *key, level, *rec) : S_OK;
            }
            return S_FALSE;
        });
    });
}

HRESULT ProjectTreePart::Find(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more, uint32_t) {
    if (!key || !more) return E_POINTER;
    *more = 0;
    MPEVENTREC ignored;
    return Get(key, level, rec ? rec : &ignored, TREE_ALL);
}

HRESULT ProjectTreePart::Get(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t) {
    if (!key || !rec) return E_POINTER;
    if (!IsLevel(level)) return S_FALSE;
    return Guarded([&] {
        return Core().Read([&](const Session& session) { return Fill(session, *key, level, *rec); });
    });
}

HRESULT ProjectTreePart::Notify(uint32_t op, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {
    if (op == TREE_NOTIFY_RESEND) Core().SendNotify(MPNOTIFY_PROJECT_RELOAD);
    return S_OK;
}

HRESULT TimeConverterPart::GetRate(uint32_t format, uint32_t* out) {
    if (!out) return E_POINTER;
    *out = OwnRate(Core(), format);
    return *out ? S_OK : E_INVALIDARG;
}

HRESULT TimeConverterPart::Convert(int64_t time, uint32_t fromFormat, uint32_t fromRate, int64_t* out,
                                   uint32_t toFormat, uint32_t toRate) {
    if (!out) return E_POINTER;
    const uint32_t from = fromRate ? fromRate : OwnRate(Core(), fromFormat);
    const uint32_t to = toRate ? toRate : OwnRate(Core(), toFormat);
    if (!from || !to) return E_INVALIDARG;
    __extension__ using Wide = __int128;
    const Wide product = static_cast<Wide>(time) * to;
    const Wide half = from / 2;
    const Wide rounded = (product >= 0 ? product + half : product - half) / from;  // ties away from zero
    if (rounded > INT64_MAX || rounded < INT64_MIN) return E_INVALIDARG;
    *out = static_cast<int64_t>(rounded);
    return S_OK;
}

}  // namespace host
