#include "host/contract/ctrl_parts.h"

#include "host/contract/channel_parts.h"
#include "host/contract/channel_values.h"
#include "host/contract/channel_words.h"
#include "host/contract/effect_catalog.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace tarn;

namespace host {
namespace {

constexpr int PARAMETER_SHIFT = 32;
constexpr uint32_t EFFECT_MASKS = MASK_IDENTITY | MASK_NAME | MASK_FIXED | MASK_CHAIN | MASK_EFFECT_STATE |
                                  MASK_EFFECT_POSITION | MASK_LONG_NAME | MASK_SHORT_NAME | MASK_PARAM_NAME |
                                  MASK_SWITCHES | MASK_AUTOMATION;
constexpr uint32_t SEND_MASKS = MASK_IDENTITY | MASK_NAME | MASK_FIXED | MASK_SWITCHES | MASK_SEND |
                                MASK_VOLUME | MASK_PAN | MASK_AUTOMATION | MASK_EFFECT_POSITION;
constexpr uint32_t PARAMETER_MASKS =
    MASK_IDENTITY | MASK_NAME | MASK_FIXED | MASK_VOLUME | MASK_AUTOMATION | MASK_PARAM_NAME;

HRESULT GiveText(char16_t*& out, const std::string& text) {
    out = CoTaskMemString(Utf16FromUtf8(text).c_str());
    return out ? S_OK : E_OUTOFMEMORY;
}

/// Without the maker's name before it, where it stands there.
std::string ShortName(const ProjectCore& core, const Insert& insert) {
    if (!core.effects) return insert.name;
    for (const EffectInfo& info : core.effects->List())
        if (info.uri == insert.uri && !info.maker.empty() && insert.name.starts_with(info.maker + ' '))
            return insert.name.substr(info.maker.size() + 1);
    return insert.name;
}

/// The text of a parameter or preset by the record's index.
HRESULT FillParamName(Effect& effect, MPCHANNELREC& rec) {
    const uint32_t index = rec.effectParam & ~EFFECTPARAM_PRESET;
    if (rec.effectParam & EFFECTPARAM_PRESET) {
        const std::vector<std::string> presets = effect.Presets();
        return index < presets.size() ? GiveText(rec.paramName, presets[index]) : S_FALSE;
    }
    const std::span<const EffectParameter> parameters = effect.Parameters();
    return index < parameters.size() ? GiveText(rec.paramName, parameters[index].name) : S_FALSE;
}

HRESULT FillEffect(const ProjectCore& core, const Channel& channel, const Insert& insert, MPCHANNELREC& rec,
                   uint32_t mask) {
    if (mask & ~EFFECT_MASKS) return S_FALSE;
    const std::shared_ptr<Effect> running = core.FindEffect(channel.id, insert.id);
    const bool instrument = channel.instrument && channel.instrument->id == insert.id;
    rec.effectTarget = PlaceInChain(channel, insert.id).value_or(0);
    rec.automation = AutomationWord(channel.automation_mode);
    const bool bypass = core.Shown(channel, {AutomationTarget::Bypass, insert.id, {}}).value_or(0) >= 0.5;
    rec.effectState = (bypass ? EFFECT_BYPASSED : 0) | (insert.post_fader ? EFFECT_POST_FADER : 0) |
                      (instrument ? EFFECT_INSTRUMENT : 0) | (running ? 0 : EFFECT_MISSING);
    rec.effectClass = ClassOfUri(insert.uri);
    HRESULT hr = S_OK;
    if (mask & MASK_PARAM_NAME)
        hr = running ? FillParamName(*running, rec) : S_FALSE;
    else
        rec.effectParam = running ? static_cast<uint32_t>(running->Parameters().size()) : 0;
    const std::string& name = insert.name.empty() ? insert.uri : insert.name;
    if (hr == S_OK && (mask & MASK_NAME)) hr = GiveText(rec.name, name);
    if (hr == S_OK && (mask & MASK_LONG_NAME)) hr = GiveText(rec.effectLongName, name);
    if (hr == S_OK && (mask & MASK_SHORT_NAME)) hr = GiveText(rec.effectShortName, ShortName(core, insert));
    return hr;
}

HRESULT FillSend(const ProjectCore& core, const Session& session, const Channel& channel, const Send& send,
                 MPCHANNELREC& rec, uint32_t mask) {
    if (mask & ~SEND_MASKS) return S_FALSE;
    const Channel* target = FindChannel(session, send.target);
    rec.switches = SWITCH_SEND;
    rec.automation = AutomationWord(channel.automation_mode);
    rec.effectTarget = rec.sendTarget = send.target;
    rec.sendSwitches = SendSwitches(send) & ~SENDSWITCH_10000;
    if (core.Shown(channel, {AutomationTarget::SendMute, send.id, {}}).value_or(0) >= 0.5)
        rec.sendSwitches |= SENDSWITCH_10000;
    rec.panModel = static_cast<uint32_t>(send.pan_model) + 1;
    const auto values = ValuesOf(session, channel, send.id, LEVEL_SUB_OBJECT, rec, mask & MASK_VALUES);
    for (const ChannelValue& value : *values)
        rec.*value.field = ToRecord(value, core.Shown(channel, value.key).value_or(0));
    return mask & MASK_NAME && target ? GiveText(rec.name, target->name) : S_OK;
}

HRESULT FillPart(const ProjectCore& core, const Session& session, const Channel& channel, SubId id,
                 MPCHANNELREC& rec, uint32_t mask) {
    const Insert* insert = FindInsert(channel, id);
    const Send* send = insert ? nullptr : FindSend(channel, id);
    if (!insert && !send) return S_FALSE;
    if (mask == MASK_ALL)
        mask = insert ? MASK_FIXED | MASK_EFFECT_STATE : MASK_FIXED | MASK_SEND | MASK_VOLUME | MASK_PAN;
    rec.kind = KindWord(session, channel);
    if (send)
        if (const Channel* target = FindChannel(session, send->target)) rec.kind = KindWord(session, *target);
    return insert ? FillEffect(core, channel, *insert, rec, mask)
                  : FillSend(core, session, channel, *send, rec, mask);
}

std::string ValueText(const EffectParameter& parameter, float value) {
    for (const auto& [at, name] : parameter.points)
        if (at == value) return name;
    char text[64];
    std::snprintf(text, sizeof text, parameter.integer ? "%.0f" : "%.2f", static_cast<double>(value));
    return parameter.unit.empty() ? text : text + (' ' + parameter.unit);
}

HRESULT FillParameter(const ProjectCore& core, const MPCHANNELID& id, MPCHANNELREC& rec, uint32_t mask) {
    if (mask & ~PARAMETER_MASKS) return S_FALSE;
    const std::shared_ptr<Effect> running = core.FindEffect(id.channel, static_cast<SubId>(id.sub));
    const uint64_t index = id.subSub - 1;
    if (!running || index >= running->Parameters().size()) return S_FALSE;
    const EffectParameter& parameter = running->Parameters()[index];
    rec.volume = mask & MASK_FIXED ? parameter.preset : running->Value(index);
    rec.aux = parameter.minimum;
    rec.insertLevel = parameter.maximum;
    core.Read([&](const Session& session) {
        const Channel* channel = FindChannel(session, id.channel);
        if (!channel) return;
        rec.kind = KindWord(session, *channel);
        rec.automation = AutomationWord(channel->automation_mode);
    });
    HRESULT hr =
        mask & MASK_PARAM_NAME ? GiveText(rec.paramName, ValueText(parameter, running->Value(index))) : S_OK;
    if (hr == S_OK && (mask & MASK_NAME)) hr = GiveText(rec.name, parameter.name);
    return hr;
}

/// Ids below a path: the parts of a channel, the parameters of an effect.
std::vector<uint64_t> ChildrenOf(const ProjectCore& core, const MPCHANNELREF& ref, uint32_t level) {
    std::vector<uint64_t> ids;
    if (level == LEVEL_SUB_OBJECT)
        core.Read([&](const Session& session) {
            if (const Channel* channel = FindChannel(session, ref.channel))
                for (const SubId id : PartsOf(*channel)) ids.push_back(id);
        });
    if (level != LEVEL_PARAMETER) return ids;
    const uint64_t effect = ref.sub & UINT32_MAX;
    const std::shared_ptr<Effect> running = core.FindEffect(ref.channel, static_cast<SubId>(effect));
    for (uint64_t i = 0; running && i < running->Parameters().size(); i++)
        ids.push_back(effect | (i + 1) << PARAMETER_SHIFT);
    return ids;
}

MPCHANNELID PathOf(const MPCHANNELREF& ref) {
    return {ref.channel, ref.sub & UINT32_MAX, ref.sub >> PARAMETER_SHIFT};
}

HRESULT SetEffect(ProjectCore& core, const MPCHANNELID& id, const MPCHANNELREC& rec, uint32_t mask) {
    const auto sub = static_cast<SubId>(id.sub);
    if (mask & MASK_PARAM_NAME) {
        if (!(rec.effectParam & EFFECTPARAM_PRESET)) return E_NOTIMPL;
        return core.LoadPreset(id.channel, sub, rec.effectParam & ~EFFECTPARAM_PRESET);
    }
    if (mask & MASK_CHAIN) {  // before this one
        const std::optional<std::string> uri = UriOfClass(core.effects.get(), rec.effectClass);
        size_t place = 0;
        core.Read([&](const Session& session) {
            if (const Channel* channel = FindChannel(session, id.channel))
                place = PlaceInChain(*channel, sub).value_or(SIZE_MAX);
        });
        SubId made = kNoSub;
        return uri ? core.InsertEffect(id.channel, *uri, place, &made) : E_INVALIDARG;
    }
    if (!(mask & (MASK_EFFECT_STATE | MASK_EFFECT_POSITION))) return E_NOTIMPL;
    const bool position = mask & MASK_EFFECT_POSITION, state = mask & MASK_EFFECT_STATE;
    const HRESULT hr = core.EditChannel(id.channel, [&](Channel& channel) {
        Insert* insert = FindInsert(channel, sub);
        if (!insert) return;
        if (state) {
            insert->bypass = rec.effectState & EFFECT_BYPASSED;
            insert->post_fader = rec.effectState & EFFECT_POST_FADER;
        }
        if (position) MoveInChain(channel, sub, rec.effectTarget);
    });
    if (hr == S_OK && state) core.Moved(id.channel, {AutomationTarget::Bypass, sub, {}});
    if (hr == S_OK && state && (rec.effectState & EFFECT_EDITOR)) core.editorWishes.Add({id.channel, sub});
    return hr;
}

HRESULT SetSend(ProjectCore& core, const MPCHANNELID& id, const MPCHANNELREC& rec, uint32_t mask) {
    const auto sub = static_cast<SubId>(id.sub);
    if (mask & ~(SEND_MASKS | MASK_TARGET) || rec.panModel > kPanModels) return E_INVALIDARG;
    std::vector<ChannelValue> values;
    core.Read([&](const Session& session) {
        if (const Channel* channel = FindChannel(session, id.channel))
            values = *ValuesOf(session, *channel, sub, LEVEL_SUB_OBJECT, rec,
                               mask & MASK_VALUES & ~(mask & MASK_TARGET ? MASK_SEND : 0));
    });
    for (const ChannelValue& value : values)
        if (!FromRecord(value, rec.*value.field)) return E_INVALIDARG;
    const bool touch = rec.automation & AUTOMATION_TOUCH;
    if ((mask & MASK_AUTOMATION) && touch)
        for (const ChannelValue& value : values) core.Touch(id.channel, value.key, true);
    bool muteMoves = false;
    const HRESULT hr = core.EditChannel(id.channel, [&](Channel& channel) {
        Send* send = FindSend(channel, sub);
        for (const ChannelValue& value : values)
            ApplySetting(channel, value.key, *FromRecord(value, rec.*value.field));
        if ((mask & MASK_PAN) && rec.panModel) send->pan_model = static_cast<PanModel>(rec.panModel - 1);
        if (!(mask & MASK_SEND)) return;
        if (mask & MASK_TARGET) {
            send->target = rec.sendTarget;
            return;
        }
        muteMoves = send->mute != bool(rec.sendSwitches & SENDSWITCH_10000);
        SetSendSwitches(*send, rec.sendSwitches);
    });
    for (const ChannelValue& value : values) core.Moved(id.channel, value.key);
    if (muteMoves) core.Moved(id.channel, {AutomationTarget::SendMute, sub, {}});
    if ((mask & MASK_AUTOMATION) && !touch)
        for (const ChannelValue& value : values) core.Touch(id.channel, value.key, false);
    return hr;
}

HRESULT SetParameter(ProjectCore& core, const MPCHANNELID& id, const MPCHANNELREC& rec, uint32_t mask) {
    if (!(mask & MASK_VOLUME)) return E_NOTIMPL;
    const auto sub = static_cast<SubId>(id.sub);
    const uint64_t index = id.subSub - 1;
    const std::shared_ptr<Effect> running = core.FindEffect(id.channel, sub);
    if (!running || index >= running->Parameters().size()) return S_FALSE;
    const AutomationKey key{AutomationTarget::Parameter, sub, running->Parameters()[index].symbol};
    const bool touch = rec.automation & AUTOMATION_TOUCH;
    if ((mask & MASK_AUTOMATION) && touch) core.Touch(id.channel, key, true);
    const HRESULT hr = core.SetParameter(id.channel, sub, index, rec.volume);
    if ((mask & MASK_AUTOMATION) && !touch) core.Touch(id.channel, key, false);
    return hr;
}

}  // namespace

uint32_t SendSwitches(const Send& send) {
    return (send.pre_fader ? SENDSWITCH_PRE : 0) | (send.link_pan ? SENDSWITCH_LINK_PAN : 0) |
           (send.mute ? SENDSWITCH_10000 : 0);
}

void SetSendSwitches(Send& send, uint32_t word) {
    send.pre_fader = word & SENDSWITCH_PRE;
    send.link_pan = word & SENDSWITCH_LINK_PAN;
    send.mute = word & SENDSWITCH_10000;
}

HRESULT NextPart(const ProjectCore& core, MPCHANNELREF& ref, uint32_t level, MPCHANNELREC* rec,
                 uint32_t& more) {
    const std::vector<uint64_t> ids = ChildrenOf(core, ref, level);
    const bool first = level == LEVEL_SUB_OBJECT ? ref.sub == 0 : ref.sub >> PARAMETER_SHIFT == 0;
    auto at = std::ranges::find(ids, ref.sub);
    at = first ? ids.begin() : at == ids.end() ? at : at + 1;
    if (at == ids.end()) return S_FALSE;
    ref.sub = *at;
    more = at + 1 != ids.end();
    return rec ? GetPart(core, PathOf(ref), level, *rec, MASK_FIXED) : S_OK;
}

HRESULT GetPart(const ProjectCore& core, const MPCHANNELID& id, uint32_t level, MPCHANNELREC& rec,
                uint32_t mask) {
    if (level == LEVEL_PARAMETER) return FillParameter(core, id, rec, mask);
    if (level != LEVEL_SUB_OBJECT) return S_FALSE;
    return core.Read([&](const Session& session) {
        const Channel* channel = FindChannel(session, id.channel);
        return channel ? FillPart(core, session, *channel, static_cast<SubId>(id.sub), rec, mask) : S_FALSE;
    });
}

HRESULT SetPart(ProjectCore& core, const MPCHANNELID& id, uint32_t level, const MPCHANNELREC& rec,
                uint32_t mask) {
    if (level == LEVEL_PARAMETER) return SetParameter(core, id, rec, mask);
    if (level != LEVEL_SUB_OBJECT) return S_FALSE;
    enum { NOTHING, EFFECT, SEND };
    const int what = core.Read([&](const Session& session) {
        const Channel* channel = FindChannel(session, id.channel);
        const auto sub = static_cast<SubId>(id.sub);
        return !channel                    ? NOTHING
               : FindInsert(*channel, sub) ? EFFECT
               : FindSend(*channel, sub)   ? SEND
                                           : NOTHING;
    });
    if (what == NOTHING) return S_FALSE;
    return what == EFFECT ? SetEffect(core, id, rec, mask) : SetSend(core, id, rec, mask);
}

HRESULT InsertPart(ProjectCore& core, MPCHANNELID& id, const MPCHANNELREC& rec) {
    SubId made = kNoSub;
    HRESULT hr = E_INVALIDARG;
    if (rec.sendTarget != kNoChannel)
        hr = core.AddSend(id.channel, rec.sendTarget, &made);
    else if (const std::optional<std::string> uri = UriOfClass(core.effects.get(), rec.effectClass))
        hr = core.InsertEffect(id.channel, *uri, rec.order < 0 ? SIZE_MAX : static_cast<size_t>(rec.order),
                               &made);
    id.sub = hr == S_OK ? made : kNoSub;
    id.subSub = 0;
    return hr;
}

}  // namespace host
