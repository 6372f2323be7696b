// The menus of a strip's parts: what a channel's input, output, sends, effects, automation and meters can be.
//
// While a menu is open channels may come and go, so that its result is for the channel of that number, if
// there still is one.
#include "console/channel_kinds.h"
#include "console/console_plugin.h"
#include "console/mixer_view.h"
#include "console/texts.h"
#include "controls/meter_scales.h"
#include "kernel/lang/kernel_strings.h"
#include "kernel/ui/menu_edit.h"
#include "platform/ui/menu.h"
#include "plugin/module_state.h"

#include <algorithm>
#include <array>

namespace {

// Commands of the menus that the host knows as well.
constexpr uint32_t CMD_NONE = 50011, CMD_PRE_FX = 50035, CMD_POST_FX = 50036, CMD_PAN_FIRST = 50037,
                   CMD_NARROW = 50072, CMD_DEFAULT = 50073, CMD_WIDE = 50074, CMD_RENAME = 50104,
                   CMD_HIDE = 50112, CMD_DELETE = 50093, CMD_LINK_PAN = 50131, CMD_SEND_PRE = 50132,
                   CMD_SEND_POST = 50133, CMD_MIDI_ALL = 50139, CMD_MIDI_FIRST = 50141,
                   CMD_AUTOMATION_FIRST = 44601, CMD_RANGE_FIRST = 40001, CMD_RESET = 40011,
                   CMD_VU_FIRST = 29009, CMD_SCOPE_FIRST = 29016, CMD_CHANNEL_LIST = 50067, CMD_GROUPS = 1250;
// And of those that are made as they open.
constexpr uint32_t ITEM_TARGET = 52000, ITEM_EFFECT = 53600, ITEM_REMOVE = 60000, ITEM_BYPASS = 60001,
                   ITEM_EDITOR = 60002, ITEM_MUTE = 60003, ITEM_DEFAULT = 60004;

constexpr int PAN_MODELS = 6;
constexpr ConsoleTextId PAN_NAMES[PAN_MODELS] = {IDS_MENU_PAN_ADD, IDS_MENU_PAN_0,     IDS_MENU_PAN_3,
                                                 IDS_MENU_PAN_6,   IDS_MENU_PAN_POWER, IDS_MENU_PAN_FILM};

struct AutomationRow {
    uint32_t mode;
    ConsoleTextId name;
};
constexpr AutomationRow AUTOMATION_ROWS[] = {{0, IDS_AUTOMATION_OFF},
                                             {AUTOMATION_READ, IDS_AUTOMATION_READ},
                                             {AUTOMATION_TOUCH_MODE, IDS_AUTOMATION_TOUCH},
                                             {AUTOMATION_LATCH, IDS_AUTOMATION_LATCH},
                                             {AUTOMATION_WRITE, IDS_AUTOMATION_WRITE}};

struct RangeRow {
    uint32_t counts;
    const QMLANGSTRINGID* name;
};
/// From the widest: the order of the wheel.
constexpr RangeRow RANGES[] = {{0x800000, &KS_Meter_Range_138}, {0x100000, &KS_Meter_Range_120},
                               {32768, &KS_Meter_Range_90},     {8192, &KS_Meter_Range_78},
                               {1024, &KS_Meter_Range_60},      {128, &KS_Meter_Range_42},
                               {16, &KS_Meter_Range_24},        {4, &KS_Meter_Range_12}};

constexpr struct {
    uint32_t style;
    const char16_t* name;
} SCOPE_STYLES[] = {{SCOPES_XY, u"Lissajous - &XY Plot"},
                    {SCOPES_ROTATED, u"Lissajous - &Rotated"},
                    {SCOPES_POLAR_LINEAR, u"Polar - &Linear Plot"},
                    {SCOPES_POLAR_CIRCULAR, u"Polar - &Circular Plot"}};

/// A user's name as it has to stand in a menu.
std::u16string MenuName(const std::u16string& name) {
    std::array<char16_t, 512> text{};
    QmFixNameForMenu(text.data(), name.c_str(), static_cast<uint32_t>(text.size()));
    return text.data();
}

void AddCheck(Menu& menu, uint32_t id, const std::u16string& text, bool on) {
    menu.Add(id, text, on ? MF_CHECKED : 0);
}

}  // namespace

uint32_t CMixerView::Track(Menu& menu, POINT at) {
    return menu.items.empty() ? 0 : m_site.TrackMenu(menu, at);
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
    if (!strip) return LayoutMenu(at);
    const StripPart* part = PartOfElement(element);
    const size_t insert = element - ELEMENT_INSERT;
    if (part && part->element == ELEMENT_INSERT && insert < strip->Inserts().size())
        InsertMenu(*strip, insert, at);
    else if (part && part->action == PartAction::Menu)
        ShowMenu(*strip, element);
    else if (part && part->action == PartAction::Meter)
        MeterMenu(element, at);
    else if (part && (element == ELEMENT_PAN || part->element == ELEMENT_SEND_PAN))
        PanMenu(*strip, at);
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
    AddCheck(menu, CMD_NONE, ConsoleText(IDS_MENU_NONE), now.target == 0);
    if (!targets.empty()) menu.AddSeparator();
    for (size_t i = 0; i < targets.size(); i++)
        AddCheck(menu, ITEM_TARGET + static_cast<uint32_t>(i), MenuName(strip.NameOf(targets[i])),
                 targets[i] == now.target);
    const RECT area = AreaOfElement(strip, element);
    const uint32_t chosen = Track(menu, {area.left, area.bottom});
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still) return;
    const uint64_t target = chosen == CMD_NONE ? 0 : targets[chosen - ITEM_TARGET];
    still->SetRoute(mask | MASK_TARGET, target, now.index);
    still->Prepare();
}

void CMixerView::MidiChannelMenu(Strip& strip) {
    const uint64_t channel = strip.Entry().id.channel;
    const StripRoute now = strip.Input();
    Menu menu;
    AddCheck(menu, CMD_MIDI_ALL, ConsoleText(IDS_MENU_ALL_CHANNELS), now.index == 0);
    menu.AddSeparator();
    constexpr int CHANNELS = 16;
    for (int i = 1; i <= CHANNELS; i++) {
        const std::string number = std::to_string(i);
        AddCheck(menu, CMD_MIDI_FIRST + static_cast<uint32_t>(i - 1), {number.begin(), number.end()},
                 now.index == i);
    }
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
    const size_t row = adds ? 0 : element - ELEMENT_SEND;
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
        menu.AddSeparator();
        menu.Add(ITEM_REMOVE, ConsoleText(IDS_MENU_REMOVE));
    }
    const RECT area = AreaOfElement(strip, element);
    const uint32_t chosen = Track(menu, {area.left, area.bottom});
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still) return;
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
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still || chosen < ITEM_EFFECT || chosen - ITEM_EFFECT >= classes.size()) return;
    still->AddEffect(classes[chosen - ITEM_EFFECT]);
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

void CMixerView::PanMenu(Strip& strip, POINT at) {
    const uint64_t channel = strip.Entry().id.channel;
    Menu menu;
    for (uint32_t i = 0; i < PAN_MODELS; i++)
        AddCheck(menu, CMD_PAN_FIRST + i, ConsoleText(PAN_NAMES[i]), strip.PanModel() == i + 1);
    menu.AddSeparator();
    menu.Add(ITEM_DEFAULT, ConsoleText(IDS_MENU_FADER_DEFAULT));
    const uint32_t chosen = Track(menu, at);
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still) return;
    if (chosen == ITEM_DEFAULT)
        MoveControl(*still, ELEMENT_PAN, PanParameter(still->Entry().IsMidi()).Default());
    else
        still->SetPanModel(chosen - CMD_PAN_FIRST + 1);
}

/// Ranges, scales and displays of all strips.
void CMixerView::MeterMenu(uint32_t element, POINT at) {
    const StripView& view = m_plugin.View();
    Menu menu;
    if (element == ELEMENT_VU) {
        for (uint32_t i = 0; i < kMeterScaleCount; i++)
            AddCheck(menu, CMD_VU_FIRST + i, tarn::KernelText(*MeterScaleOf(i).name),
                     VuScaleIndex(view.vuScale) == i);
    } else if (element == ELEMENT_SCOPE) {
        for (uint32_t i = 0; i < std::size(SCOPE_STYLES); i++)
            AddCheck(menu, CMD_SCOPE_FIRST + i, SCOPE_STYLES[i].name,
                     view.scopeStyle == SCOPE_STYLES[i].style);
    } else {
        menu.Add(CMD_RESET, ConsoleText(IDS_MENU_RESET_PEAKS));
        menu.AddSeparator();
        for (uint32_t i = std::size(RANGES); i-- > 0;)
            AddCheck(menu, CMD_RANGE_FIRST + i, tarn::KernelText(*RANGES[i].name),
                     view.meterRange == RANGES[i].counts);
    }
    if (const uint32_t chosen = Track(menu, at)) OnCommand(chosen);
}

void CMixerView::ChannelMenu(Strip& strip, POINT at) {
    const uint64_t channel = strip.Entry().id.channel;
    const uint32_t kind = strip.Entry().kind;
    const tConsoleMetrics& m = ConsoleMetrics();
    Menu menu;
    if (!(kind & (KIND_MASTER_BIT | KIND_SPECIAL))) {
        menu.Add(CMD_RENAME, std::u16string(ConsoleText(IDS_MENU_RENAME)) + u"\tF2");
        AddCheck(menu, CMD_HIDE, ConsoleText(IDS_MENU_HIDE), m_plugin.IsChannelHidden(strip.Entry()));
        menu.Add(CMD_DELETE, ConsoleText(IDS_MENU_DELETE));
        menu.AddSeparator();
    }
    const bool wide = kind & KIND_SURROUND;
    AddCheck(menu, CMD_NARROW, ConsoleText(IDS_MENU_NARROW),
             strip.Width() == (wide ? m.cxSurroundNarrow : m.cxChannelNarrow));
    AddCheck(menu, CMD_DEFAULT, ConsoleText(IDS_MENU_DEFAULT),
             strip.Width() == (wide ? m.cxSurroundDefault : m.cxChannelDefault));
    AddCheck(menu, CMD_WIDE, ConsoleText(IDS_MENU_WIDE),
             strip.Width() == (wide ? m.cxSurroundWide : m.cxChannelWide));
    menu.AddSeparator();
    AddRegionMenu(menu);
    const uint32_t chosen = Track(menu, at);
    Strip* still = chosen ? StripOf(channel) : nullptr;
    if (!still) return;
    switch (chosen) {
    case CMD_RENAME: StartRename(*still); return;
    case CMD_HIDE: ShowChannel(m_plugin, still->Entry(), m_plugin.IsChannelHidden(still->Entry())); return;
    case CMD_DELETE: m_plugin.RemoveAtHost({channel, 0, 0}); return;
    case CMD_NARROW: still->SetWidth(wide ? m.cxSurroundNarrow : m.cxChannelNarrow); break;
    case CMD_DEFAULT: still->SetWidth(wide ? m.cxSurroundDefault : m.cxChannelDefault); break;
    case CMD_WIDE: still->SetWidth(wide ? m.cxSurroundWide : m.cxChannelWide); break;
    default: OnCommand(chosen); return;
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

/// To the next range of the table, which all strips share.
bool CMixerView::StepMeterRange(int32_t direction) {
    const auto* at = std::ranges::find(RANGES, m_plugin.View().meterRange, &RangeRow::counts);
    if (at == std::end(RANGES)) return true;
    const auto next = (at - RANGES) + (direction > 0 ? 1 : -1);
    if (next >= 0 && next < static_cast<std::ptrdiff_t>(std::size(RANGES)))
        OnCommand(CMD_RANGE_FIRST + static_cast<uint32_t>(next));
    return true;
}

// Commands
// ------------------------------------------------------------------------------------------------------------

namespace {

struct FlagRow {
    uint32_t command;
    int32_t StripShow::*flag;
    ConsoleTextId name;
};
constexpr uint32_t CMD_ALL_REGIONS = 50059, CMD_FADERS = 50066, CMD_TICKS = 50162, CMD_SELECT_ALL = 55023;
/// In the order of the menu.
constexpr FlagRow FLAGS[] = {
    {50061, &StripShow::bShowInserts, IDS_MENU_INSERTS},
    {50062, &StripShow::bShowSends, IDS_MENU_SENDS},
    {50060, &StripShow::bShowIO, IDS_MENU_IO},
    {50063, &StripShow::bShowScopes, IDS_MENU_SCOPES},
    {50064, &StripShow::bShowVU, IDS_MENU_VU},
    {50065, &StripShow::bShowPeaks, IDS_MENU_PEAKS},
    {50066, &StripShow::bShowFaders, IDS_MENU_FADERS},
    {50070, &StripShow::bShowLabels, IDS_MENU_LABELS},
    {50140, &StripShow::bVerticalLayout, {}},
};
/// The same by the numbers that the meters' menu has.
constexpr uint32_t CMD_SHOW_PEAKS = 29025, CMD_SHOW_VU = 29026, CMD_SHOW_SCOPE = 29027;
constexpr struct {
    uint32_t command, means;
} ALIASES[] = {{CMD_SHOW_PEAKS, 50065}, {CMD_SHOW_VU, 50064}, {CMD_SHOW_SCOPE, 50063}};

constexpr uint32_t WITH_SHIFT = 2, WITH_CTRL = 4;
struct KeyRow {
    uint32_t key, modifiers, command;
};
constexpr KeyRow KEYS[] = {
    {'I', 0, 50061},          {'S', 0, 50062},          {'H', 0, 50060},
    {'M', 0, 50065},          {'F', 0, 50066},          {'C', WITH_SHIFT, CMD_CHANNEL_LIST},
    {'L', WITH_SHIFT, 50070}, {'T', WITH_SHIFT, 50162}, {'N', 0, CMD_NARROW},
    {'D', 0, CMD_DEFAULT},    {'W', 0, CMD_WIDE},       {'H', WITH_SHIFT, CMD_HIDE},
    {'A', WITH_CTRL, 55023},
};

std::u16string KeyText(uint32_t command) {
    const auto* row = std::ranges::find(KEYS, command, &KeyRow::command);
    if (row == std::end(KEYS)) return {};
    std::u16string text = row->modifiers & WITH_SHIFT ? u"\tShift+" : u"\t";
    return text + static_cast<char16_t>(row->key);
}

}  // namespace

bool CMixerView::RunKey(uint32_t key) {
    const ControlHost& keys = m_site.Host();
    if (keys.IsKeyDown(VK_MENU)) return false;
    const uint32_t modifiers =
        (keys.IsKeyDown(VK_SHIFT) ? WITH_SHIFT : 0) | (keys.IsKeyDown(VK_CONTROL) ? WITH_CTRL : 0);
    for (const KeyRow& row : KEYS)
        if (row.key == key && row.modifiers == modifiers) return m_site.RunCommand(row.command);
    return false;
}

void CMixerView::AddRegionMenu(Menu& menu) const {
    AddRegionItems(*menu.AddSubmenu(ConsoleText(IDS_MENU_SHOW_REGIONS)).submenu);
}

void CMixerView::AddRegionItems(Menu& regions) const {
    constexpr uint32_t REGIONS[] = {50061, 50062, 50060, 50064, 50065, 50066}, LABELS[] = {50070};
    const auto add = [&](std::span<const uint32_t> commands) {
        regions.AddSeparator();
        for (const FlagRow& row : FLAGS)
            if (std::ranges::find(commands, row.command) != commands.end())
                AddCheck(regions, row.command, ConsoleText(row.name) + KeyText(row.command),
                         m_plugin.View().show.*row.flag);
    };
    regions.Add(CMD_ALL_REGIONS, ConsoleText(IDS_MENU_ALL));
    add(REGIONS);
    add(LABELS);
    AddCheck(regions, CMD_TICKS, ConsoleText(IDS_MENU_TICKS) + KeyText(CMD_TICKS),
             m_plugin.View().faderTicks);
}

/// Of the ground beside the strips.
void CMixerView::LayoutMenu(POINT at) {
    const tConsoleMetrics& m = ConsoleMetrics();
    const PaneShow& panes = m_plugin.Pane().show;
    Menu menu;
    menu.Add(CMD_CHANNEL_LIST, ConsoleText(IDS_MENU_CHANNEL_LIST) + KeyText(CMD_CHANNEL_LIST),
             panes.list ? MF_CHECKED | MF_DEFAULT : MF_DEFAULT);
    if (ThisModule().showGroups) AddCheck(menu, CMD_GROUPS, ConsoleText(IDS_MENU_GROUPS), panes.groups);
    menu.AddSeparator();
    AddKindMenu(m_plugin, *menu.AddSubmenu(ConsoleText(IDS_SHOW_CHANNELS)).submenu);
    AddRegionMenu(menu);
    Menu& widths = *menu.AddSubmenu(ConsoleText(IDS_MENU_WIDTH)).submenu;
    const struct {
        uint32_t command;
        ConsoleTextId name;
        LONG width;
    } rows[] = {{CMD_NARROW, IDS_MENU_NARROW, m.cxChannelNarrow},
                {CMD_DEFAULT, IDS_MENU_DEFAULT, m.cxChannelDefault},
                {CMD_WIDE, IDS_MENU_WIDE, m.cxChannelWide}};
    for (const auto& row : rows)
        AddCheck(widths, row.command, ConsoleText(row.name) + KeyText(row.command),
                 m.cxChannelCurrent == row.width);
    if (const uint32_t chosen = Track(menu, at)) m_site.RunCommand(chosen);
}

bool CMixerView::OnCommand(uint32_t command) {
    for (const auto& alias : ALIASES)
        if (alias.command == command) command = alias.means;
    StripView& view = m_plugin.View();
    const tConsoleMetrics& m = ConsoleMetrics();
    const bool limited = m_plugin.HostFeatures().limited;
    bool rebuild = false;
    const auto* row = std::ranges::find(FLAGS, command, &FlagRow::command);
    if (row != std::end(FLAGS) && command != CMD_FADERS) {
        view.show.*row->flag = !(view.show.*row->flag);
    } else if (command == CMD_ALL_REGIONS) {
        for (int32_t StripShow::*flag :
             {&StripShow::bShowIO, &StripShow::bShowInserts, &StripShow::bShowSends, &StripShow::bShowScopes,
              &StripShow::bShowVU, &StripShow::bShowPeaks, &StripShow::bShowFaders, &StripShow::bShowSwitches,
              &StripShow::bShowPan})
            view.show.*flag = 1;
        view.show.bShowRecord = view.show.bShowAutomation = !limited;
    } else if (command == CMD_FADERS) {
        const int32_t on = !view.show.bShowFaders;
        view.show.bShowFaders = view.show.bShowSwitches = view.show.bShowPan = on;
        view.show.bShowRecord = on && !limited;
        view.show.bShowAutomation = on && !limited;
    } else if (command >= CMD_NARROW && command <= CMD_WIDE) {
        tConsoleMetrics& metrics = ConsoleMetrics();
        const LONG widths[][2] = {{m.cxChannelNarrow, m.cxSurroundNarrow},
                                  {m.cxChannelDefault, m.cxSurroundDefault},
                                  {m.cxChannelWide, m.cxSurroundWide}};
        metrics.cxChannelCurrent = widths[command - CMD_NARROW][0];
        metrics.cxSurroundCurrent = widths[command - CMD_NARROW][1];
        for (ChannelEntry* entry : m_plugin.Entries()) entry->width = 0;
    } else if (command == CMD_TICKS) {
        view.faderTicks = !view.faderTicks;
        rebuild = true;
    } else if (command >= CMD_RANGE_FIRST && command < CMD_RANGE_FIRST + std::size(RANGES)) {
        view.meterRange = RANGES[command - CMD_RANGE_FIRST].counts;
    } else if (command >= CMD_VU_FIRST && command < CMD_VU_FIRST + kMeterScaleCount) {
        view.vuScale = VuScaleWord(command - CMD_VU_FIRST);
    } else if (command >= CMD_SCOPE_FIRST && command < CMD_SCOPE_FIRST + std::size(SCOPE_STYLES)) {
        view.scopeStyle = SCOPE_STYLES[command - CMD_SCOPE_FIRST].style;
    } else if (command == CMD_RESET) {
        for (Strip* strip : m_strips) strip->Meters().ResetPeaks();
        return true;
    } else if (command == CMD_SELECT_ALL) {
        SelectAll();
        return true;
    } else if (command == CMD_RENAME || command == CMD_HIDE || command == CMD_DELETE) {
        Strip* strip = FocusedStrip();
        if (!strip || strip->Entry().kind & (KIND_MASTER_BIT | KIND_SPECIAL)) return true;
        if (command == CMD_RENAME)
            StartRename(*strip);
        else if (command == CMD_HIDE)
            ShowChannel(m_plugin, strip->Entry(), false);
        else
            m_plugin.RemoveAtHost({strip->Entry().id.channel, 0, 0});
        return true;
    } else {
        return false;
    }
    ViewChanged(rebuild);
    m_plugin.KeepState();
    return true;
}
