// Samples as blocks of bytes, for what only moves them. [any-thread]
#pragma once

#include "platform/types.h"

template <int BYTES>
struct Cell {
    uint8_t bytes[BYTES];
};

/// Calls `work` with an empty cell of so many bytes; E_FAIL where no sample is so wide.
template <class Work>
HRESULT WithCell(uint32_t bytes, Work work) {
    switch (bytes) {
    case 1: return work(Cell<1>{}), S_OK;
    case 2: return work(Cell<2>{}), S_OK;
    case 3: return work(Cell<3>{}), S_OK;
    case 4: return work(Cell<4>{}), S_OK;
    case 8: return work(Cell<8>{}), S_OK;
    default: return E_FAIL;
    }
}
