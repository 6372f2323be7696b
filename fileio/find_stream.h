// The n-th stream of one type among those of a file.
#pragma once

#include "fileio/plugin.h"

#include <algorithm>

namespace tarn {

/// From 0. S_FALSE and null where there are but `*seen` of the type; else how the file fails.
template <class Stream>
HRESULT FindStream(IQmReadFile& file, const GUID& iid, uint32_t which, ComPtr<Stream>* found,
                   uint32_t* seen) {
    uint32_t count = 0;
    *seen = 0;
    const HRESULT hr = file.GetStreamCount(&count);
    for (uint32_t i = 0; Succeeded(hr) && i < std::min(count, FIO_MOST_STREAMS); i++)
        if (file.GetStream(i, iid, found->OutVoid()) == S_OK && *found && (*seen)++ == which) return S_OK;
    found->Reset();
    return Failed(hr) ? hr : S_FALSE;
}

}  // namespace tarn
