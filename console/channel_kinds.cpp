#include "console/channel_kinds.h"

#include "console/console_plugin.h"
#include "plugin/module_state.h"

#include <algorithm>

using namespace tarn;

namespace {

constexpr uint32_t CMD_ALL_CHANNELS = 50047;

constexpr ChannelKind KINDS[] = {
    {50048, 0x1, KIND_AUDIO_TRACK, 0, 0},
    {50049, 0x2, KIND_MIDI_TRACK, 0, FEATURE_MIDI_TRACKS},
    {50050, 0x4, KIND_AUDIO_BUS, 0, 0},
    {50054, 0x40, KIND_INPUT_BUS, 0, FEATURE_INPUT_BUSSES},
    {50051, 0x8, KIND_SYNTH, 0, FEATURE_SYNTHS},
    {50052, 0x10, KIND_FX, 0, 0},
    {50053, 0x20, KIND_MASTER, 0, 0},
    {50055, 0x80, 0, ENTRY_SECOND_OUTPUT, FEATURE_INPUT_BUSSES},
    {50056, 0x100, 0, ENTRY_MAIN_OUTPUT, FEATURE_INPUT_BUSSES},
};
template <class F>
void ForChannels(CConsoleControlPlugin& plugin, const ChannelKind& kind, F use) {
    for (ChannelEntry* entry : plugin.Entries())
        if (kind.Fits(*entry)) use(*entry);
}

bool IsAnyShown(CConsoleControlPlugin& plugin, const ChannelKind& kind) {
    bool any = false;
    ForChannels(plugin, kind, [&](ChannelEntry& entry) { any |= !plugin.IsChannelHidden(entry); });
    return any;
}

}  // namespace

bool ChannelKind::Fits(const ChannelEntry& entry) const {
    if (entry.kind & KIND_NO_STRIP) return false;
    if (!kind) return entry.state & state;
    return (entry.kind & kind) == kind && !(entry.kind & KIND_SPECIAL);
}

std::span<const ChannelKind> ChannelKinds() { return KINDS; }

void ShowChannel(CConsoleControlPlugin& plugin, ChannelEntry& entry, bool on) {
    if (plugin.IsChannelHidden(entry) != on) return;
    if (!ThisModule().useHostHideState) {
        entry.state ^= ENTRY_HIDDEN_HERE;
        plugin.EntriesShownChanged();
        return;
    }
    MPCHANNELREC rec{};
    if (plugin.GetChannelRecord(entry.id, &rec, MASK_SWITCHES) != S_OK) return;
    rec.switches = on ? rec.switches & ~SWITCH_HIDDEN : rec.switches | SWITCH_HIDDEN;
    plugin.SetChannelRecord(entry.id, &rec, MASK_SWITCHES);
}

void ShowKind(CConsoleControlPlugin& plugin, const ChannelKind& kind, bool on) {
    ForChannels(plugin, kind, [&](ChannelEntry& entry) { ShowChannel(plugin, entry, on); });
}

uint32_t ShownKinds(CConsoleControlPlugin& plugin) {
    uint32_t bits = 0;
    for (const ChannelKind& kind : KINDS)
        if (IsAnyShown(plugin, kind)) bits |= kind.groupBit;
    return bits;
}

bool RunKindCommand(CConsoleControlPlugin& plugin, uint32_t command) {
    if (command == CMD_ALL_CHANNELS) {
        const auto hidden = [&](const ChannelEntry* entry) { return plugin.IsChannelHidden(*entry); };
        const bool on = std::ranges::any_of(plugin.Entries(), hidden);
        for (ChannelEntry* entry : plugin.Entries())
            if (!(entry->kind & KIND_NO_STRIP)) ShowChannel(plugin, *entry, on);
        return true;
    }
    const auto* kind = std::ranges::find(KINDS, command, &ChannelKind::command);
    if (kind == std::end(KINDS)) return false;
    ShowKind(plugin, *kind, !IsAnyShown(plugin, *kind));
    return true;
}
