// Events as tests write them.
#pragma once

#include "contract/host_contract.h"

inline MPEVENTREC Event(uint32_t type, uint8_t byte1 = 0, uint8_t byte2 = 0, uint8_t byte3 = 0,
                        uint8_t byte4 = 0, uint32_t channel = 0) {
    MPEVENTREC event{};
    event.type = type;
    event.channel = channel;
    event.byte1 = byte1;
    event.byte2 = byte2;
    event.byte3 = byte3;
    event.byte4 = byte4;
    return event;
}
