// Metadata as a stream that is read.
#pragma once

#include "platform/com.h"

inline constexpr GUID IID_IQmReadMeta = tarn::Guid("{2B7C9E10-6D41-4F0A-9B57-0C1E5A83D6F4}");

/// One thread at a time.
struct IQmReadMeta : IUnknown {
    /// What there is, up to `size`; S_OK at the end, too.
    virtual HRESULT Read(void* buffer, uint32_t size, uint32_t* got) = 0;
    /// From the start.
    virtual HRESULT Seek(uint64_t position) = 0;
};
