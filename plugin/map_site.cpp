// What a control map asks of the plug-in that owns it.
#include "audio/fader_taper.h"
#include "plugin/control_plugin.h"
#include "plugin/module_state.h"

#include <algorithm>

using namespace tarn;

HRESULT COPTControlPlugin::GetChannel(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) {
    return m_channels.Get(id, rec, mask);
}

HRESULT COPTControlPlugin::SetChannel(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) {
    return m_channels.Set(id, rec, mask);
}

std::vector<BankChannel> COPTControlPlugin::Channels() {
    if (RequireReferences() != S_OK) return {};
    return m_refs.Shown(!ThisModule().useHostHideState);
}

std::u16string COPTControlPlugin::ChannelName(const MPCHANNELID& id) {
    constexpr size_t MOST = 256;
    char16_t name[MOST] = {};
    GetChannelName(id, SELECT_LONG_NAME, name, MOST);
    return name;
}

// What makes sense for the channel's kind; whether it would feed itself by that the host says.
std::vector<uint64_t> COPTControlPlugin::RouteTargets(const MPCHANNELID& id, uint32_t mask) {
    const std::vector<BankChannel> channels = Channels();
    const auto own = std::ranges::find(channels, id.channel, &BankChannel::id);
    const uint32_t kind = own == channels.end() ? 0 : own->kind;
    constexpr uint32_t BUSSES = KIND_AUDIO_BUS_BIT | KIND_FX_BIT;
    uint32_t fitting = BUSSES, entries = 0;
    if (mask & MASK_INPUT_ROUTE) {
        fitting = kind & KIND_AUDIO_TRACK ? BUSSES | KIND_SYNTH_BIT | KIND_INPUT_BIT : 0;
        entries = kind & KIND_MIDI_TRACK ? KIND_MIDI_PORT_ENTRY : KIND_INPUT_BUS;
    } else if (mask & MASK_OUTPUT_ROUTE) {
        fitting = kind & KIND_MIDI_TRACK ? KIND_SYNTH_BIT : KIND_AUDIO_BUS_BIT | KIND_MASTER_BIT;
        entries = kind & KIND_MIDI_TRACK ? 0 : KIND_OUTPUT_ENTRY;
    }
    std::vector<uint64_t> targets;
    if (entries && mask & MASK_INPUT_ROUTE) targets = PortEntries(entries);
    for (const BankChannel& channel : channels)
        if (channel.kind & KIND_BUS && channel.kind & fitting && channel.id != id.channel)
            targets.push_back(channel.id);
    if (entries && mask & MASK_OUTPUT_ROUTE)
        for (const uint64_t output : PortEntries(entries)) targets.push_back(output);
    return targets;
}

MPCHANNELID COPTControlPlugin::Effect(const MPCHANNELID& id, uint32_t slot) {
    int32_t index = -1;
    MPCHANNELID effect{};
    if (FindChannel(id.channel, &index) == S_OK) GetSubId(index, static_cast<int32_t>(slot), &effect);
    return effect;
}

// The host knows its functions by the numbers that its catalog has for them.
HRESULT COPTControlPlugin::CallHost(const MPFUNCTIONMAP& row) {
    if (!(row.flags & EFUNCFLAG_HOSTFUNCTION)) return S_FALSE;
    MPCOMMANDREG wish{};
    wish.size = sizeof wish;
    wish.action = COMMANDS_RUN;
    wish.reply[0] = static_cast<uint32_t>(row.maxValue);
    return SetHostProperty(MPPROP_COMMANDS, &wish, sizeof wish);
}

// A surface's fader stands where the one on the screen does.
float COPTControlPlugin::ShareOfGain(float gain) const { return FaderShareOfGain(gain); }
float COPTControlPlugin::GainOfShare(float share) const { return FaderGainOfShare(share); }

uint32_t COPTControlPlugin::AutomationCapabilities() {
    uint32_t words[2] = {sizeof words, 0x80000000};
    return GetHostProperty(MPPROP_AUTOMATION, words, sizeof words) == S_OK ? words[1] : 0;
}

void COPTControlPlugin::SendEvent(const MPEVENTREC& event) { m_ports.Send(event); }
