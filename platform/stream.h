// The published byte stream interface, and one that lies in memory.
#pragma once

#include "platform/com.h"

inline constexpr GUID IID_ISequentialStream = tarn::Guid("{0C733A30-2A1C-11CE-ADE5-00AA0044773D}");
inline constexpr GUID IID_IStream = tarn::Guid("{0000000C-0000-0000-C000-000000000046}");

inline constexpr uint32_t STREAM_SEEK_SET = 0;
inline constexpr uint32_t STREAM_SEEK_CUR = 1;
inline constexpr uint32_t STREAM_SEEK_END = 2;

/// Read gives what there is up to `bytes` and S_OK, also at the end. One thread at a time.
struct IStream : IUnknown {
    virtual HRESULT Read(void* out, uint32_t bytes, uint32_t* done) = 0;
    virtual HRESULT Write(const void* data, uint32_t bytes, uint32_t* done) = 0;
    virtual HRESULT Seek(int64_t move, uint32_t origin, uint64_t* position) = 0;
    virtual HRESULT SetSize(uint64_t size) = 0;
    virtual HRESULT CopyTo(IStream* to, uint64_t bytes, uint64_t* read, uint64_t* written) = 0;
    virtual HRESULT Commit(uint32_t flags) = 0;
    virtual HRESULT Revert() = 0;
    virtual HRESULT LockRegion(uint64_t offset, uint64_t bytes, uint32_t type) = 0;
    virtual HRESULT UnlockRegion(uint64_t offset, uint64_t bytes, uint32_t type) = 0;
    virtual HRESULT Stat(void* out, uint32_t flags) = 0;
    virtual HRESULT Clone(IStream** out) = 0;
};

namespace tarn {
/// A stream that grows in memory, to 2 GiB at most; empty, with one reference. Null when out of memory.
/// CopyTo, locks, Stat and Clone are E_NOTIMPL. [any-thread]
QM_API IStream* CreateMemoryStream();
}  // namespace tarn
