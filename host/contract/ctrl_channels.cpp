// IMPCtrlChannels: the session's channels as the contract's records.
#include "host/contract/channel_parts.h"
#include "host/contract/channel_values.h"
#include "host/contract/channel_words.h"
#include "host/contract/ctrl_parts.h"
#include "host/contract/effect_catalog.h"
#include "host/contract/host_object.h"
#include "host/contract/port_entries.h"
#include "host/engine/gain.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <optional>

using namespace tarn;

namespace host {
namespace {

/// What a get may ask; of each channel there is what its kind has.
constexpr uint32_t KNOWN = MASK_SWITCHES | MASK_AUTOMATION | MASK_IDENTITY | MASK_VALUES | MASK_INPUT_ROUTE |
                           MASK_OUTPUT_ROUTE | MASK_METERS | MASK_INPUT_SIDE | MASK_PORT_ENTRY | MASK_TARGET |
                           MASK_NAME | MASK_CHAIN | MASK_EFFECT_STATE;
constexpr uint32_t SETTABLE = KNOWN & ~(MASK_IDENTITY | MASK_METERS | MASK_PORT_ENTRY);

struct SideRow {
    uint32_t speaker;
    Side side;
};
constexpr SideRow SIDES[] = {{SPEAKER_LEFT, Left},          {SPEAKER_RIGHT, Right},
                             {SPEAKER_CENTER, Center},      {SPEAKER_LFE, Lfe},
                             {SPEAKER_REAR_LEFT, RearLeft}, {SPEAKER_REAR_RIGHT, RearRight}};
constexpr uint32_t ALL_SPEAKERS = 63;

/// Whether a channel of this kind has a group at all.
bool Has(const Channel& channel, uint32_t mask) {
    const KindTraits& traits = TraitsOf(channel.kind);
    if ((mask & MASK_INPUT_ROUTE) && !traits.recordsInput) return false;
    if ((mask & (MASK_CHAIN | MASK_EFFECT_STATE)) && !traits.audio) return false;
    return !(mask & MASK_SEND) || traits.sends;
}

float LevelOf(const ShownLevels& levels, uint32_t selector, uint32_t pair) {
    const auto& values = selector == SELECT_METER_VU ? levels.vu : levels.peak;
    for (const SideRow& row : SIDES)
        if (pair & row.speaker) return values[row.side];
    return 0;
}

void FillIdentity(const Session& session, const Channel& channel, uint32_t companion, MPCHANNELREC& rec) {
    const bool wide = IsWide(session, channel.kind);
    rec.kind = companion ? KIND_MASTER : KindWord(session, channel);
    rec.order = OrderIndex(session, channel.id);
    rec.lookColour = channel.colour;
    if (wide && !companion && channel.kind == ChannelKind::Master) {
        for (size_t slot = 0; slot < std::size(COMPANION_PAIRS); slot++) {
            const MPCHANNELID id{CompanionId(channel.id, slot), 0, 0};
            std::memcpy(reinterpret_cast<char*>(&rec) + 32 + slot * sizeof id, &id, sizeof id);
        }
        return;
    }
    rec.countClass = channel.kind == ChannelKind::MidiTrack ? 0 : wide && !companion ? 2 : 1;
    rec.pairSelector = companion ? companion : wide ? ALL_SPEAKERS : SPEAKER_FRONT;
}

/// The send that a level 1 record means.
struct CurrentSend {
    ChannelId target = kNoChannel;
    const Send* send = nullptr;  ///< null where there is none yet

    SubId Id() const { return send ? send->id : kNoSub; }
};

CurrentSend CurrentOf(const Channel& channel, ChannelId chosen) {
    if (chosen == kNoChannel && !channel.sends.empty()) return {channel.sends[0].target, &channel.sends[0]};
    return {chosen, SendTo(channel, chosen)};
}

/// The groups that make up the whole record of a channel.
uint32_t WholeOf(const Channel& channel) {
    const KindTraits& traits = TraitsOf(channel.kind);
    return MASK_SWITCHES | MASK_AUTOMATION | MASK_VOLUME | MASK_PAN | MASK_OUTPUT_ROUTE | MASK_NAME |
           (traits.recordsInput ? MASK_INPUT_ROUTE : 0) |
           (traits.audio ? MASK_CHAIN | MASK_EFFECT_STATE : 0) |
           (channel.kind == ChannelKind::Fx ? MASK_AUX | MASK_INSERT : 0) |
           (channel.sends.empty() ? 0 : MASK_SEND);
}

/// Copies the asked groups of a channel into the record; inputs of the record are read first.
HRESULT Fill(const ProjectCore& core, const Session& session, const Channel& channel, uint32_t companion,
             ChannelId chosenSend, MPCHANNELREC& rec, uint32_t mask) {
    const bool all = mask == MASK_ALL;
    if (all) mask = WholeOf(channel);
    if (companion) {
        const uint32_t part = rec.pairSelector & companion;
        rec.pairSelector = part ? part : companion;
    }
    if (!Has(channel, mask)) return S_FALSE;
    uint32_t values = mask;
    if (mask & MASK_SEND) {
        const CurrentSend current = CurrentOf(channel, chosenSend);
        if (current.target == kNoChannel) return S_FALSE;
        if (!current.send) values &= ~MASK_SEND;  // silence, until somebody turns it up
        rec.sendLevel = 0;
        rec.sendTarget = current.target;
        rec.sendSwitches = current.send ? SendSwitches(*current.send) : SENDSWITCH_LINK_PAN;
    }
    const auto fields =
        ValuesOf(session, channel, CurrentOf(channel, chosenSend).Id(), LEVEL_CHANNEL, rec, values);
    if (!fields) return S_FALSE;
    if (mask & MASK_METERS) {
        const float level = LevelOf(core.Levels(channel.id), rec.selector, rec.pairSelector);
        rec.meter.level = level;
    }
    for (const ChannelValue& value : *fields) {
        const std::optional<double> shown = core.Shown(channel, value.key);
        if (!shown) return S_FALSE;
        rec.*value.field = ToRecord(value, *shown);
        if (value.key.target != AutomationTarget::Volume) continue;
        rec.linkedVolume = channel.fader_right_db ? GainFromDb(*channel.fader_right_db) : rec.volume;
        const bool rightAlone = (rec.pairSelector & SPEAKER_FRONT) == SPEAKER_RIGHT;
        if (rightAlone) rec.volume = rec.linkedVolume;
    }
    if (mask & MASK_PAN) rec.panModel = static_cast<uint32_t>(channel.pan_model) + 1;
    if (mask & MASK_SWITCHES) {
        rec.switches = SwitchWord(channel) & ~SWITCH_MUTE;
        if (core.Shown(channel, {AutomationTarget::Mute}).value_or(0) >= 0.5) rec.switches |= SWITCH_MUTE;
    }
    if (mask & MASK_AUTOMATION) rec.automation = AutomationWord(channel.automation_mode);
    if (mask & MASK_INPUT_ROUTE) {
        rec.inputTarget = InputTargetOf(core, channel);
        rec.inputIndex = static_cast<int32_t>(channel.input.midi_channel);
    }
    if (mask & MASK_OUTPUT_ROUTE) {
        rec.outputTarget = OutputTargetOf(channel);
        rec.outputIndex = static_cast<int32_t>(channel.midi_channel);
    }
    if (mask & MASK_CHAIN) rec.effectParam = static_cast<uint32_t>(channel.inserts.size());
    if (mask & MASK_EFFECT_STATE) rec.effectState = channel.chain_bypass ? EFFECT_BYPASSED : 0;
    if (all || (mask & MASK_IDENTITY)) FillIdentity(session, channel, companion, rec);
    if (!(mask & MASK_NAME)) return S_OK;
    rec.name = CoTaskMemString(Utf16FromUtf8(channel.name).c_str());
    return rec.name ? S_OK : E_OUTOFMEMORY;
}

HRESULT FillEntry(const PortEntry& entry, MPCHANNELREC& rec, uint32_t mask) {
    if (mask & ~(MASK_IDENTITY | MASK_NAME | MASK_PORT_ENTRY)) return S_FALSE;
    if (mask != MASK_NAME) {
        rec.kind = entry.kind;
        rec.countClass = entry.countClass;
        rec.pairSelector = SPEAKER_FRONT;
    }
    if (mask != MASK_ALL && !(mask & MASK_NAME)) return S_OK;
    rec.name = CoTaskMemString(Utf16FromUtf8(entry.name).c_str());
    return rec.name ? S_OK : E_OUTOFMEMORY;
}

/// The id after `after` in session order that is of the asked kinds, or 0; *more tells of a further one. The
/// companions of a group's head follow it.
uint64_t NextOf(const Session& session, uint64_t after, uint32_t kindMask, uint32_t* more) {
    bool passed = after == 0;
    uint64_t found = 0;
    *more = 0;
    const auto offer = [&](uint64_t id, uint32_t kind) {
        if (passed && (kind & kindMask)) {
            if (!found)
                found = id;
            else
                *more = 1;
        }
        passed |= id == after;
    };
    for (const Channel& channel : session.channels) {
        offer(channel.id, KindWord(session, channel));
        if (channel.kind == ChannelKind::Master && IsWide(session, channel.kind))
            for (size_t slot = 0; slot < std::size(COMPANION_PAIRS); slot++)
                offer(CompanionId(channel.id, slot), KIND_MASTER);
        if (*more) break;
    }
    return found;
}

/// Takes over the routes that the masks name; false, and then nothing has changed, for what is no such place.
bool Route(Channel& channel, const MPCHANNELREC& rec, uint32_t mask, const std::optional<PortEntry>& entry) {
    const ChannelId output = channel.output;
    if ((mask & MASK_OUTPUT_ROUTE) && !SetOutputTarget(channel, rec.outputTarget)) return false;
    if ((mask & MASK_INPUT_ROUTE) && !SetInputTarget(channel, rec.inputTarget, entry)) {
        channel.output = output;
        return false;
    }
    if (mask & MASK_TARGET) return true;
    if (mask & MASK_INPUT_ROUTE) channel.input.midi_channel = static_cast<uint32_t>(rec.inputIndex);
    if (mask & MASK_OUTPUT_ROUTE) channel.midi_channel = static_cast<uint32_t>(rec.outputIndex);
    return true;
}

/// Both sides of a fader, or the one that the pair selector means.
void SetVolume(Channel& channel, const MPCHANNELREC& rec, double db) {
    const uint32_t side = rec.pairSelector & SPEAKER_FRONT;
    const bool linkedIsMeant =
        side == SPEAKER_FRONT && rec.linkedVolume >= 0 && std::isfinite(rec.linkedVolume);
    if (side == SPEAKER_RIGHT) {
        channel.fader_right_db = db;
    } else if (side == SPEAKER_LEFT) {
        if (!channel.fader_right_db) channel.fader_right_db = channel.fader_db;
        channel.fader_db = db;
    } else {
        channel.fader_db = db;
        channel.fader_right_db.reset();
        if (linkedIsMeant && rec.linkedVolume != rec.volume)
            channel.fader_right_db = DbFromGain(rec.linkedVolume);
    }
    if (channel.fader_right_db == channel.fader_db) channel.fader_right_db.reset();
}

}  // namespace

uint64_t CtrlChannelsPart::ChosenSend(ChannelId channel) const {
    const std::lock_guard lock(m_sendLock);
    const auto at = m_chosenSends.find(channel);
    return at == m_chosenSends.end() ? kNoChannel : at->second;
}

void CtrlChannelsPart::ChooseSend(ChannelId channel, ChannelId target) {
    const std::lock_guard lock(m_sendLock);
    if (target == kNoChannel)
        m_chosenSends.erase(channel);
    else
        m_chosenSends[channel] = target;
}

HRESULT CtrlChannelsPart::First(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more,
                                uint32_t kindMask, uint32_t reserved) {
    if (!ref) return E_POINTER;
    if (level == LEVEL_CHANNEL || !ref->channel || IsPortEntry(ref->channel))
        ref->channel = kNoChannel;
    else if (level == LEVEL_SUB_OBJECT)
        ref->sub = 0;
    else
        ref->sub = ref->sub & UINT32_MAX;
    return Next(ref, level, rec, more, kindMask, reserved);
}

HRESULT CtrlChannelsPart::Next(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more,
                               uint32_t kindMask, uint32_t) {
    if (!ref || !more) return E_POINTER;
    *more = 0;
    return Guarded([&]() -> HRESULT {
        if (level == LEVEL_SUB_OBJECT && (!ref->channel || IsPortEntry(ref->channel)))
            return NextEntry(*ref, rec, *more, kindMask);
        if (level != LEVEL_CHANNEL) return NextPart(Core(), *ref, level, rec, *more);
        return Core().Read([&](const Session& session) {
            const uint64_t id = NextOf(session, ref->channel, kindMask, more);
            if (!id) return S_FALSE;
            ref->channel = id;
            const ChannelPlace place = PlaceOf(id);
            const Channel& channel = *FindChannel(session, place.channel);
            return rec ? Fill(Core(), session, channel, place.pair, kNoChannel, *rec, MASK_IDENTITY) : S_OK;
        });
    });
}

HRESULT CtrlChannelsPart::NextEntry(MPCHANNELREF& ref, MPCHANNELREC* rec, uint32_t& more, uint32_t kindMask) {
    const std::vector<PortEntry> entries = PortEntries(Core(), kindMask);
    auto at = std::ranges::find(entries, ref.channel, &PortEntry::id);
    at = ref.channel == 0 ? entries.begin() : at == entries.end() ? at : at + 1;
    if (at == entries.end()) return S_FALSE;
    ref.channel = at->id;
    ref.sub = 0;
    more = at + 1 != entries.end();
    return rec ? FillEntry(*at, *rec, MASK_IDENTITY) : S_OK;
}

HRESULT CtrlChannelsPart::Find(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* found,
                               uint32_t kindMask, uint32_t) {
    if (!ref || !found) return E_POINTER;
    *found = 0;
    MPCHANNELREC ignored{};
    const MPCHANNELID id{ref->channel, level == LEVEL_CHANNEL ? 0 : ref->sub & UINT32_MAX, ref->sub >> 32};
    const uint32_t filter = level == LEVEL_CHANNEL ? kindMask : 0;
    const HRESULT hr =
        Get(&id, level, rec ? rec : &ignored, filter, level == LEVEL_CHANNEL ? MASK_IDENTITY : MASK_FIXED);
    *found = hr == S_OK;
    return hr;
}

HRESULT CtrlChannelsPart::Get(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t kindFilter,
                              uint32_t mask) {
    if (!id || !rec) return E_POINTER;
    return Guarded([&]() -> HRESULT {
        if (IsPortEntry(id->channel)) {
            const std::optional<PortEntry> entry = FindPortEntry(Core(), id->channel);
            return entry ? FillEntry(*entry, *rec, mask) : S_FALSE;
        }
        if (level != LEVEL_CHANNEL) return GetPart(Core(), *id, level, *rec, mask);
        if (mask & ~KNOWN) return S_FALSE;
        const ChannelPlace place = PlaceOf(id->channel);
        const ChannelId chosen = mask & MASK_SEND ? ChosenSend(place.channel) : kNoChannel;
        return Core().Read([&](const Session& session) {
            const Channel* channel = FindChannel(session, place.channel);
            if (!channel || (kindFilter && !(KindWord(channel->kind) & kindFilter))) return S_FALSE;
            return Fill(Core(), session, *channel, place.pair, chosen, *rec, mask);
        });
    });
}

HRESULT CtrlChannelsPart::Set(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t mask) {
    if (!id || !rec) return E_POINTER;
    return Guarded([&]() -> HRESULT {
        if (level != LEVEL_CHANNEL) return SetPart(Core(), *id, level, *rec, mask);
        if (mask == 0 || (mask & ~SETTABLE)) return E_NOTIMPL;
        return SetChannel(*id, *rec, mask);
    });
}

HRESULT CtrlChannelsPart::SetChannel(const MPCHANNELID& id, MPCHANNELREC& rec, uint32_t mask) {
    const ChannelPlace place = PlaceOf(id.channel);
    if (place.pair && !(rec.pairSelector & place.pair)) rec.pairSelector = place.pair;
    if (mask & MASK_CHAIN) {
        const std::optional<std::string> uri = UriOfClass(Core().effects.get(), rec.effectClass);
        SubId made = kNoSub;
        return uri ? Core().InsertEffect(place.channel, *uri, SIZE_MAX, &made) : E_INVALIDARG;
    }
    if ((mask & MASK_SEND) && (mask & MASK_TARGET)) {
        const bool good = rec.sendTarget == kNoChannel || Core().Read([&](const Session& session) {
            const Channel* target = FindChannel(session, rec.sendTarget);
            return target && TraitsOf(target->kind).takesSends && rec.sendTarget != place.channel;
        });
        if (good) ChooseSend(place.channel, rec.sendTarget);
        return good ? S_OK : E_INVALIDARG;
    }
    // A button of a surface that this host has no use for.
    if ((mask & MASK_SWITCHES) && rec.switches == SWITCH_SURFACE) return S_FALSE;
    return SetValues(place.channel, rec, mask);
}

HRESULT CtrlChannelsPart::SetValues(ChannelId id, MPCHANNELREC& rec, uint32_t mask) {
    const bool modeMeant = (mask & MASK_AUTOMATION) && !(mask & (MASK_VALUES | MASK_INPUT_ROUTE));
    const std::optional<AutomationMode> mode = AutomationModeOf(rec.automation);
    if ((modeMeant && (!mode || (Core().face.limited && *mode != AutomationMode::Off))) ||
        ((mask & MASK_NAME) && !rec.name) || rec.panModel > kPanModels)
        return E_INVALIDARG;
    std::optional<PortEntry> entry;
    if ((mask & MASK_INPUT_ROUTE) && IsPortEntry(rec.inputTarget)) {
        entry = FindPortEntry(Core(), rec.inputTarget);
        if (!entry) return E_INVALIDARG;
    }
    const ChannelId chosen = mask & MASK_SEND ? ChosenSend(id) : kNoChannel;
    uint32_t values = mask;
    std::vector<ChannelValue> fields;
    ChannelId newSend = kNoChannel;
    bool muteMoves = false;
    const HRESULT there = Core().Read([&](const Session& session) -> HRESULT {
        const Channel* channel = FindChannel(session, id);
        if (!channel || !Has(*channel, mask)) return S_FALSE;
        const CurrentSend current = CurrentOf(*channel, chosen);
        if ((mask & MASK_SEND) && !current.send) {
            if (current.target == kNoChannel) return S_FALSE;
            values &= ~MASK_SEND;
            if (rec.sendLevel > 0) newSend = current.target;
        }
        const auto found = ValuesOf(session, *channel, current.Id(), LEVEL_CHANNEL, rec, values);
        if (!found) return S_FALSE;
        for (const ChannelValue& value : *found)
            if (!FromRecord(value, rec.*value.field)) return E_INVALIDARG;
        fields = *found;
        muteMoves = (mask & MASK_SWITCHES) && channel->mute != bool(rec.switches & SWITCH_MUTE);
        return S_OK;
    });
    if (there != S_OK) return there;
    if (newSend != kNoChannel) {
        if (!std::isfinite(rec.sendLevel)) return E_INVALIDARG;
        SubId made = kNoSub;
        const HRESULT hr = Core().AddSend(id, newSend, &made);
        if (hr != S_OK) return hr;
        fields.push_back({{AutomationTarget::SendLevel, made, {}}, &MPCHANNELREC::sendLevel, true});
    }
    // A hand is known before its value: from then on the setting counts.
    const bool touched = rec.automation & AUTOMATION_TOUCH;
    const bool touchMeant = (mask & MASK_AUTOMATION) && !modeMeant;
    if (touchMeant && touched)
        for (const ChannelValue& value : fields) Core().Touch(id, value.key, true);
    const std::string name = mask & MASK_NAME ? Utf8FromUtf16(rec.name) : std::string();
    bool routed = true;
    const HRESULT hr = Core().EditChannel(id, [&](Channel& channel) {
        routed = Route(channel, rec, touchMeant ? mask & ~MASK_INPUT_ROUTE : mask, entry);
        if (!routed) return;
        for (const ChannelValue& value : fields) {
            const double number = *FromRecord(value, rec.*value.field);
            if (value.key.target == AutomationTarget::Volume)
                SetVolume(channel, rec, number);
            else
                ApplySetting(channel, value.key, number);
        }
        if ((mask & MASK_PAN) && rec.panModel) channel.pan_model = static_cast<PanModel>(rec.panModel - 1);
        if (mask & MASK_SEND)
            for (const ChannelValue& value : fields)
                if (Send* send = FindSend(channel, value.key.sub)) SetSendSwitches(*send, rec.sendSwitches);
        if (mask & MASK_NAME) channel.name = name;
        if (modeMeant) channel.automation_mode = *mode;
        if (mask & MASK_SWITCHES) SetSwitches(channel, rec.switches);
        if (mask & MASK_EFFECT_STATE) channel.chain_bypass = rec.effectState & EFFECT_BYPASSED;
    });
    for (const ChannelValue& value : fields) Core().Moved(id, value.key);
    if (muteMoves) Core().Moved(id, {AutomationTarget::Mute});
    if (touchMeant && !touched)
        for (const ChannelValue& value : fields) Core().Touch(id, value.key, false);
    return routed ? hr : E_INVALIDARG;
}

HRESULT CtrlChannelsPart::Insert(MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec) {
    if (!id || !rec) return E_POINTER;
    if (level == LEVEL_SUB_OBJECT) return Guarded([&] { return InsertPart(Core(), *id, *rec); });
    if (level != LEVEL_CHANNEL) return E_NOTIMPL;
    const std::optional<ChannelKind> kind = KindOfWord(rec->kind);
    if (!kind || kind == ChannelKind::Master || kind == ChannelKind::PreviewBus) return E_NOTIMPL;
    return Guarded([&] {
        const std::string name = rec->name ? Utf8FromUtf16(rec->name) : Core().Texts()->newChannels.at(*kind);
        const size_t index = rec->order < 0 ? SIZE_MAX : static_cast<size_t>(rec->order);
        const ChannelId made = Core().AddChannel(*kind, name, index);
        *id = {made, 0, 0};
        return made == kNoChannel ? E_FAIL : S_OK;
    });
}

HRESULT CtrlChannelsPart::Remove(uint32_t level, const MPCHANNELID* id) {
    if (!id) return E_POINTER;
    if (level != LEVEL_CHANNEL && level != LEVEL_SUB_OBJECT) return E_NOTIMPL;
    return Guarded([&] {
        return level == LEVEL_CHANNEL ? Core().RemoveChannel(id->channel)
                                      : Core().RemovePart(id->channel, static_cast<SubId>(id->sub));
    });
}

}  // namespace host
