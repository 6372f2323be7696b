#include "plugin/channel_order.h"

namespace {

int32_t ByIndex(const ChannelKey& a, const ChannelKey& b) { return a.order < b.order ? -1 : 1; }

/// Channels of the restricted families.
int32_t CompareRestricted(const ChannelKey& a, const ChannelKey& b, bool entries) {
    const uint32_t both = a.kind & b.kind;
    if (both & KIND_FAMILY_4) {
        if (a.countClass != b.countClass) return a.countClass > b.countClass ? -1 : 1;
        if (entries && a.countClass == 1 && a.pairSelector != b.pairSelector)
            return (a.pairSelector & SPEAKER_LEFT) && (b.pairSelector & SPEAKER_RIGHT) ? -1 : 1;
        return ByIndex(a, b);
    }
    if (both & (KIND_BUS | KIND_FAMILY_10 | KIND_FAMILY_20)) return ByIndex(a, b);
    if (a.kind & KIND_BUS) return -1;
    if (b.kind & KIND_BUS) return 1;
    if (a.kind & KIND_FAMILY_4) return -1;
    if (b.kind & KIND_FAMILY_4) return 1;
    return a.kind & KIND_FAMILY_10 ? -1 : 1;
}

/// Busses of a surround project, where companions of a group stand behind its head.
int32_t CompareSurround(const ChannelKey& a, const ChannelKey& b) {
    const auto isHead = [](uint32_t k) { return (k & KIND_SURROUND) && (k & KIND_MASTER_BIT); };
    const auto isCompanion = [](uint32_t k) { return (k & KIND_NO_STRIP) && (k & KIND_MASTER_BIT); };
    if (isHead(a.kind) && isCompanion(b.kind)) return -1;
    if (isHead(b.kind) && isCompanion(a.kind)) return 1;
    if (a.kind & KIND_NO_STRIP) return b.kind & KIND_NO_STRIP ? 0 : 1;
    if (b.kind & KIND_NO_STRIP) return -1;
    return ByIndex(a, b);
}

/// 1-based place of a bus's family, 0 for none.
int BusFamily(uint32_t kind) {
    constexpr uint32_t FAMILIES[] = {KIND_SYNTH_BIT, KIND_FX_BIT, KIND_AUDIO_BUS_BIT};
    int place = 1;
    for (uint32_t family : FAMILIES) {
        if (kind & family) return place;
        place++;
    }
    return 0;
}

}  // namespace

int32_t CompareChannels(const ChannelKey& a, const ChannelKey& b, ChannelOrder order) {
    const bool entries = order == ChannelOrder::Entries;
    constexpr uint32_t TRACK = KIND_AUDIO_TRACK | KIND_MIDI_TRACK;
    const uint32_t both = a.kind & b.kind;

    if (a.IsMainOutput() != b.IsMainOutput()) return a.IsMainOutput() ? -1 : 1;
    if (both & KIND_RESTRICTED) return CompareRestricted(a, b, entries);
    if (a.kind == b.kind) return ByIndex(a, b);
    if (a.kind & TRACK) return b.kind & TRACK ? ByIndex(a, b) : -1;
    for (uint32_t family : {KIND_FAMILY_20, KIND_FAMILY_10})
        if (a.kind & family) return (b.kind & family) && (a.kind & KIND_RESTRICTED) ? -1 : 1;
    if (a.kind & KIND_RESTRICTED) return 1;
    if (b.kind & KIND_RESTRICTED) return -1;
    if ((entries || order == ChannelOrder::ReferencesSurround) && (both & KIND_BUS))
        return CompareSurround(a, b);
    if (a.kind & KIND_MASTER_BIT) return !entries && (b.kind & KIND_FAMILY_80) ? -1 : 1;
    if (b.kind & KIND_MASTER_BIT) return !entries && (a.kind & KIND_FAMILY_80) ? 1 : -1;
    if (!(a.kind & KIND_BUS)) return (a.kind | b.kind) & KIND_FAMILY_80 ? 1 : 0;
    if (b.kind & (KIND_FAMILY_80 | KIND_NO_STRIP)) return -1;
    if (b.kind & TRACK) return 1;
    const int familyA = BusFamily(a.kind), familyB = BusFamily(b.kind);
    if (!(b.kind & KIND_BUS) || familyA == 0 || familyB == 0) return 0;
    return familyA == familyB ? ByIndex(a, b) : (familyA < familyB ? -1 : 1);
}
