// What goes back to the surface: values to motors, states to lamps, texts to displays; each only when it has
// changed, and only where the surface has something to show it with.
#include "controlmap/control_map.h"

#include <algorithm>

namespace {
// Rows that show a text.
constexpr uint32_t TEXT_FUNCTIONS[] = {MIXFUNC_NAME, MIXFUNC_SEND_TARGET, MIXFUNC_OUTPUT_TARGET,
                                       MIXFUNC_INPUT_ROUTE, MIXFUNC_OUTPUT_ROUTE};
}  // namespace

bool CControlMap::IsShown(uint32_t function, int32_t channel) const {
    const std::scoped_lock lock(m_listLock);
    return m_lists.HasSend(ECONTROL_GRP_INSERT, function, channel);
}

std::vector<uint32_t> CControlMap::ShownSlots(int32_t channel) const {
    const std::scoped_lock lock(m_listLock);
    std::vector<uint32_t> slots;
    for (const MPFUNCTIONMAP* row : m_lists.FindSend(ECONTROL_GRP_INSERT, MIXFUNC_CHAIN, channel))
        if (std::ranges::find(slots, row->index) == slots.end()) slots.push_back(row->index);
    return slots;
}

void CControlMap::RefreshStrips(bool everything) {
    if (!(m_state & MAPSTATE_ENABLED)) return;
    for (size_t i = 0; i < m_strips.size(); i++)
        RefreshStrip(m_strips[i], static_cast<int32_t>(i), everything);
    RefreshStrip(m_master, STRIP_MASTER, everything);
    if (everything) m_site.OnRefresh();
}

void CControlMap::RefreshStrip(Strip& strip, int32_t channel, bool everything) {
    if (strip.id.channel == 0) return;
    RefreshValues(strip, channel, everything);
    RefreshLamps(strip, channel, everything);
    RefreshTexts(strip, channel, everything);
}

void CControlMap::BlankStrip(int32_t channel) {
    for (const MixerParameter& p : MIXER_PARAMETERS) SendValue(p.value, channel, 0);
    for (const MixerSwitch& s : MIXER_SWITCHES) SendLamp(ECONTROL_GRP_INSERT, s.function, channel, false);
    for (const MixerAutomation& a : MIXER_AUTOMATION)
        SendLamp(ECONTROL_GRP_INSERT, a.function, channel, false);
    for (const uint32_t function : {MIXFUNC_SEND_SWITCH, MIXFUNC_CHAIN})
        SendLamp(ECONTROL_GRP_INSERT, function, channel, false);
    for (const uint32_t function : TEXT_FUNCTIONS) SendText(function, channel, {});
}

void CControlMap::RefreshValues(Strip& strip, int32_t channel, bool everything) {
    for (size_t i = 0; i < MIXER_PARAMETER_COUNT; i++) {
        const MixerParameter& p = MIXER_PARAMETERS[i];
        // A motor must not pull against the hand.
        if (!p.field || strip.gestures[i].IsRunning() || !IsShown(p.value, channel)) continue;
        ParameterGesture gesture = GestureOf(strip, p);
        if (gesture.Read() != S_OK) continue;
        const float share = ShareOf(strip, p, gesture.Value());
        if (!everything && share == strip.sent[i]) continue;
        strip.sent[i] = share;
        SendValue(p.value, channel, share);
    }
}

void CControlMap::RefreshLamps(Strip& strip, int32_t channel, bool everything) {
    const auto show = [&](uint32_t function, bool on, uint32_t index = ANY_INDEX) {
        const auto [lamp, isNew] = strip.lamps.try_emplace(function << 8 | (index & 0xFF), on);
        if (!everything && !isNew && lamp->second == on) return;
        lamp->second = on;
        SendLamp(ECONTROL_GRP_INSERT, function, channel, on, index);
    };
    const auto isShown = [&](const auto& row) { return IsShown(row.function, channel); };
    MPCHANNELREC rec{};
    if (std::ranges::any_of(MIXER_SWITCHES, isShown) &&
        m_site.GetChannel(strip.id, &rec, MASK_SWITCHES) == S_OK)
        for (const MixerSwitch& s : MIXER_SWITCHES) show(s.function, rec.switches & s.bit);
    rec = {};
    if (std::ranges::any_of(MIXER_AUTOMATION, isShown) &&
        m_site.GetChannel(strip.id, &rec, MASK_AUTOMATION) == S_OK)
        for (const MixerAutomation& a : MIXER_AUTOMATION)
            show(a.function, (rec.automation & AUTOMATION_MODES) == a.mode);
    rec = {};
    if (IsShown(MIXFUNC_SEND_SWITCH, channel) && m_site.GetChannel(strip.id, &rec, MASK_SEND) == S_OK)
        show(MIXFUNC_SEND_SWITCH, rec.sendSwitches & SENDSWITCH_10000);
    for (const uint32_t slot : ShownSlots(channel)) {
        const MPCHANNELID effect = m_site.Effect(strip.id, slot);
        rec = {};
        const bool there = effect.sub != 0 && m_site.GetChannel(effect, &rec, MASK_EFFECT_STATE) == S_OK;
        show(MIXFUNC_CHAIN, there && !(rec.effectState & EFFECT_BYPASSED), slot);
    }
}

void CControlMap::RefreshTexts(Strip& strip, int32_t channel, bool everything) {
    const auto show = [&](uint32_t function, const std::u16string& text) {
        const auto [sent, isNew] = strip.sentTexts.try_emplace(function, text);
        if (!everything && !isNew && sent->second == text) return;
        sent->second = text;
        SendText(function, channel, text);
    };
    if (IsShown(MIXFUNC_NAME, channel)) show(MIXFUNC_NAME, m_site.ChannelName(strip.id));
    const auto showTarget = [&](uint32_t function, uint32_t mask, uint64_t MPCHANNELREC::*target) {
        MPCHANNELREC rec{};
        if (!IsShown(function, channel) || m_site.GetChannel(strip.id, &rec, mask) != S_OK) return;
        show(function, rec.*target ? m_site.ChannelName({rec.*target, 0, 0}) : std::u16string());
    };
    showTarget(MIXFUNC_SEND_TARGET, MASK_SEND, &MPCHANNELREC::sendTarget);
    for (const MixerRoute& route : MIXER_ROUTES) showTarget(route.function, route.mask, route.target);
}

void CControlMap::SendValue(uint32_t function, int32_t channel, float share) {
    std::vector<MPFUNCTIONMAP> rows;
    {
        const std::scoped_lock lock(m_listLock);
        for (const MPFUNCTIONMAP* row : m_lists.FindSend(ECONTROL_GRP_INSERT, function, channel))
            rows.push_back(*row);
    }
    for (MPFUNCTIONMAP& row : rows) {
        if (EventFromValue(share, row) != S_OK) continue;
        if (row.second.type != MPNULL) m_site.SendEvent(row.second);
        m_site.SendEvent(row.first);
    }
}

void CControlMap::SendLamp(uint32_t group, uint32_t function, int32_t channel, bool on, uint32_t index) {
    std::vector<MPEVENTREC> events;
    {
        const std::scoped_lock lock(m_listLock);
        for (const MPFUNCTIONMAP* row : m_lists.FindSend(group, function, channel))
            if (row->flags & (on ? EFUNCFLAG_STATE_ON : EFUNCFLAG_STATE_OFF) &&
                (index == ANY_INDEX || index == row->index))
                events.push_back(row->first);
    }
    for (const MPEVENTREC& event : events) m_site.SendEvent(event);
}

// The row's long data is the display's message with room for the text: `index` is where it begins, `maxValue`
// its length. Displays know ASCII alone.
void CControlMap::SendText(uint32_t function, int32_t channel, const std::u16string& text) {
    struct Message {
        MPEVENTREC event;
        std::vector<uint8_t> bytes;
    };
    std::vector<Message> messages;
    {
        const std::scoped_lock lock(m_listLock);
        for (const MPFUNCTIONMAP* row : m_lists.FindSend(ECONTROL_GRP_INSERT, function, channel)) {
            const auto* data = static_cast<const uint8_t*>(row->first.data);
            const size_t size = data ? row->first.dataSize : 0, at = row->index;
            const auto room = static_cast<size_t>(std::max(row->maxValue, 0));
            if (at + room > size) continue;
            Message message{row->first, std::vector<uint8_t>(data, data + size)};
            const std::u16string shown = FitText(text, room);
            for (size_t i = 0; i < room; i++) {
                const char16_t c = i < shown.size() ? shown[i] : u' ';
                message.bytes[at + i] = c >= 0x20 && c < 0x7F ? static_cast<uint8_t>(c) : '?';
            }
            messages.push_back(std::move(message));
        }
    }
    for (Message& message : messages) {
        message.event.data = message.bytes.data();
        m_site.SendEvent(message.event);
    }
}
