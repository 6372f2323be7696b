// The mixer functions: what rows of group ECONTROL_GRP_INSERT do with the strips' channels.
#include "controlmap/control_map.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {
constexpr float UNKNOWN = -1;

template <class Row, size_t N>
const Row* Find(const Row (&rows)[N], uint32_t function) {
    const auto* row = std::ranges::find(rows, function, &Row::function);
    return row == std::end(rows) ? nullptr : row;
}

/// `bits` with one of them set, cleared or turned over, as the row says.
uint32_t Switched(uint32_t bits, uint32_t bit, uint32_t flags) {
    if (flags & EFUNCFLAG_STATE_ON) return bits | bit;
    if (flags & EFUNCFLAG_STATE_OFF) return bits & ~bit;
    return bits ^ bit;
}

/// The element so many steps on from `current`, around the ends; the first one where it is not found.
uint64_t Stepped(const std::vector<uint64_t>& choices, uint64_t current, int32_t steps) {
    const auto count = static_cast<int64_t>(choices.size());
    const auto at = std::ranges::find(choices, current);
    if (at == choices.end()) return choices.front();
    return choices[static_cast<size_t>((((at - choices.begin() + steps) % count) + count) % count)];
}

/// How a value lies along a control's way.
enum class Law {
    Travel,     ///< as it is, 0..1
    Taper,      ///< a gain, along a fader's travel
    BothSides,  ///< -1..1
};
Law LawOf(uint32_t kind, const MixerParameter& parameter) {
    if (!parameter.isGain) return Law::BothSides;
    // What a MIDI track is set to is no gain: its volume goes in even steps.
    return parameter.mask == MASK_VOLUME && kind & KIND_MIDI_TRACK ? Law::Travel : Law::Taper;
}
}  // namespace

CControlMap::Strip::Strip() {
    takeover.fill({UNKNOWN, RAW_UNKNOWN});
    sent.fill(UNKNOWN);
}

HRESULT CControlMap::SetChannelCount(int32_t strips) {
    if (strips < 0) return E_INVALIDARG;
    m_strips.resize(static_cast<size_t>(strips));
    return S_OK;
}

MPCHANNELID CControlMap::StripChannel(int32_t strip) const {
    if (strip == STRIP_MASTER) return m_master.id;
    return strip >= 0 && strip < ChannelCount() ? m_strips[static_cast<size_t>(strip)].id : MPCHANNELID{};
}

// Null for an index out of range and for a strip without a channel.
CControlMap::Strip* CControlMap::FindStrip(int32_t channel) {
    Strip* strip = nullptr;
    if (channel == STRIP_MASTER)
        strip = &m_master;
    else if (channel >= 0 && channel < ChannelCount())
        strip = &m_strips[static_cast<size_t>(channel)];
    return strip && strip->id.channel != 0 ? strip : nullptr;
}

void CControlMap::SetTarget(uint32_t target) {
    const bool sameSide = ((std::exchange(m_target, target) ^ target) & MASK_INPUT_SIDE) == 0;
    if (sameSide) return;
    // Values of the other side: what is known of the controls' places is of no use.
    const auto forget = [](Strip& strip) {
        for (size_t i = 0; i < MIXER_PARAMETER_COUNT; i++) {
            if (!MIXER_PARAMETERS[i].hasInputSide) continue;
            strip.takeover[i] = {UNKNOWN, RAW_UNKNOWN};
            strip.sent[i] = UNKNOWN;
        }
    };
    for (Strip& strip : m_strips) forget(strip);
    forget(m_master);
    RefreshStrips(false);
}

ParameterGesture CControlMap::GestureOf(const Strip& strip, const MixerParameter& p) {
    const uint32_t mask = p.mask | (p.hasInputSide ? m_target & MASK_INPUT_SIDE : 0);
    return {m_site, strip.id, {mask, p.pairSelector, p.sendSelector, 0, p.field}};
}

float CControlMap::ShareOf(const Strip& strip, const MixerParameter& parameter, float value) const {
    float share = value;
    switch (LawOf(strip.kind, parameter)) {
    case Law::Travel: break;
    case Law::Taper: share = m_site.ShareOfGain(value); break;
    case Law::BothSides: share = (value + 1) / 2; break;
    }
    return std::isfinite(share) ? std::clamp(share, 0.0f, 1.0f) : 0;
}

float CControlMap::ValueOf(const Strip& strip, const MixerParameter& parameter, float share) const {
    switch (LawOf(strip.kind, parameter)) {
    case Law::Travel: break;
    case Law::Taper: return m_site.GainOfShare(share);
    case Law::BothSides: return share * 2 - 1;
    }
    return share;
}

HRESULT CControlMap::OnMixerFunction(MPFUNCTIONMAP& row) {
    constexpr uint32_t MODIFIERS = EFUNCFLAG_SHIFT | EFUNCFLAG_ALT | EFUNCFLAG_CTRL;
    if ((row.flags ^ FlagsOfState(m_state)) & MODIFIERS) return S_FALSE;
    const uint32_t f = row.function;
    if (f >= MIXFUNC_BANK_NEXT && f <= MIXFUNC_CHANNEL_PREVIOUS) return MoveBank(f);
    Strip* strip = FindStrip(row.channel);
    if (!strip || f == 0) return S_FALSE;
    for (size_t i = 0; i < MIXER_PARAMETER_COUNT; i++) {
        const MixerParameter& parameter = MIXER_PARAMETERS[i];
        if (f == parameter.value) return Move(*strip, i, row);
        if (f == parameter.touchOn || f == parameter.touchOff)
            return Touch(*strip, i, f == parameter.touchOn);
    }
    if (const MixerSwitch* s = Find(MIXER_SWITCHES, f)) return Toggle(*strip, s->bit, row.flags);
    if (const MixerAutomation* a = Find(MIXER_AUTOMATION, f)) return SetAutomation(*strip, a->mode);
    if (const MixerRoute* r = Find(MIXER_ROUTES, f)) return StepRoute(*strip, *r, StepsFromEvent(row));
    switch (f) {
    case MIXFUNC_SEND_TARGET: return StepSendTarget(*strip, StepsFromEvent(row));
    case MIXFUNC_SEND_SWITCH: return ToggleSend(*strip, row.flags);
    case MIXFUNC_CHAIN: return OnChainFunction(*strip, row);
    case MIXFUNC_AUTOMATION_STEP: return StepAutomation(*strip, StepsFromEvent(row));
    case MIXFUNC_SURFACE_SWITCH: {
        MPCHANNELREC rec{};
        rec.switches = SWITCH_SURFACE;
        m_site.SetChannel(strip->id, &rec, MASK_SWITCHES | MASK_TARGET);
        return S_FALSE;
    }
    default: return S_FALSE;
    }
}

// The strip turns to another channel under the hand, or to none: the one before must not stay touched.
void CControlMap::ReleaseTouches(Strip& strip) {
    for (ParameterGesture& gesture : strip.gestures) {
        if (gesture.IsRunning()) gesture.End();
        gesture = {};
    }
}

HRESULT CControlMap::Touch(Strip& strip, size_t parameter, bool on) {
    ParameterGesture& gesture = strip.gestures[parameter];
    if (!gesture.IsRunning()) gesture = GestureOf(strip, MIXER_PARAMETERS[parameter]);
    HRESULT told = S_OK;
    const HRESULT hr = on ? gesture.Begin(&told) : gesture.End(&told);
    if (hr != S_OK) return hr;
    // A hand that lets go leaves the control where the value is.
    if (!on) {
        strip.sent[parameter] = UNKNOWN;
        RefreshStrips(false);
    }
    return told;
}

HRESULT CControlMap::Move(Strip& strip, size_t parameter, MPFUNCTIONMAP& row) {
    const MixerParameter& p = MIXER_PARAMETERS[parameter];
    if (p.mask == MASK_SEND) {
        const HRESULT hr = AimSend(strip);
        if (hr != S_OK) return hr;
    }
    ParameterGesture gesture = GestureOf(strip, p);
    const HRESULT hr = gesture.Read();
    if (hr != S_OK) return hr;
    TakeoverState& takeover = strip.takeover[parameter];
    takeover.cached = ShareOf(strip, p, gesture.Value());
    const bool touched = strip.gestures[parameter].IsRunning(), steps = IsStep(row);
    const float share = steps ? ValueAfterSteps(takeover.cached, row) : ValueFromEvent(0, row);
    if (!steps && !touched && Takeover(takeover, share, false, row) != S_OK) return S_FALSE;
    const HRESULT set = gesture.Change(ValueOf(strip, p, share));
    takeover.cached = share;
    // The control is where its value is: nothing is to be sent back to it. What has no place of its own is
    // told where the value went.
    if (!steps) strip.sent[parameter] = share;
    return set;
}

HRESULT CControlMap::Toggle(const Strip& strip, uint32_t bit, uint32_t flags) {
    MPCHANNELREC rec{};
    const HRESULT hr = m_site.GetChannel(strip.id, &rec, MASK_SWITCHES);
    if (hr != S_OK) return hr;
    rec.switches = Switched(rec.switches, bit, flags);
    return m_site.SetChannel(strip.id, &rec, MASK_SWITCHES | MASK_TARGET);
}

// Makes the send that the surface acts on the channel's current one.
HRESULT CControlMap::AimSend(const Strip& strip) {
    if (m_sendTarget == 0) return S_OK;
    MPCHANNELREC rec{};
    const HRESULT hr = m_site.GetChannel(strip.id, &rec, MASK_SEND);
    if (hr != S_OK || rec.sendTarget == m_sendTarget) return hr;
    rec.sendTarget = m_sendTarget;
    return m_site.SetChannel(strip.id, &rec, MASK_SEND | MASK_TARGET);
}

// For all strips: a row of knobs is the sends to one place.
HRESULT CControlMap::StepSendTarget(const Strip& strip, int32_t steps) {
    const std::vector<uint64_t> targets = m_site.RouteTargets(strip.id, MASK_SEND);
    if (targets.empty()) return S_FALSE;
    uint64_t current = m_sendTarget;
    MPCHANNELREC rec{};
    if (current == 0 && m_site.GetChannel(strip.id, &rec, MASK_SEND) == S_OK) current = rec.sendTarget;
    m_sendTarget = Stepped(targets, current, steps);
    const HRESULT hr = AimSend(strip);
    for (const Strip& other : m_strips)
        if (other.id.channel != 0 && &other != &strip) AimSend(other);
    RefreshStrips(false);
    return hr;
}

HRESULT CControlMap::ToggleSend(const Strip& strip, uint32_t flags) {
    HRESULT hr = AimSend(strip);
    MPCHANNELREC rec{};
    if (hr == S_OK) hr = m_site.GetChannel(strip.id, &rec, MASK_SEND);
    if (hr != S_OK) return hr;
    rec.sendSwitches = Switched(rec.sendSwitches, SENDSWITCH_10000, flags);
    return m_site.SetChannel(strip.id, &rec, MASK_SEND);
}

// On to the next target that the host takes: it refuses what would feed a channel with itself.
HRESULT CControlMap::StepRoute(const Strip& strip, const MixerRoute& route, int32_t steps) {
    const std::vector<uint64_t> targets = m_site.RouteTargets(strip.id, route.mask);
    MPCHANNELREC rec{};
    HRESULT hr = m_site.GetChannel(strip.id, &rec, route.mask);
    if (hr != S_OK || targets.empty()) return hr == S_OK ? S_FALSE : hr;
    uint64_t target = rec.*route.target;
    const uint64_t before = target;
    for (size_t tries = 0; tries < targets.size(); tries++) {
        target = Stepped(targets, target, tries == 0 ? steps : (steps < 0 ? -1 : 1));
        if (target == before) break;
        rec.*route.target = target;
        hr = m_site.SetChannel(strip.id, &rec, route.mask | MASK_TARGET);
        if (hr == S_OK) return S_OK;
    }
    return S_FALSE;
}

// A slot's effect is taken out of the chain's way and put back.
HRESULT CControlMap::OnChainFunction(const Strip& strip, const MPFUNCTIONMAP& row) {
    const MPCHANNELID effect = m_site.Effect(strip.id, row.index);
    if (effect.sub == 0) return S_FALSE;
    MPCHANNELREC rec{};
    const HRESULT hr = m_site.GetChannel(effect, &rec, MASK_EFFECT_STATE);
    if (hr != S_OK) return hr;
    rec.effectState = Switched(rec.effectState, EFFECT_BYPASSED, row.flags);
    return m_site.SetChannel(effect, &rec, MASK_EFFECT_STATE);
}

HRESULT CControlMap::SetAutomation(const Strip& strip, uint32_t mode) {
    MPCHANNELREC rec{};
    rec.automation = mode;
    return m_site.SetChannel(strip.id, &rec, MASK_AUTOMATION);
}

HRESULT CControlMap::StepAutomation(const Strip& strip, int32_t steps) {
    MPCHANNELREC rec{};
    const HRESULT hr = m_site.GetChannel(strip.id, &rec, MASK_AUTOMATION);
    if (hr != S_OK) return hr;
    const uint32_t there = m_site.AutomationCapabilities();
    std::vector<uint64_t> modes = {0};
    for (uint32_t i = 0; i < 5; i++)
        if (there & 0x10000u << i) modes.push_back(1u << i);
    return SetAutomation(strip,
                         static_cast<uint32_t>(Stepped(modes, rec.automation & AUTOMATION_MODES, steps)));
}

HRESULT CControlMap::MoveBank(uint32_t function) {
    const int32_t step =
        function == MIXFUNC_BANK_NEXT || function == MIXFUNC_BANK_PREVIOUS ? ChannelCount() : 1;
    const bool forward = function == MIXFUNC_BANK_NEXT || function == MIXFUNC_CHANNEL_NEXT;
    // A bank without a channel is none.
    if (forward ? m_bankOffset + step >= m_bankChannels : m_bankOffset == 0) return S_FALSE;
    LayoutBank(m_bankOffset + (forward ? step : -step));
    return S_OK;
}

void CControlMap::SetBank(uint32_t filter) {
    m_bankFilter = filter;
    for (Strip& strip : m_strips) {
        ReleaseTouches(strip);
        strip = {};
    }
    LayoutBank(0);
}

void CControlMap::LayoutBank(int32_t index) {
    const std::vector<BankChannel> channels = m_site.Channels();
    const ::BankLayout layout = ::LayoutBank(channels, m_bankFilter, index, m_strips.size());
    m_bankOffset = layout.offset;
    m_bankChannels = layout.channels;
    const auto show = [&](Strip& strip, uint64_t channel) {
        if (strip.id.channel != channel) {
            ReleaseTouches(strip);
            // Another channel: what a hand or a lamp knew of the one before is of no use.
            strip = {};
            strip.id.channel = channel;
        }
        const auto at = std::ranges::find(channels, channel, &BankChannel::id);
        strip.kind = at == channels.end() ? 0 : at->kind;
    };
    std::vector<bool> blanked(m_strips.size());
    for (size_t i = 0; i < m_strips.size(); i++) {
        blanked[i] = m_strips[i].id.channel != 0 && layout.strips[i] == 0;
        show(m_strips[i], layout.strips[i]);
    }
    const auto master = std::ranges::find_if(
        channels, [](const BankChannel& c) { return (c.kind & KIND_MASTER) == KIND_MASTER; });
    show(m_master, master == channels.end() ? 0 : master->id);
    for (size_t i = 0; i < blanked.size(); i++)
        if (blanked[i]) BlankStrip(static_cast<int32_t>(i));
    RefreshStrips(false);
}
