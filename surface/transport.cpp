#include "surface/transport.h"

#include <algorithm>

namespace {
HRESULT SetBits(COPTPlugin& plugin, uint32_t set, uint32_t clear, uint32_t toggle) {
    uint32_t flags = 0;
    const HRESULT hr = plugin.GetHostProperty(MPPROP_TRANSPORT, &flags, sizeof flags);
    if (hr != S_OK) return hr;
    flags = ((flags | set) & ~clear) ^ toggle;
    return plugin.SetHostProperty(MPPROP_TRANSPORT, &flags, sizeof flags);
}

HRESULT LocateTo(COPTPlugin& plugin, int64_t from, int64_t by) {
    constexpr int64_t A_SECOND = 10'000'000;  // counts of 100 ns
    MPTIME time{std::max<int64_t>(from + by * A_SECOND, 0), TIMEFORMAT_NANO, 0};
    return plugin.SetHostProperty(MPPROP_TIME16, &time, sizeof time);
}
}  // namespace

HRESULT RunTransport(COPTPlugin& plugin, uint32_t function) {
    switch (function) {
    case TRANSPORT_PLAY: return SetBits(plugin, TRANSPORT_PLAYING, 0, 0);
    case TRANSPORT_STOP: return SetBits(plugin, 0, TRANSPORT_PLAYING, 0);
    case TRANSPORT_PLAY_OR_STOP: return SetBits(plugin, 0, 0, TRANSPORT_PLAYING);
    case TRANSPORT_LOOP_SWITCH: return SetBits(plugin, 0, 0, TRANSPORT_LOOP);
    case TRANSPORT_TO_START: return LocateTo(plugin, 0, 0);
    case TRANSPORT_BACK:
    case TRANSPORT_FORWARD: {
        MPTIME now{};
        const HRESULT hr = plugin.GetHostProperty(MPPROP_TIME16, &now, sizeof now);
        if (hr != S_OK || now.format != TIMEFORMAT_NANO) return hr == S_OK ? S_FALSE : hr;
        return LocateTo(plugin, now.time,
                        function == TRANSPORT_BACK ? -TRANSPORT_STEP_SECONDS : TRANSPORT_STEP_SECONDS);
    }
    default: return S_FALSE;
    }
}

bool TransportLamp(uint32_t function, uint32_t transportFlags) {
    const bool playing = transportFlags & TRANSPORT_RUNNING_MASK;
    if (function == TRANSPORT_STOP) return !playing;
    if (function == TRANSPORT_LOOP_SWITCH) return transportFlags & TRANSPORT_LOOP;
    return playing && (function == TRANSPORT_PLAY || function == TRANSPORT_PLAY_OR_STOP);
}
