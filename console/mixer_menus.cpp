// The menus of a strip's parts: what a channel's input, output, sends, effects, automation and meters can be.
//
// While a menu is open channels may come and go, so that its result is for the channel of that number, if
// there still is one.
#include "console/command_menus.h"
#include "console/commands.h"
#include "console/console_plugin.h"
#include "console/effect_chooser.h"
#include "console/gain.h"
#include "console/mixer_view.h"
#include "console/texts.h"
#include "controls/number_text.h"
#include "kernel/print/print_text.h"
#include "kernel/ui/menu_edit.h"
#include "platform/ui/menu.h"
#include "platform/ui/window.h"
#include "plugin/module_state.h"

#include <algorithm>
#include <array>

namespace {

// Entries that are made as a menu opens.
constexpr uint32_t ITEM_TARGET = 52000, ITEM_EFFECT = 53600, ITEM_ADD_SEND = 61000, ITEM_REMOVE = 60000,
                   ITEM_BYPASS = 60001, ITEM_EDITOR = 60002, ITEM_MUTE = 60003, ITEM_DEFAULT = 60004,
                   ITEM_FIND = 60005, ITEM_VALUE = 60100;

constexpr int PAN_MODELS = 6;
constexpr ConsoleTextId PAN_NAMES[PAN_MODELS] = {IDS_MENU_PAN_ADD, IDS_MENU_PAN_0,     IDS_MENU_PAN_3,
                                                 IDS_MENU_PAN_6,   IDS_MENU_PAN_POWER, IDS_MENU_PAN_FILM};

ValueMenu StereoWidths() {
    return {IDS_MENU_STEREO_WIDTH, WidthParameter(), {-100, -50, 0, 50, 100}, [](int32_t position) {
                return tarn::PrintText(ConsoleText(IDS_MENU_WIDTH_PERCENT), position + 100);
            }};
}

ValueMenu LfeLevels() {
    return {IDS_MENU_LFE_LEVEL, LfeParameter(), {POSITION_MIN, -240, -120, -60, 0}, [](int32_t position) {
                return position <= POSITION_MIN ? std::u16string(ConsoleText(IDS_SILENCE))
                                                : NumberText(position / 10.0) + u" dB";
            }};
}

struct AutomationRow {
    uint32_t mode;
    ConsoleTextId name;
};
constexpr AutomationRow AUTOMATION_ROWS[] = {{0, IDS_AUTOMATION_OFF},
                                             {AUTOMATION_READ, IDS_AUTOMATION_READ},
                                             {AUTOMATION_TOUCH_MODE, IDS_AUTOMATION_TOUCH},
                                             {AUTOMATION_LATCH, IDS_AUTOMATION_LATCH},
                                             {AUTOMATION_WRITE, IDS_AUTOMATION_WRITE}};

/// A user's name as it has to stand in a menu.
std::u16string MenuName(const std::u16string& name) {
    std::array<char16_t, 512> text{};
    QmFixNameForMenu(text.data(), name.c_str(), static_cast<uint32_t>(text.size()));
    return text.data();
}

void AddCheck(Menu& menu, uint32_t id, const std::u16string& text, bool on) {
    menu.Add(id, text, on ? MF_CHECKED : 0);
}

/// 0 is all of them, or as they come.
void AddMidiChannels(Menu& menu, int32_t now, uint32_t first) {
    constexpr int CHANNELS = 16;
    AddCheck(menu, CMD_MIDI_ALL, ConsoleText(IDS_MENU_ALL_CHANNELS), now == 0);
    menu.AddSeparator();
    for (int i = 1; i <= CHANNELS; i++) {
        const std::string number = std::to_string(i);
        AddCheck(menu, first + static_cast<uint32_t>(i - 1), {number.begin(), number.end()}, now == i);
    }
}

}  // namespace

uint32_t CMixerView::Track(Menu& menu, POINT at) {
    return menu.items.empty() ? 0 : m_site.TrackMenu(menu, at);
}

void CMixerView::RunMenu(Menu menu, POINT at) {
    if (const uint32_t chosen = Track(menu, at)) m_site.RunCommand(chosen);
}

void CMixerView::ShowMenu(Strip& strip, uint32_t element) {
    const RECT area = AreaOfElement(strip, element);
    const POINT below{area.left, area.bottom};
    if (element == ELEMENT_INPUT || (element >= ELEMENT_OUTPUT && element <= ELEMENT_OUTPUT_CENTER))
        RouteMenu(strip, element);
    else if (element == ELEMENT_AUTOMATION)
        AutomationMenu(strip);
    else if (element == ELEMENT_MIDI_CHANNEL)
        MidiChannelMenu(strip);
    else if (element == ELEMENT_ADD_SEND || (element >= ELEMENT_SEND && element < ELEMENT_SEND + SEND_ROWS))
        SendMenu(strip, element);
    else if (element >= ELEMENT_INSERT && element < ELEMENT_INSERT + INSERT_ROWS)
        AddInsertMenu(strip, below);
}

void CMixerView::ShowContextMenu(Strip* strip, uint32_t element, POINT at) {
    if (!strip) return RunMenu(LayoutMenu(m_plugin), at);
    const StripPart* part = PartOfElement(element);
    const size_t insert = element - ELEMENT_INSERT;
    if (part && part->element == ELEMENT_INSERT && insert < strip->Inserts().size())
        InsertMenu(*strip, insert, at);
    else if (part && part->action == PartAction::Menu)
        ShowMenu(*strip, element);
    else if (part && part->action == PartAction::Meter)
        RunMenu(element == ELEMENT_VU      ? VuMeterMenu(m_plugin)
                : element == ELEMENT_SCOPE ? ScopeMenu(m_plugin)
                                           : PeakMeterMenu(m_plugin),
                at);
    else if (part &&
             (element == ELEMENT_PAN || element == ELEMENT_SURROUND_PAN || part->element == ELEMENT_SEND_PAN))
        PanMenu(*strip, element, at);
    else
        ChannelMenu(*strip, at);
}

/// Where a channel comes from or goes to.
void CMixerView::RouteMenu(Strip& strip, uint32_t element) {
    const bool input = element == ELEMENT_INPUT;
    const uint32_t mask = input ? MASK_INPUT_ROUTE : MASK_OUTPUT_ROUTE;
    const uint64_t channel = strip.Entry().id.channel;
    const StripRoute now = input ? strip.Input() : strip.Output();
    const std::vector<uint64_t> targets = m_plugin.TargetsOf(strip.Entry().id, mask);
    Menu menu;
    AddCheck(menu, CMD_NO_ROUTE, ConsoleText(IDS_MENU_NONE), now.target == 0);
    if (!targets.empty()) menu.AddSeparator();
    const bool midi = strip.Entry().IsMidi();
    if (input && !midi)
        AddInputs(menu, strip, targets);
    else
        for (size_t i = 0; i < targets.size(); i++)
            AddCheck(menu, ITEM_TARGET + static_cast<uint32_t>(i), MenuName(strip.NameOf(targets[i])),
                     targets[i] == now.target);
    if (midi && !input) {
        Menu channels;
        AddMidiChannels(channels, now.index, CMD_MIDI_OUT_FIRST);
        menu.AddSeparator();
        AddMenu(menu, ConsoleText(IDS_MENU_MIDI_CHANNEL), std::move(channels));
    }
    const RECT area = AreaOfElement(strip, element);
    const uint32_t chosen = Track(menu, {area.left, area.bottom});
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still) return;
    if (midi && !input && (chosen == CMD_MIDI_ALL || chosen >= CMD_MIDI_OUT_FIRST)) {
        const int32_t index =
            chosen == CMD_MIDI_ALL ? 0 : static_cast<int32_t>(chosen - CMD_MIDI_OUT_FIRST) + 1;
        still->SetRoute(mask, now.target, index);
    } else {
        const uint64_t target = chosen == CMD_NO_ROUTE ? 0 : targets[chosen - ITEM_TARGET];
        still->SetRoute(mask | MASK_TARGET, target, now.index);
    }
    still->Prepare();
}

/// By what they are; the connectors of the device by how many channels they have.
void CMixerView::AddInputs(Menu& menu, const Strip& strip, const std::vector<uint64_t>& targets) {
    struct {
        ConsoleTextId name;
        Menu rows;
    } stereo{IDS_MENU_STEREO, {}}, mono{IDS_MENU_MONO, {}}, busses{IDS_MENU_BUSSES, {}},
        synths{IDS_MENU_SYNTHS, {}};
    const std::vector<uint64_t> connectors = m_plugin.PortEntries(KIND_INPUT_BUS);
    for (size_t i = 0; i < targets.size(); i++) {
        MPCHANNELREC rec{};
        m_plugin.GetChannelRecord({targets[i], 0, 0}, &rec, MASK_IDENTITY);
        const bool connector = std::ranges::find(connectors, targets[i]) != connectors.end();
        Menu& rows = connector                   ? (rec.countClass ? stereo : mono).rows
                     : rec.kind & KIND_SYNTH_BIT ? synths.rows
                                                 : busses.rows;
        AddCheck(rows, ITEM_TARGET + static_cast<uint32_t>(i), MenuName(strip.NameOf(targets[i])),
                 targets[i] == strip.Input().target);
    }
    Menu hardware;
    for (auto* group : {&stereo, &mono})
        if (!group->rows.items.empty()) AddMenu(hardware, ConsoleText(group->name), std::move(group->rows));
    if (!hardware.items.empty()) AddMenu(menu, ConsoleText(IDS_MENU_HARDWARE), std::move(hardware));
    for (auto* group : {&busses, &synths})
        if (!group->rows.items.empty()) AddMenu(menu, ConsoleText(group->name), std::move(group->rows));
}

void CMixerView::MidiChannelMenu(Strip& strip) {
    const uint64_t channel = strip.Entry().id.channel;
    const StripRoute now = strip.Input();
    Menu menu;
    AddMidiChannels(menu, now.index, CMD_MIDI_FIRST);
    const RECT area = strip.Rects().midiChannel;
    const uint32_t chosen = Track(menu, {area.left, area.bottom});
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still) return;
    const int32_t index = chosen == CMD_MIDI_ALL ? 0 : static_cast<int32_t>(chosen - CMD_MIDI_FIRST) + 1;
    still->SetRoute(MASK_INPUT_ROUTE, now.target, index);
}

/// A send: where to, how, or away with it. The row behind the last one adds.
void CMixerView::SendMenu(Strip& strip, uint32_t element) {
    const bool adds = element == ELEMENT_ADD_SEND;
    const size_t row = adds ? 0 : strip.SendOf(element - ELEMENT_SEND);
    if (!adds && row >= strip.Sends().size()) return;
    const uint64_t channel = strip.Entry().id.channel;
    const StripSend now = adds ? StripSend{} : strip.Sends()[row];
    std::vector<uint64_t> targets = m_plugin.TargetsOf(strip.Entry().id, MASK_SEND);
    std::erase_if(targets, [&](uint64_t target) {
        return target != now.target &&
               std::ranges::find(strip.Sends(), target, &StripSend::target) != strip.Sends().end();
    });
    Menu menu;
    for (size_t i = 0; i < targets.size(); i++)
        AddCheck(menu, ITEM_TARGET + static_cast<uint32_t>(i), MenuName(strip.NameOf(targets[i])),
                 targets[i] == now.target);
    if (targets.empty()) menu.Add(0, ConsoleText(IDS_MENU_NO_TARGETS), MF_GRAYED | MF_DISABLED);
    if (!adds) {
        menu.AddSeparator();
        AddCheck(menu, CMD_SEND_PRE, ConsoleText(IDS_MENU_PRE_FADER), now.switches & SENDSWITCH_PRE);
        AddCheck(menu, CMD_SEND_POST, ConsoleText(IDS_MENU_POST_FADER), !(now.switches & SENDSWITCH_PRE));
        AddCheck(menu, CMD_LINK_PAN, ConsoleText(IDS_MENU_LINK_PAN), now.switches & SENDSWITCH_LINK_PAN);
        AddCheck(menu, ITEM_MUTE, ConsoleText(IDS_MENU_SEND_MUTE), now.switches & SENDSWITCH_10000);
        Menu more;
        for (size_t i = 0; i < targets.size(); i++)
            if (targets[i] != now.target)
                more.Add(ITEM_ADD_SEND + static_cast<uint32_t>(i), MenuName(strip.NameOf(targets[i])));
        menu.AddSeparator();
        if (!more.items.empty()) AddMenu(menu, ConsoleText(IDS_MENU_ADD_SEND), std::move(more));
        menu.Add(ITEM_REMOVE, ConsoleText(IDS_MENU_REMOVE));
    }
    const RECT area = AreaOfElement(strip, element);
    const uint32_t chosen = Track(menu, {area.left, area.bottom});
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still) return;
    if (chosen >= ITEM_ADD_SEND && chosen < ITEM_ADD_SEND + targets.size()) {
        still->AddSend(targets[chosen - ITEM_ADD_SEND]);
        return still->Prepare();
    }
    const auto at =
        std::ranges::find(still->Sends(), now.id.sub, [](const StripSend& send) { return send.id.sub; });
    const auto place = static_cast<size_t>(at - still->Sends().begin());
    if (chosen >= ITEM_TARGET && chosen < ITEM_TARGET + targets.size()) {
        const uint64_t target = targets[chosen - ITEM_TARGET];
        adds ? still->AddSend(target) : still->SetSendTarget(place, target);
    } else if (at == still->Sends().end()) {
        return;
    } else if (chosen == ITEM_REMOVE) {
        still->RemovePart(now.id);
    } else {
        uint32_t switches = at->switches;
        if (chosen == CMD_SEND_PRE) switches |= SENDSWITCH_PRE;
        if (chosen == CMD_SEND_POST) switches &= ~SENDSWITCH_PRE;
        if (chosen == CMD_LINK_PAN) switches ^= SENDSWITCH_LINK_PAN;
        if (chosen == ITEM_MUTE) switches ^= SENDSWITCH_10000;
        still->SetSendSwitches(place, switches);
    }
    still->Prepare();
}

void CMixerView::InsertMenu(Strip& strip, size_t insert, POINT at) {
    const uint64_t channel = strip.Entry().id.channel;
    const StripInsert now = strip.Inserts()[insert];
    Menu menu;
    menu.Add(ITEM_EDITOR, ConsoleText(IDS_MENU_EDITOR), MF_DEFAULT);
    AddCheck(menu, ITEM_BYPASS, ConsoleText(IDS_MENU_BYPASS), now.state & EFFECT_BYPASSED);
    menu.AddSeparator();
    AddCheck(menu, CMD_PRE_FX, ConsoleText(IDS_MENU_PRE_FADER), !(now.state & EFFECT_POST_FADER));
    AddCheck(menu, CMD_POST_FX, ConsoleText(IDS_MENU_POST_FADER), now.state & EFFECT_POST_FADER);
    menu.AddSeparator();
    menu.Add(ITEM_REMOVE, ConsoleText(IDS_MENU_REMOVE));
    const uint32_t chosen = Track(menu, at);
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still) return;
    const auto& inserts = still->Inserts();
    const auto found =
        std::ranges::find(inserts, now.id.sub, [](const StripInsert& row) { return row.id.sub; });
    if (found == inserts.end()) return;
    const auto place = static_cast<size_t>(found - inserts.begin());
    switch (chosen) {
    case ITEM_EDITOR: still->SetEffectState(place, EFFECT_EDITOR, EFFECT_EDITOR); break;
    case ITEM_BYPASS: still->SetEffectState(place, ~found->state, EFFECT_BYPASSED); break;
    case CMD_PRE_FX: still->SetEffectState(place, 0, EFFECT_POST_FADER); break;
    case CMD_POST_FX: still->SetEffectState(place, EFFECT_POST_FADER, EFFECT_POST_FADER); break;
    case ITEM_REMOVE: still->RemovePart(now.id); break;
    default: break;
    }
    still->Prepare();
}

/// The host's catalog: a family a submenu.
void CMixerView::AddInsertMenu(Strip& strip, POINT at) {
    const uint64_t channel = strip.Entry().id.channel;
    const std::vector<EffectFamily> families = m_plugin.Catalog().Tree();
    std::vector<GUID> classes;
    Menu menu;
    if (!families.empty()) {
        menu.Add(ITEM_FIND, ConsoleText(IDS_MENU_FIND_EFFECT));
        menu.AddSeparator();
    }
    for (const EffectFamily& family : families) {
        MenuItem& item = menu.AddSubmenu(MenuName(family.name));
        for (const EffectItem& effect : family.items) {
            item.submenu->Add(ITEM_EFFECT + static_cast<uint32_t>(classes.size()), MenuName(effect.name),
                              effect.unusable ? MF_GRAYED | MF_DISABLED : 0);
            classes.push_back(effect.effectClass);
        }
    }
    if (menu.items.empty()) menu.Add(0, ConsoleText(IDS_MENU_NO_EFFECTS), MF_GRAYED | MF_DISABLED);
    const uint32_t chosen = Track(menu, at);
    std::optional<GUID> effect;
    if (chosen == ITEM_FIND)
        effect = ChooseEffect(m_site.ThePageWindow(), families);
    else if (chosen >= ITEM_EFFECT && chosen - ITEM_EFFECT < classes.size())
        effect = classes[chosen - ITEM_EFFECT];
    Strip* still = effect ? StripOf(channel) : nullptr;
    if (!still) return;
    still->AddEffect(*effect);
    still->Prepare();
}

void CMixerView::AutomationMenu(Strip& strip) {
    const uint64_t channel = strip.Entry().id.channel;
    const uint32_t can = m_plugin.AutomationModes();
    Menu menu;
    for (uint32_t i = 0; i < std::size(AUTOMATION_ROWS); i++) {
        const AutomationRow& row = AUTOMATION_ROWS[i];
        if (row.mode && !(can & row.mode)) continue;
        AddCheck(menu, CMD_AUTOMATION_FIRST + i, ConsoleText(row.name), strip.AutomationModes() == row.mode);
    }
    const RECT area = strip.Rects().automation;
    const uint32_t chosen = Track(menu, {area.left, area.bottom});
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (still) still->SetAutomation(AUTOMATION_ROWS[chosen - CMD_AUTOMATION_FIRST].mode);
}

/// The values of a parameter that a menu offers, the present one checked.
void CMixerView::AddValues(Menu& menu, const ValueMenu& values, const Strip& strip) const {
    const std::optional<int32_t> now = strip.PositionOf(values.parameter);
    if (!now) return;
    Menu rows;
    for (uint32_t i = 0; i < values.positions.size(); i++)
        AddCheck(rows, ITEM_VALUE + i, values.text(values.positions[i]), *now == values.positions[i]);
    menu.AddSeparator();
    AddMenu(menu, ConsoleText(values.name), std::move(rows));
}

void CMixerView::PanMenu(Strip& strip, uint32_t element, POINT at) {
    const uint64_t channel = strip.Entry().id.channel;
    const bool pad = element == ELEMENT_SURROUND_PAN, midi = strip.Entry().IsMidi();
    Menu menu;
    if (!pad)
        for (uint32_t i = 0; i < PAN_MODELS; i++)
            AddCheck(menu, CMD_PAN_MODEL_FIRST + i, ConsoleText(PAN_NAMES[i]), strip.PanModel() == i + 1);
    const ValueMenu values = pad ? LfeLevels() : StereoWidths();
    if (!midi) AddValues(menu, values, strip);
    menu.AddSeparator();
    menu.Add(ITEM_DEFAULT, ConsoleText(IDS_MENU_FADER_DEFAULT));
    const uint32_t chosen = Track(menu, at);
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still) return;
    const StripControl* control = still->Control(element);
    if (chosen == ITEM_DEFAULT && control)
        MoveControl(*still, element, control->Parameter().Default());
    else if (chosen >= ITEM_VALUE && chosen < ITEM_VALUE + values.positions.size())
        MoveParameter(*still, values.parameter, values.positions[chosen - ITEM_VALUE]);
    else if (chosen != ITEM_DEFAULT)
        still->SetPanModel(chosen - CMD_PAN_MODEL_FIRST + 1);
}

void CMixerView::ChannelMenu(Strip& strip, POINT at) {
    // What acts on selected channels acts on the one that was clicked.
    if (!strip.IsSelected()) Select(strip.Entry(), SelectMode::Alone);
    const uint64_t channel = strip.Entry().id.channel;
    const uint32_t kind = strip.Entry().kind;
    const tConsoleMetrics& m = ConsoleMetrics();
    Menu menu;
    if (!(kind & (KIND_MASTER_BIT | KIND_SPECIAL))) {
        menu.Add(CMD_RENAME, ConsoleText(IDS_MENU_RENAME));
        menu.Add(CMD_HIDE, ConsoleText(IDS_MENU_HIDE));
        menu.AddSeparator();
        menu.Add(CMD_CUT, ConsoleText(IDS_CMD_CUT));
        menu.Add(CMD_COPY, ConsoleText(IDS_CMD_COPY));
        menu.Add(CMD_PASTE, ConsoleText(IDS_CMD_PASTE));
        menu.Add(CMD_DELETE, ConsoleText(IDS_MENU_DELETE));
        menu.AddSeparator();
    }
    const bool wide = kind & KIND_SURROUND;
    AddCheck(menu, CMD_NARROW, ConsoleText(IDS_MENU_NARROW),
             strip.Width() == (wide ? m.cxSurroundNarrow : m.cxChannelNarrow));
    AddCheck(menu, CMD_DEFAULT_WIDTH, ConsoleText(IDS_MENU_DEFAULT),
             strip.Width() == (wide ? m.cxSurroundDefault : m.cxChannelDefault));
    AddCheck(menu, CMD_WIDE, ConsoleText(IDS_MENU_WIDE),
             strip.Width() == (wide ? m.cxSurroundWide : m.cxChannelWide));
    menu.AddSeparator();
    AddMenu(menu, ConsoleText(IDS_MENU_SHOW_REGIONS), ShowRegionsMenu(m_plugin));
    const uint32_t chosen = Track(menu, at);
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still) return;
    switch (chosen) {
    case CMD_RENAME: StartRename(*still); return;
    case CMD_NARROW: still->SetWidth(wide ? m.cxSurroundNarrow : m.cxChannelNarrow); break;
    case CMD_DEFAULT_WIDTH: still->SetWidth(wide ? m.cxSurroundDefault : m.cxChannelDefault); break;
    case CMD_WIDE: still->SetWidth(wide ? m.cxSurroundWide : m.cxChannelWide); break;
    default: m_site.RunCommand(chosen); return;
    }
    CollectStrips();
    LayoutStrips();
    m_site.InvalidateAll();
    m_plugin.KeepState();
}

void CMixerView::StartRename(Strip& strip) {
    if (m_site.EditNameInList(strip.Entry())) return;
    const uint64_t channel = strip.Entry().id.channel;
    m_site.EditText(strip.Rects().name, strip.Entry().Name(), [this, channel](const std::u16string& name) {
        if (Strip* still = StripOf(channel); still && !name.empty()) still->Rename(name);
    });
}
