// The edge of functions with C linkage and of interfaces, which no exception crosses.
#pragma once

#include "platform/types.h"

namespace tarn {

/// The result of `work`; all that can be thrown there is lack of memory in one form or another.
template <class Work>
HRESULT Guarded(Work work) try {
    return work();
} catch (...) {
    return E_OUTOFMEMORY;
}

}  // namespace tarn
