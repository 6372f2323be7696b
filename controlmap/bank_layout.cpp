#include "controlmap/bank_layout.h"

#include <algorithm>

namespace {
constexpr uint32_t FAMILIES = 0xFF;
}  // namespace

bool PassesBank(uint32_t kind, uint32_t filter) {
    const uint32_t above = filter & ~FAMILIES;
    return kind & filter & FAMILIES && (above == 0 || kind & above);
}

BankLayout LayoutBank(std::span<const BankChannel> channels, uint32_t filter, int32_t index, size_t strips) {
    BankLayout out{std::vector<uint64_t>(strips), -1, 0, 0};
    std::vector<size_t> bank;
    for (size_t i = 0; i < channels.size(); i++)
        if (PassesBank(channels[i].kind, filter)) bank.push_back(i);
    out.channels = static_cast<int32_t>(bank.size());
    if (bank.empty()) return out;
    out.offset = std::clamp(index, 0, out.channels - 1);
    const auto first = static_cast<size_t>(out.offset);
    for (size_t i = 0; i < std::min(strips, bank.size() - first); i++)
        out.strips[i] = channels[bank[first + i]].id;
    if (strips > 0) out.firstIndex = static_cast<int32_t>(bank[first]);
    return out;
}
