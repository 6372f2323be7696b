#include "console/command_state.h"

#include "console/channel_kinds.h"
#include "console/commands.h"
#include "console/console_plugin.h"
#include "console/meter_choices.h"
#include "console/strip.h"

#include <algorithm>

namespace {

constexpr InsertCommand INSERT_COMMANDS[] = {
    {CMD_ADD_AUDIO, INSERT_AUDIO_TRACK, KIND_AUDIO_TRACK},
    {CMD_ADD_MIDI, INSERT_MIDI_TRACK, KIND_MIDI_TRACK},
    {CMD_ADD_BUS, INSERT_AUDIO_BUS, KIND_AUDIO_BUS},
    {CMD_ADD_FX, INSERT_FX, KIND_FX},
    {CMD_ADD_SYNTH, INSERT_SYNTH, KIND_SYNTH},
    {CMD_ADD_INPUT, INSERT_INPUT_BUS, KIND_INPUT_BUS},
};

struct FlagRow {
    uint32_t command;
    int32_t StripShow::*flag;
};
constexpr FlagRow FLAGS[] = {
    {CMD_SHOW_INSERTS, &StripShow::bShowInserts},
    {CMD_SHOW_SENDS, &StripShow::bShowSends},
    {CMD_SHOW_IO, &StripShow::bShowIO},
    {CMD_SHOW_SCOPES, &StripShow::bShowScopes},
    {CMD_SHOW_VU, &StripShow::bShowVU},
    {CMD_SHOW_PEAKS, &StripShow::bShowPeaks},
    {CMD_SHOW_FADERS, &StripShow::bShowFaders},
    {CMD_SHOW_LABELS, &StripShow::bShowLabels},
    {CMD_VERTICAL_LAYOUT, &StripShow::bVerticalLayout},
    // The same by the numbers that the meters' menu has.
    {CMD_METERS_SHOW_PEAKS, &StripShow::bShowPeaks},
    {CMD_METERS_SHOW_VU, &StripShow::bShowVU},
    {CMD_METERS_SHOW_SCOPE, &StripShow::bShowScopes},
};

struct FeatureRow {
    uint32_t command, feature;
};
constexpr FeatureRow NEEDS[] = {
    {CMD_SHOW_SYNTHS, FEATURE_SYNTHS},       {CMD_ADD_SYNTH, FEATURE_SYNTHS},
    {CMD_SHOW_INPUTS, FEATURE_INPUT_BUSSES}, {CMD_ADD_INPUT, FEATURE_INPUT_BUSSES},
    {CMD_SHOW_MIDI, FEATURE_MIDI_TRACKS},    {CMD_ADD_MIDI, FEATURE_MIDI_TRACKS},
};

struct StyleRow {
    uint32_t command, bit;
};
constexpr StyleRow METER_STYLES[] = {{CMD_METER_LABELS, METERS_LABELS},
                                     {CMD_METER_PEAKS, METERS_HOLD_HIGH},
                                     {CMD_METER_VALLEYS, METERS_HOLD_LOW},
                                     {CMD_SHOW_PEAK_NUMBERS, METERS_CLIP_SHOWN}};

const ChannelKind* KindOfCommand(uint32_t command) {
    const auto kinds = ChannelKinds();
    const auto at = std::ranges::find(kinds, command, &ChannelKind::command);
    return at == kinds.end() ? nullptr : &*at;
}

}  // namespace

const InsertCommand* InsertOfCommand(uint32_t command) {
    const auto* at = std::ranges::find(INSERT_COMMANDS, command, &InsertCommand::command);
    return at == std::end(INSERT_COMMANDS) ? nullptr : at;
}

int32_t StripShow::*const* RegionOfCommand(uint32_t command) {
    const auto* at = std::ranges::find(FLAGS, command, &FlagRow::command);
    return at == std::end(FLAGS) ? nullptr : &at->flag;
}

uint32_t MeterStyleOfCommand(uint32_t command) {
    const auto* at = std::ranges::find(METER_STYLES, command, &StyleRow::command);
    return at == std::end(METER_STYLES) ? 0 : at->bit;
}

CommandStates::CommandStates(CConsoleControlPlugin& plugin)
    : m_plugin(plugin), m_features(plugin.HostFeatures()), m_hostKind(plugin.HostKind()),
      m_anySelected(std::ranges::any_of(plugin.Entries(),
                                        [](ChannelEntry* entry) {
                                            const Strip* strip = Strip::Of(*entry);
                                            return strip && strip->IsSelected();
                                        })),
      m_anyHidden(std::ranges::any_of(plugin.Entries(),
                                      [&](const ChannelEntry* entry) {
                                          return !(entry->kind & KIND_NO_STRIP) &&
                                                 plugin.IsChannelHidden(*entry);
                                      })),
      m_shownKinds(ShownKinds(plugin)) {
    m_format.size = sizeof m_format;
    if (plugin.HostRecord(MPPROP_AUDIO_FORMAT, m_format) != S_OK) m_format = {};
}

bool CommandStates::IsThere(uint32_t command) const {
    const auto* need = std::ranges::find(NEEDS, command, &FeatureRow::command);
    if (need != std::end(NEEDS)) return m_features.features & need->feature;
    switch (command) {
    case CMD_DIM:
    case CMD_DOWNMIX: return !(m_hostKind == 1 && m_features.limited);
    case CMD_SHOW_SCOPES:
    case CMD_SHOW_SOLO_BUS:
    case CMD_VERTICAL_LAYOUT: return false;
    case CMD_NEW_VIEW_GROUP:
    case CMD_NEW_MIX_GROUP:
    case CMD_GROUP_LIST: return m_plugin.HasGroups();
    default: return true;
    }
}

bool CommandStates::IsEnabled(uint32_t command) const {
    if (const InsertCommand* insert = InsertOfCommand(command)) {
        const MPINSERTLIMIT& limit = m_format.inserts[insert->insert];
        return limit.count < limit.limit;
    }
    return command != CMD_NEW_MIX_GROUP || m_anySelected;
}

bool CommandStates::IsSwitch(uint32_t command) {
    return KindOfCommand(command) || RegionOfCommand(command) || MeterStyleOfCommand(command) ||
           command == CMD_DIM || command == CMD_DOWNMIX || command == CMD_CHANNEL_LIST ||
           command == CMD_REGION_CONTROLS || command == CMD_GROUP_LIST || command == CMD_FADER_TICKS ||
           command == CMD_SHOW_ALL_CHANNELS;
}

bool CommandStates::IsChecked(uint32_t command) const {
    const StripView& view = m_plugin.View();
    const tConsoleMetrics& m = ConsoleMetrics();
    if (const ChannelKind* kind = KindOfCommand(command)) return m_shownKinds & kind->groupBit;
    if (const auto* flag = RegionOfCommand(command)) return view.show.**flag;
    if (const uint32_t style = MeterStyleOfCommand(command))
        return ((METER_STANDARD_STYLE ^ view.peakFlags) & style) != 0;
    if (command >= CMD_RANGE_FIRST && command < CMD_RANGE_FIRST + METER_RANGES)
        return view.meterRange == MeterRangeCounts(command - CMD_RANGE_FIRST);
    if (command >= CMD_VU_SCALE_FIRST && command < CMD_VU_SCALE_FIRST + kMeterScaleCount)
        return VuScaleIndex(view.vuScale) == command - CMD_VU_SCALE_FIRST;
    if (command >= CMD_SCOPE_STYLE_FIRST && command < CMD_SCOPE_STYLE_FIRST + SCOPE_STYLE_COUNT)
        return view.scopeStyle == ScopeStyleOf(command - CMD_SCOPE_STYLE_FIRST);
    switch (command) {
    case CMD_SHOW_ALL_CHANNELS: return !m_anyHidden;
    case CMD_DIM: return m_format.monitoring & MONITORING_DIM;
    case CMD_DOWNMIX: return m_format.monitoring & MONITORING_DOWNMIX;
    case CMD_FADER_TICKS: return view.faderTicks;
    // The first that fits.
    case CMD_NARROW: return m.cxChannelCurrent == m.cxChannelNarrow;
    case CMD_WIDE: return m.cxChannelCurrent == m.cxChannelWide && !IsChecked(CMD_NARROW);
    case CMD_DEFAULT_WIDTH:
        return m.cxChannelCurrent == m.cxChannelDefault && !IsChecked(CMD_NARROW) && !IsChecked(CMD_WIDE);
    default: return m_plugin.IsPaneShown(command);
    }
}
