// The commands that the mixer view carries out: what of the strips is shown, how wide they are, what meters
// show, and what is done with selected channels.
#include "console/channel_kinds.h"
#include "console/channel_widths.h"
#include "console/command_state.h"
#include "console/commands.h"
#include "console/console_plugin.h"
#include "console/meter_choices.h"
#include "console/mixer_view.h"

#include <algorithm>

namespace {

void ShowAllRegions(StripShow& show, bool limited) {
    for (int32_t StripShow::*flag :
         {&StripShow::bShowIO, &StripShow::bShowInserts, &StripShow::bShowSends, &StripShow::bShowScopes,
          &StripShow::bShowVU, &StripShow::bShowPeaks, &StripShow::bShowFaders, &StripShow::bShowSwitches,
          &StripShow::bShowPan})
        show.*flag = 1;
    show.bShowRecord = show.bShowAutomation = !limited;
}

void ToggleFaders(StripShow& show, bool limited) {
    const int32_t on = !show.bShowFaders;
    show.bShowFaders = show.bShowSwitches = show.bShowPan = on;
    show.bShowRecord = show.bShowAutomation = on && !limited;
}

int32_t WidthOfCommand(uint32_t command) {
    return command == CMD_NARROW ? WIDTH_NARROWEST : command == CMD_WIDE ? WIDTH_WIDEST : WIDTH_USUAL;
}

}  // namespace

/// To the next range of the table, which all strips share.
bool CMixerView::StepMeterRange(int32_t direction) {
    const uint32_t index = MeterRangeIndex(m_plugin.View().meterRange);
    const bool wider = direction <= 0;
    if (index == METER_RANGES || (wider ? index == 0 : index + 1 == METER_RANGES)) return true;
    return OnCommand(CMD_RANGE_FIRST + (wider ? index - 1 : index + 1));
}

/// How the strips look. False for a command of another sort.
bool CMixerView::OnViewCommand(uint32_t command, bool& rebuild) {
    StripView& view = m_plugin.View();
    const bool limited = m_plugin.HostFeatures().limited;
    if (command == CMD_ALL_REGIONS) {
        ShowAllRegions(view.show, limited);
    } else if (command == CMD_SHOW_FADERS) {
        ToggleFaders(view.show, limited);
    } else if (const auto* flag = RegionOfCommand(command)) {
        view.show.** flag = !(view.show.**flag);
    } else if (command >= CMD_NARROW && command <= CMD_WIDE) {
        SetAllWidths(m_plugin, WidthOfCommand(command));
    } else if (command == CMD_FADER_TICKS) {
        view.faderTicks = !view.faderTicks;
        rebuild = true;
    } else if (command >= CMD_RANGE_FIRST && command < CMD_RANGE_FIRST + METER_RANGES) {
        view.meterRange = MeterRangeCounts(command - CMD_RANGE_FIRST);
    } else if (command >= CMD_VU_SCALE_FIRST && command < CMD_VU_SCALE_FIRST + kMeterScaleCount) {
        view.vuScale = VuScaleWord(command - CMD_VU_SCALE_FIRST);
    } else if (command >= CMD_SCOPE_STYLE_FIRST && command < CMD_SCOPE_STYLE_FIRST + SCOPE_STYLE_COUNT) {
        view.scopeStyle = ScopeStyleOf(command - CMD_SCOPE_STYLE_FIRST);
    } else if (const uint32_t style = MeterStyleOfCommand(command)) {
        view.peakFlags ^= style;
    } else {
        return command == CMD_ADJUST_WIDTH;  // the widths are set
    }
    return true;
}

/// The channels that a command is for: the selected ones, else the one that the keyboard is on.
std::vector<uint64_t> CMixerView::CommandTargets() const {
    std::vector<uint64_t> targets;
    const auto take = [&](const Strip& strip) {
        if (!(strip.Entry().kind & (KIND_MASTER_BIT | KIND_SPECIAL)))
            targets.push_back(strip.Entry().id.channel);
    };
    for (const Strip* strip : m_strips)
        if (strip->IsSelected()) take(*strip);
    if (const Strip* focused = FocusedStrip(); focused && targets.empty()) take(*focused);
    return targets;
}

bool CMixerView::OnCommand(uint32_t command) {
    bool rebuild = false;
    if (OnViewCommand(command, rebuild)) {
        ViewChanged(rebuild);
        m_plugin.KeepState();
        return true;
    }
    if (const InsertCommand* insert = InsertOfCommand(command)) {
        if (CommandStates(m_plugin).IsEnabled(command)) m_plugin.AddAtHost(insert->kind);
        return true;
    }
    if (RunKindCommand(m_plugin, command)) return true;
    switch (command) {
    case CMD_DIM: m_plugin.ToggleMonitoring(MONITORING_DIM); return true;
    case CMD_DOWNMIX: m_plugin.ToggleMonitoring(MONITORING_DOWNMIX); return true;
    case CMD_RESET_PEAKS:
        for (Strip* strip : m_strips) strip->Meters().ResetPeaks();
        return true;
    case CMD_SELECT_ALL: SelectAll(); return true;
    case CMD_RENAME: {
        Strip* strip = FocusedStrip();
        if (strip && !(strip->Entry().kind & (KIND_MASTER_BIT | KIND_SPECIAL))) StartRename(*strip);
        return true;
    }
    case CMD_HIDE:
    case CMD_DELETE:
        for (const uint64_t channel : CommandTargets()) {
            Strip* strip = StripOf(channel);
            if (command == CMD_DELETE)
                m_plugin.RemoveAtHost({channel, 0, 0});
            else if (strip)
                ShowChannel(m_plugin, strip->Entry(), false);
        }
        return true;
    default: return false;
    }
}
