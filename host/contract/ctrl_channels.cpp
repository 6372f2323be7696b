// IMPCtrlChannels: the session's channels as the contract's records.
#include "host/contract/host_object.h"
#include "host/engine/gain.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <optional>

using namespace tarn;

namespace host {
namespace {

struct SwitchRow {
    uint32_t bit;
    bool Channel::*field;
};
constexpr SwitchRow SWITCHES[] = {{SWITCH_MUTE, &Channel::mute},
                                  {SWITCH_SOLO, &Channel::solo},
                                  {SWITCH_SELECTED, &Channel::selected},
                                  {SWITCH_PHASE, &Channel::phase},
                                  {SWITCH_HIDDEN, &Channel::hidden}};

/// The side whose level is asked for; none for speakers that a stereo host does not have.
std::optional<Side> SideOf(uint32_t pairSelector) {
    if (pairSelector & SPEAKER_LEFT) return Left;
    if (pairSelector & SPEAKER_RIGHT) return Right;
    return std::nullopt;
}

/// What a channel of this host has; for the others there is no such object.
constexpr uint32_t THERE = MASK_SWITCHES | MASK_AUTOMATION | MASK_IDENTITY | MASK_VOLUME | MASK_PAN |
                           MASK_OUTPUT_ROUTE | MASK_METERS | MASK_NAME;

/// Pan of a pair that a stereo host does not have.
bool IsOtherPair(uint32_t mask, const MPCHANNELREC& rec) {
    return mask & MASK_PAN && rec.pairSelector && !(rec.pairSelector & SPEAKER_FRONT);
}

/// Copies the asked groups of a channel into the record; inputs of the record are read first.
HRESULT Fill(const ProjectCore& core, const Session& session, const Channel& channel, MPCHANNELREC& rec,
             uint32_t mask) {
    const uint32_t selector = rec.selector, pair = rec.pairSelector;
    const bool all = mask == MASK_ALL;
    if (mask & MASK_METERS) {
        const std::optional<Side> side = SideOf(pair);
        const ShownLevels levels = core.Levels(channel.id);
        const auto& values = selector == SELECT_METER_VU ? levels.vu : levels.peak;
        rec.meter.level = side ? values[*side] : 0.0f;
    }
    if (all || (mask & MASK_IDENTITY)) {
        rec.kind = KindWord(channel.kind);
        rec.order = OrderIndex(session, channel.id);
        rec.countClass = 1;
        rec.pairSelector = SPEAKER_FRONT;
        rec.lookColour = channel.colour;
    }
    if (all || (mask & MASK_SWITCHES)) {
        rec.switches = 0;
        for (const SwitchRow& row : SWITCHES)
            if (channel.*row.field) rec.switches |= row.bit;
    }
    if (all || (mask & MASK_AUTOMATION)) rec.automation = 0;
    if (all || (mask & MASK_VOLUME)) rec.volume = rec.linkedVolume = GainFromDb(channel.fader_db);
    if (all || (mask & MASK_PAN)) rec.pan = static_cast<float>(channel.pan);
    if (all || (mask & MASK_OUTPUT_ROUTE)) rec.outputTarget = channel.output;
    if (all || (mask & MASK_NAME)) {
        rec.name = CoTaskMemString(Utf16FromUtf8(channel.name).c_str());
        if (!rec.name) return E_OUTOFMEMORY;
    }
    return S_OK;
}

/// The channel after `after` in session order that is of the asked kinds, or null; *more tells of a further
/// one.
const Channel* NextOf(const Session& session, ChannelId after, uint32_t kindMask, uint32_t* more) {
    bool passed = after == kNoChannel;
    const Channel* found = nullptr;
    *more = 0;
    for (const Channel& channel : session.channels) {
        if (passed && (KindWord(channel.kind) & kindMask)) {
            if (found) {
                *more = 1;
                return found;
            }
            found = &channel;
        }
        passed |= channel.id == after;
    }
    return found;
}

bool IsGain(float value) { return std::isfinite(value) && value >= 0.0f; }

}  // namespace

HRESULT CtrlChannelsPart::First(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more,
                                uint32_t kindMask, uint32_t reserved) {
    if (!ref) return E_POINTER;
    if (level == LEVEL_CHANNEL) ref->channel = kNoChannel;
    return Next(ref, level, rec, more, kindMask, reserved);
}

HRESULT CtrlChannelsPart::Next(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more,
                               uint32_t kindMask, uint32_t) {
    if (!ref || !more) return E_POINTER;
    *more = 0;
    if (level != LEVEL_CHANNEL) return S_FALSE;  // no sends, effects or port entries yet
    return Guarded([&] {
        return Core().Read([&](const Session& session) {
            const Channel* channel = NextOf(session, ref->channel, kindMask, more);
            if (!channel) return S_FALSE;
            ref->channel = channel->id;
            return rec ? Fill(Core(), session, *channel, *rec, MASK_IDENTITY) : S_OK;
        });
    });
}

HRESULT CtrlChannelsPart::Find(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* found,
                               uint32_t kindMask, uint32_t) {
    if (!ref || !found) return E_POINTER;
    *found = 0;
    if (level != LEVEL_CHANNEL) return S_FALSE;
    return Guarded([&] {
        return Core().Read([&](const Session& session) {
            const Channel* channel = FindChannel(session, ref->channel);
            if (!channel || (kindMask && !(KindWord(channel->kind) & kindMask))) return S_FALSE;
            *found = 1;
            return rec ? Fill(Core(), session, *channel, *rec, MASK_IDENTITY) : S_OK;
        });
    });
}

HRESULT CtrlChannelsPart::Get(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t kindFilter,
                              uint32_t mask) {
    if (!id || !rec) return E_POINTER;
    if (level != LEVEL_CHANNEL || mask & ~THERE || IsOtherPair(mask, *rec)) return S_FALSE;
    return Guarded([&] {
        return Core().Read([&](const Session& session) {
            const Channel* channel = FindChannel(session, id->channel);
            if (!channel || (kindFilter && !(KindWord(channel->kind) & kindFilter))) return S_FALSE;
            return Fill(Core(), session, *channel, *rec, mask);
        });
    });
}

HRESULT CtrlChannelsPart::Set(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t mask) {
    if (!id || !rec) return E_POINTER;
    if (level != LEVEL_CHANNEL || IsOtherPair(mask, *rec)) return S_FALSE;
    constexpr uint32_t KNOWN = MASK_SWITCHES | MASK_AUTOMATION | MASK_VOLUME | MASK_PAN | MASK_OUTPUT_ROUTE |
                               MASK_TARGET | MASK_NAME;
    if (mask == 0 || (mask & ~KNOWN)) return E_NOTIMPL;
    if (((mask & MASK_VOLUME) && !IsGain(rec->volume)) || ((mask & MASK_PAN) && !std::isfinite(rec->pan)) ||
        ((mask & MASK_NAME) && !rec->name))
        return E_INVALIDARG;
    return Guarded([&] {
        const std::string name = mask & MASK_NAME ? Utf8FromUtf16(rec->name) : std::string();
        return Core().EditChannel(id->channel, [&](Channel& channel) {
            if (mask & MASK_VOLUME) channel.fader_db = DbFromGain(rec->volume);
            if (mask & MASK_PAN) channel.pan = std::clamp(static_cast<double>(rec->pan), -1.0, 1.0);
            if (mask & MASK_NAME) channel.name = name;
            if (mask & MASK_OUTPUT_ROUTE) channel.output = rec->outputTarget;
            if (mask & MASK_SWITCHES)
                for (const SwitchRow& row : SWITCHES) channel.*row.field = rec->switches & row.bit;
            return mask & ~(MASK_AUTOMATION | MASK_TARGET);
        });
    });
}

HRESULT CtrlChannelsPart::Insert(MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec) {
    if (!id || !rec) return E_POINTER;
    if (level != LEVEL_CHANNEL) return E_NOTIMPL;
    const bool track = rec->kind == KIND_AUDIO_TRACK;
    if (!track && rec->kind != KIND_AUDIO_BUS) return E_NOTIMPL;
    return Guarded([&] {
        const std::string name = rec->name ? Utf8FromUtf16(rec->name) : std::string(track ? "Audio" : "Bus");
        const size_t index = rec->order < 0 ? SIZE_MAX : static_cast<size_t>(rec->order);
        const ChannelId made =
            Core().AddChannel(track ? ChannelKind::AudioTrack : ChannelKind::AudioBus, name, index);
        *id = {made, 0, 0};
        return made == kNoChannel ? E_FAIL : S_OK;
    });
}

HRESULT CtrlChannelsPart::Remove(uint32_t level, const MPCHANNELID* id) {
    if (!id) return E_POINTER;
    if (level != LEVEL_CHANNEL) return E_NOTIMPL;
    return Guarded([&] { return Core().RemoveChannel(id->channel); });
}

}  // namespace host
