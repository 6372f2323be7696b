// Which channels a surface's strips show. Pure functions. [any-thread]
#pragma once

#include "contract/host_contract.h"

#include <span>
#include <vector>

/// Whether a channel's kind shares a bit with the filter's families (the low byte), and with the bits above
/// them if the filter has any.
bool PassesBank(uint32_t kind, uint32_t filter);

struct BankChannel {
    uint64_t id;
    uint32_t kind;
};
struct BankLayout {
    std::vector<uint64_t> strips;  ///< from the first strip that was laid out; 0 for an empty one
    int32_t firstIndex;            ///< of the first channel shown, among all; -1 when none is
    int32_t offset;                ///< channels of the bank before the first one shown
    int32_t channels;              ///< channels of the bank
};
/// Shows the bank from its channel `index` on in `strips` strips; an index before the first shows the first,
/// one behind the last the last.
BankLayout LayoutBank(std::span<const BankChannel> channels, uint32_t filter, int32_t index, size_t strips);
