// What a control map asks of the plug-in that owns it.
#include "audio/fader_taper.h"
#include "plugin/control_plugin.h"
#include "plugin/module_state.h"

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

std::vector<uint64_t> COPTControlPlugin::RouteTargets(const MPCHANNELID& id, uint32_t mask) {
    if (mask & MASK_INPUT_ROUTE) return PortEntries(KIND_INPUT_BUS);
    constexpr uint32_t SEND_KINDS = KIND_AUDIO_BUS_BIT | KIND_FX_BIT;
    std::vector<uint64_t> targets;
    for (const BankChannel& channel : Channels()) {
        const bool fits = channel.kind & KIND_BUS && (mask & MASK_OUTPUT_ROUTE || channel.kind & SEND_KINDS);
        if (fits && channel.id != id.channel) targets.push_back(channel.id);
    }
    if (mask & MASK_OUTPUT_ROUTE)
        for (const uint64_t output : PortEntries(KIND_OUTPUT_ENTRY)) targets.push_back(output);
    return targets;
}

MPCHANNELID COPTControlPlugin::Effect(const MPCHANNELID& id, uint32_t slot) {
    int32_t index = -1;
    MPCHANNELID effect{};
    if (FindChannel(id.channel, &index) == S_OK) GetSubId(index, static_cast<int32_t>(slot), &effect);
    return effect;
}

// A surface's fader stands where the one on the screen does.
float COPTControlPlugin::ShareOfGain(float gain) const { return FaderShareOfGain(gain); }
float COPTControlPlugin::GainOfShare(float share) const { return FaderGainOfShare(share); }

uint32_t COPTControlPlugin::AutomationCapabilities() {
    uint32_t words[2] = {sizeof words, 0x80000000};
    return GetHostProperty(MPPROP_AUTOMATION, words, sizeof words) == S_OK ? words[1] : 0;
}

void COPTControlPlugin::SendEvent(const MPEVENTREC& event) { m_ports.Send(event); }
