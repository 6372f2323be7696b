// The two orders in which channels stand: that of the reference list and that of the console's entries.
#pragma once

#include "contract/host_contract.h"

/// What of a channel decides its place.
struct ChannelKey {
    uint32_t kind;
    int32_t order;
    uint32_t countClass;
    uint32_t pairSelector;

    static ChannelKey From(const MPCHANNELREC& rec) {
        return {rec.kind, rec.order, rec.countClass, rec.pairSelector};
    }
    bool IsMainOutput() const { return (kind & KIND_SPECIAL) && order == ORDER_MAIN_OUTPUT; }
};

enum class ChannelOrder {
    References,          ///< of a project in stereo mode
    ReferencesSurround,  ///< of a project in surround mode
    Entries,
};

/// -1, 0 or 1. Two channels of equal kind and equal index give 1 both ways. [any-thread]
int32_t CompareChannels(const ChannelKey& a, const ChannelKey& b, ChannelOrder order);
