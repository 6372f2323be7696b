#include "plugin/host_channels.h"

#include "platform/text.h"

using namespace tarn;

namespace {
uint32_t LevelOf(const MPCHANNELID& id) { return id.sub == 0 ? LEVEL_CHANNEL : LEVEL_SUB_OBJECT; }
}  // namespace

void HostChannels::Connect(ComPtr<IMPCtrlChannels> host) {
    // What was there is released outside the lock, by the argument's end.
    const std::lock_guard lock(m_lock);
    std::swap(m_host, host);
}

ComPtr<IMPCtrlChannels> HostChannels::Host() const {
    const std::lock_guard lock(m_lock);
    return m_host;
}

/// Some hosts fill a text wherever they have one. On level 1 the texts of effects are no pointers: their
/// bytes hold levels, and the companions of a group's head.
void HostChannels::FreeTexts(MPCHANNELREC& rec, uint32_t level, uint32_t asked) {
    if (asked == MASK_ALL) return;
    struct Row {
        uint32_t mask;
        char16_t* MPCHANNELREC::*text;
        bool ofEffects;
    };
    constexpr Row TEXTS[] = {{MASK_NAME, &MPCHANNELREC::name, false},
                             {MASK_PARAM_NAME, &MPCHANNELREC::paramName, true},
                             {MASK_LONG_NAME, &MPCHANNELREC::effectLongName, true},
                             {MASK_SHORT_NAME, &MPCHANNELREC::effectShortName, true}};
    for (const Row& row : TEXTS) {
        if (asked & row.mask || (row.ofEffects && level == LEVEL_CHANNEL)) continue;
        CoTaskMemFree(rec.*row.text);
        rec.*row.text = nullptr;
    }
}

HRESULT HostChannels::Get(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) const {
    const ComPtr<IMPCtrlChannels> host = Host();
    if (!host || !id.channel) return S_FALSE;
    const uint32_t level = LevelOf(id);
    const HRESULT hr = host->Get(&id, level, rec, 0, mask);
    FreeTexts(*rec, level, mask);
    return hr;
}

HRESULT HostChannels::Set(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) const {
    const ComPtr<IMPCtrlChannels> host = Host();
    return host && id.channel ? host->Set(&id, LevelOf(id), rec, mask) : S_FALSE;
}

HRESULT HostChannels::Name(const MPCHANNELID& id, uint32_t which, char16_t* out, uint32_t capacity) const {
    if (capacity) out[0] = 0;
    MPCHANNELREC rec{};
    rec.selector = which;
    const HRESULT hr = Get(id, &rec, MASK_NAME);
    if (hr == S_OK && rec.name) CopyText(out, capacity, rec.name);
    CoTaskMemFree(rec.name);
    return hr;
}
