// The host's channels as the plug-in asks for them. [any-thread]
//
// A host may send changes from within each of these calls, so nothing that a change can move is walked across
// one.
#pragma once

#include "contract/host_contract.h"

#include <mutex>

class HostChannels {
public:
    /// Null ends it.
    void Connect(tarn::ComPtr<IMPCtrlChannels> host);
    /// A copy stays valid while another thread disconnects. Null outside Initialise..Terminate.
    tarn::ComPtr<IMPCtrlChannels> Host() const;

    /// The host's Get and Set of a channel, or of what the path goes on to. S_FALSE without a host and for a
    /// channel of 0. Texts come only where the mask asks for them; they are the caller's.
    HRESULT Get(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) const;
    HRESULT Set(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) const;
    /// The channel's name cut to `capacity`; SELECT_SHORT_NAME or SELECT_LONG_NAME.
    HRESULT Name(const MPCHANNELID& id, uint32_t which, char16_t* out, uint32_t capacity) const;

    /// Calls each(ref, record) for the objects of one level; `start` names the parent. A failure of `each`
    /// ends it. S_FALSE without a host.
    template <class F>
    HRESULT ForEach(const MPCHANNELREF& start, uint32_t level, uint32_t kindMask, F each) const {
        const tarn::ComPtr<IMPCtrlChannels> host = Host();
        if (!host) return S_FALSE;
        MPCHANNELREF ref = start;
        MPCHANNELREC rec{};
        uint32_t more = 0;
        HRESULT hr = host->First(&ref, level, &rec, &more, kindMask, 0);
        for (;;) {
            FreeTexts(rec, level, MASK_IDENTITY);
            if (hr != S_OK) return tarn::Failed(hr) ? hr : S_OK;
            ref.subList = ref.subSubList = nullptr;
            const HRESULT kept = each(ref, rec);
            if (tarn::Failed(kept)) return kept;
            if (!more) return S_OK;
            rec = {};
            hr = host->Next(&ref, level, &rec, &more, kindMask, 0);
        }
    }

private:
    static void FreeTexts(MPCHANNELREC& rec, uint32_t level, uint32_t asked);

    mutable std::mutex m_lock;
    tarn::ComPtr<IMPCtrlChannels> m_host;
};
