// The mixer functions, and what goes back to the surface.
#include "controlmap/control_map.h"
#include "platform/text.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace {
constexpr float kUnknown = -1;
constexpr int32_t kUnknownRaw = -1;

template <class Row, size_t N>
const Row* Find(const Row (&rows)[N], uint32_t function) {
    const auto* row = std::ranges::find(rows, function, &Row::function);
    return row == std::end(rows) ? nullptr : row;
}
}  // namespace

CControlMap::Strip::Strip() {
    takeover.fill({kUnknown, kUnknownRaw});
    sent.fill(kUnknown);
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

float CControlMap::ShareOf(const MixerParameter& parameter, const MPCHANNELREC& rec) const {
    const float value = rec.*parameter.field;
    const float share = parameter.isGain ? m_site.ShareOfGain(value) : (value + 1) / 2;
    return std::isfinite(share) ? std::clamp(share, 0.0f, 1.0f) : 0;
}

HRESULT CControlMap::OnMixerFunction(MPFUNCTIONMAP& row) {
    constexpr uint32_t kModifiers = EFUNCFLAG_SHIFT | EFUNCFLAG_ALT | EFUNCFLAG_CTRL;
    if ((row.flags ^ FlagsOfState(m_state)) & kModifiers) return S_FALSE;
    const uint32_t f = row.function;
    if (f >= MIXFUNC_BANK_NEXT && f <= MIXFUNC_CHANNEL_PREVIOUS) return MoveBank(f);
    Strip* strip = FindStrip(row.channel);
    if (!strip) return S_FALSE;
    for (size_t i = 0; i < kMixerParameterCount; i++) {
        const MixerParameter& parameter = kMixerParameters[i];
        if (f == parameter.value) return Move(*strip, i, row);
        if (f == parameter.touchOn || f == parameter.touchOff)
            return Touch(*strip, i, f == parameter.touchOn);
    }
    if (const MixerSwitch* s = Find(kMixerSwitches, f)) return Toggle(*strip, s->bit, row.flags);
    if (const MixerAutomation* a = Find(kMixerAutomation, f)) return SetAutomation(*strip, a->mode);
    if (f == MIXFUNC_AUTOMATION_STEP) return StepAutomation(*strip, row.flags & EFUNCFLAG_DEC ? -1 : 1);
    if (f == MIXFUNC_SURFACE_SWITCH) {
        MPCHANNELREC rec{};
        rec.switches = SWITCH_SURFACE;
        m_site.SetChannel(strip->id, &rec, MASK_SWITCHES);
    }
    return S_FALSE;
}

HRESULT CControlMap::Touch(Strip& strip, size_t parameter, bool on) {
    const MixerParameter& p = kMixerParameters[parameter];
    MPCHANNELREC rec{};
    rec.pairSelector = p.pairSelector;
    const HRESULT hr = m_site.GetChannel(strip.id, &rec, p.mask | MASK_AUTOMATION);
    if (hr != S_OK) return hr;
    rec.automation = on ? rec.automation | AUTOMATION_TOUCH : rec.automation & ~AUTOMATION_TOUCH;
    rec.pairSelector = p.pairSelector;
    const HRESULT set = m_site.SetChannel(strip.id, &rec, p.mask | MASK_AUTOMATION);
    const uint32_t bit = 1u << parameter;
    strip.touched = on ? strip.touched | bit : strip.touched & ~bit;
    // A hand that lets go leaves the control where the value is.
    if (!on) {
        strip.sent[parameter] = kUnknown;
        RefreshStrips(false);
    }
    return set;
}

HRESULT CControlMap::Move(Strip& strip, size_t parameter, MPFUNCTIONMAP& row) {
    const MixerParameter& p = kMixerParameters[parameter];
    MPCHANNELREC rec{};
    rec.pairSelector = p.pairSelector;
    HRESULT hr = m_site.GetChannel(strip.id, &rec, p.mask | MASK_AUTOMATION);
    if (hr != S_OK) return hr;
    const float share = ValueFromEvent(0, row);
    TakeoverState& takeover = strip.takeover[parameter];
    takeover.cached = ShareOf(p, rec);
    const bool touched = strip.touched & 1u << parameter;
    if (!touched && Takeover(takeover, share, false, row) != S_OK) return S_FALSE;
    rec.*p.field = p.isGain ? m_site.GainOfShare(share) : share * 2 - 1;
    rec.pairSelector = p.pairSelector;
    hr = m_site.SetChannel(strip.id, &rec, p.mask);
    takeover.cached = share;
    // The control is where its value is: nothing is to be sent back to it.
    strip.sent[parameter] = share;
    return hr;
}

HRESULT CControlMap::Toggle(Strip& strip, uint32_t bit, uint32_t flags) {
    MPCHANNELREC rec{};
    const HRESULT hr = m_site.GetChannel(strip.id, &rec, MASK_SWITCHES);
    if (hr != S_OK) return hr;
    if (flags & EFUNCFLAG_STATE_ON)
        rec.switches |= bit;
    else if (flags & EFUNCFLAG_STATE_OFF)
        rec.switches &= ~bit;
    else
        rec.switches ^= bit;
    return m_site.SetChannel(strip.id, &rec, MASK_SWITCHES);
}

HRESULT CControlMap::SetAutomation(Strip& strip, uint32_t mode) {
    MPCHANNELREC rec{};
    rec.automation = mode;
    return m_site.SetChannel(strip.id, &rec, MASK_AUTOMATION);
}

HRESULT CControlMap::StepAutomation(Strip& strip, int32_t steps) {
    MPCHANNELREC rec{};
    const HRESULT hr = m_site.GetChannel(strip.id, &rec, MASK_AUTOMATION);
    if (hr != S_OK) return hr;
    std::vector<uint32_t> modes = {0};
    for (uint32_t i = 0; i < 5; i++)
        if (m_site.AutomationCapabilities() & 0x10000u << i) modes.push_back(1u << i);
    const auto at = std::ranges::find(modes, rec.automation & AUTOMATION_MODES);
    const auto count = std::ssize(modes);
    const ptrdiff_t from = at == modes.end() ? 0 : at - modes.begin();
    return SetAutomation(strip, modes[static_cast<size_t>(((from + steps) % count + count) % count)]);
}

HRESULT CControlMap::MoveBank(uint32_t function) {
    const int32_t step =
        function == MIXFUNC_BANK_NEXT || function == MIXFUNC_BANK_PREVIOUS ? ChannelCount() : 1;
    const bool forward = function == MIXFUNC_BANK_NEXT || function == MIXFUNC_CHANNEL_NEXT;
    const int32_t before = m_bankOffset;
    LayoutBank(m_bankOffset + (forward ? step : -step));
    return m_bankOffset == before ? S_FALSE : S_OK;
}

void CControlMap::SetBank(uint32_t filter) {
    m_bankFilter = filter;
    for (Strip& strip : m_strips) strip = {};
    LayoutBank(0);
}

void CControlMap::LayoutBank(int32_t index) {
    const std::vector<BankChannel> channels = m_site.Channels();
    const ::BankLayout layout = ::LayoutBank(channels, m_bankFilter, index, m_strips.size());
    m_bankOffset = layout.offset;
    const auto show = [](Strip& strip, uint64_t channel) {
        if (strip.id.channel == channel) return;
        // Another channel: what a hand or a lamp knew of the one before is of no use.
        strip = {};
        strip.id.channel = channel;
    };
    std::vector<bool> blanked(m_strips.size());
    for (size_t i = 0; i < m_strips.size(); i++) {
        blanked[i] = m_strips[i].id.channel != 0 && layout.strips[i] == 0;
        show(m_strips[i], layout.strips[i]);
    }
    const auto master = std::ranges::find_if(
        channels, [](const BankChannel& c) { return (c.kind & KIND_MASTER) == KIND_MASTER; });
    show(m_master, master == channels.end() ? 0 : master->id);
    for (size_t i = 0; i < blanked.size(); i++) {
        if (!blanked[i]) continue;
        const auto channel = static_cast<int32_t>(i);
        for (const MixerParameter& p : kMixerParameters) SendValue(p.value, channel, 0);
        for (const MixerSwitch& s : kMixerSwitches) SendSwitch(s.function, channel, false);
        SendName(channel, {});
    }
    RefreshStrips(false);
}

void CControlMap::RefreshStrips(bool everything) {
    if (!(m_state & MAPSTATE_ENABLED)) return;
    for (size_t i = 0; i < m_strips.size(); i++)
        RefreshStrip(m_strips[i], static_cast<int32_t>(i), everything);
    RefreshStrip(m_master, STRIP_MASTER, everything);
}

void CControlMap::RefreshStrip(Strip& strip, int32_t channel, bool everything) {
    if (strip.id.channel == 0) return;
    for (size_t i = 0; i < kMixerParameterCount; i++) {
        const MixerParameter& p = kMixerParameters[i];
        // A motor must not pull against the hand.
        if (strip.touched & 1u << i) continue;
        MPCHANNELREC rec{};
        rec.pairSelector = p.pairSelector;
        if (m_site.GetChannel(strip.id, &rec, p.mask) != S_OK) continue;
        const float share = ShareOf(p, rec);
        if (!everything && share == strip.sent[i]) continue;
        strip.sent[i] = share;
        SendValue(p.value, channel, share);
    }
    MPCHANNELREC rec{};
    if (m_site.GetChannel(strip.id, &rec, MASK_SWITCHES) == S_OK) {
        const uint32_t changed = everything || !strip.switchesKnown ? ~0u : rec.switches ^ strip.sentSwitches;
        for (const MixerSwitch& s : kMixerSwitches)
            if (changed & s.bit) SendSwitch(s.function, channel, rec.switches & s.bit);
        strip.sentSwitches = rec.switches;
        strip.switchesKnown = true;
    }
    const std::u16string name = m_site.ChannelName(strip.id);
    if (everything || name != strip.sentName) SendName(channel, strip.sentName = name);
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

void CControlMap::SendSwitch(uint32_t function, int32_t channel, bool on) {
    std::vector<MPEVENTREC> events;
    {
        const std::scoped_lock lock(m_listLock);
        for (const MPFUNCTIONMAP* row : m_lists.FindSend(ECONTROL_GRP_INSERT, function, channel))
            if (row->flags & (on ? EFUNCFLAG_STATE_ON : EFUNCFLAG_STATE_OFF)) events.push_back(row->first);
    }
    for (const MPEVENTREC& event : events) m_site.SendEvent(event);
}

// The row's long data is the display's message with room for the text: `index` is where it begins, `maxValue`
// its length. Displays know ASCII alone.
void CControlMap::SendName(int32_t channel, const std::u16string& name) {
    struct Message {
        MPEVENTREC event;
        std::vector<uint8_t> bytes;
    };
    std::vector<Message> messages;
    {
        const std::scoped_lock lock(m_listLock);
        for (const MPFUNCTIONMAP* row : m_lists.FindSend(ECONTROL_GRP_INSERT, MIXFUNC_NAME, channel)) {
            const auto* data = static_cast<const uint8_t*>(row->first.data);
            const size_t size = data ? row->first.dataSize : 0, at = row->index;
            const auto room = static_cast<size_t>(std::max(row->maxValue, 0));
            if (at + room > size) continue;
            Message message{row->first, std::vector<uint8_t>(data, data + size)};
            for (size_t i = 0; i < room; i++) {
                const char16_t c = i < name.size() ? name[i] : u' ';
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
