#include "console/command_menus.h"

#include "console/commands.h"
#include "console/console_plugin.h"
#include "console/meter_choices.h"
#include "console/texts.h"
#include "kernel/lang/kernel_strings.h"
#include "kernel/ui/menu_edit.h"

namespace {

struct Entry {
    uint32_t command;
    ConsoleTextId text;
};

constexpr Entry PANE_MENU[] = {{CMD_CHANNEL_LIST, IDS_CMD_CHANNEL_LIST},
                               {CMD_GROUP_LIST, IDS_CMD_GROUP_LIST},
                               {CMD_REGION_CONTROLS, IDS_CMD_REGION_CONTROLS}};
constexpr Entry CHANNEL_MENU[] = {
    {CMD_SHOW_ALL_CHANNELS, IDS_MENU_ALL}, {CMD_SEPARATOR, {}},
    {CMD_SHOW_AUDIO, IDS_SHOW_AUDIO},      {CMD_SHOW_MIDI, IDS_SHOW_MIDI},
    {CMD_SHOW_BUSSES, IDS_SHOW_BUSSES},    {CMD_SHOW_INPUTS, IDS_SHOW_INPUTS},
    {CMD_SHOW_SYNTHS, IDS_SHOW_SYNTHS},    {CMD_SHOW_FX, IDS_SHOW_FX},
    {CMD_SHOW_MASTER, IDS_SHOW_MASTER},    {CMD_SHOW_PREVIEW, IDS_SHOW_PREVIEW}};
constexpr Entry REGION_MENU[] = {{CMD_ALL_REGIONS, IDS_MENU_ALL},      {CMD_SEPARATOR, {}},
                                 {CMD_SHOW_INSERTS, IDS_MENU_INSERTS}, {CMD_SHOW_SENDS, IDS_MENU_SENDS},
                                 {CMD_SHOW_IO, IDS_MENU_IO},           {CMD_SHOW_SCOPES, IDS_MENU_SCOPES},
                                 {CMD_SHOW_VU, IDS_MENU_VU},           {CMD_SHOW_PEAKS, IDS_MENU_PEAKS},
                                 {CMD_SHOW_FADERS, IDS_MENU_FADERS},   {CMD_SEPARATOR, {}},
                                 {CMD_SHOW_LABELS, IDS_MENU_LABELS},   {CMD_FADER_TICKS, IDS_MENU_TICKS}};
constexpr Entry WIDTH_MENU[] = {
    {CMD_NARROW, IDS_MENU_NARROW}, {CMD_DEFAULT_WIDTH, IDS_MENU_DEFAULT}, {CMD_WIDE, IDS_MENU_WIDE}};
constexpr Entry GROUP_MENU[] = {{CMD_NEW_VIEW_GROUP, IDS_NEW_VIEW_GROUP},
                                {CMD_NEW_MIX_GROUP, IDS_NEW_MIX_GROUP}};
constexpr Entry INSERT_MENU[] = {{CMD_ADD_AUDIO, IDS_CMD_ADD_AUDIO}, {CMD_ADD_MIDI, IDS_CMD_ADD_MIDI},
                                 {CMD_ADD_FX, IDS_CMD_ADD_FX},       {CMD_ADD_BUS, IDS_CMD_ADD_BUS},
                                 {CMD_ADD_INPUT, IDS_CMD_ADD_INPUT}, {CMD_ADD_SYNTH, IDS_CMD_ADD_SYNTH}};
constexpr Entry MONITORING[] = {{CMD_DOWNMIX, IDS_CMD_DOWNMIX}, {CMD_DIM, IDS_CMD_DIM}};
constexpr Entry METER_LOOK[] = {{CMD_METER_LABELS, IDS_MENU_METER_LABELS},
                                {CMD_METER_PEAKS, IDS_MENU_METER_PEAKS},
                                {CMD_METER_VALLEYS, IDS_MENU_METER_VALLEYS},
                                {CMD_SHOW_PEAK_NUMBERS, IDS_MENU_PEAK_NUMBERS}};
constexpr Entry METERS_SHOWN[] = {{CMD_METERS_SHOW_PEAKS, IDS_MENU_PEAKS},
                                  {CMD_METERS_SHOW_VU, IDS_MENU_VU},
                                  {CMD_METERS_SHOW_SCOPE, IDS_MENU_SCOPES}};

void Add(Menu& menu, const CommandStates& states, uint32_t command, std::u16string text) {
    if (!states.IsThere(command)) return;
    const uint32_t checked = states.IsChecked(command) ? MF_CHECKED : 0;
    const uint32_t greyed = states.IsEnabled(command) ? 0 : MF_GRAYED | MF_DISABLED;
    menu.Add(command, std::move(text), checked | greyed);
}

void Add(Menu& menu, const CommandStates& states, std::span<const Entry> entries) {
    for (const Entry& entry : entries)
        if (entry.command == CMD_SEPARATOR)
            menu.AddSeparator();
        else
            Add(menu, states, entry.command, ConsoleText(entry.text));
}

Menu MenuOf(const CommandStates& states, std::span<const Entry> entries) {
    Menu menu;
    Add(menu, states, entries);
    return menu;
}

Menu RangeMenu(const CommandStates& states) {
    Menu menu;
    for (uint32_t i = METER_RANGES; i-- > 0;) Add(menu, states, CMD_RANGE_FIRST + i, MeterRangeName(i));
    return menu;
}

void AddLook(Menu& menu, const CommandStates& states) {
    menu.AddSeparator();
    Add(menu, states, METER_LOOK);
    menu.AddSeparator();
    Add(menu, states, METERS_SHOWN);
    menu.AddSeparator();
    menu.Add(CMD_RESET_PEAKS, ConsoleText(IDS_MENU_RESET_PEAKS));
}

Menu ScaleMenu(const CommandStates& states) {
    Menu menu;
    for (uint32_t i = 0; i < kMeterScaleCount; i++)
        Add(menu, states, CMD_VU_SCALE_FIRST + i, tarn::KernelText(*MeterScaleOf(i).name));
    return menu;
}

Menu StyleMenu(const CommandStates& states) {
    Menu menu;
    for (uint32_t i = 0; i < SCOPE_STYLE_COUNT; i++)
        Add(menu, states, CMD_SCOPE_STYLE_FIRST + i, ScopeStyleName(i));
    return menu;
}

}  // namespace

void AddMenu(Menu& menu, const char16_t* text, Menu submenu) {
    if (!submenu.items.empty()) *menu.AddSubmenu(text).submenu = std::move(submenu);
}

Menu LayoutMenu(CConsoleControlPlugin& plugin) {
    const CommandStates states(plugin);
    Menu menu = MenuOf(states, PANE_MENU);
    menu.Find(CMD_CHANNEL_LIST)->state |= MF_DEFAULT;
    menu.AddSeparator();
    AddMenu(menu, ConsoleText(IDS_MENU_SHOW_CHANNELS), MenuOf(states, CHANNEL_MENU));
    AddMenu(menu, ConsoleText(IDS_MENU_SHOW_REGIONS), MenuOf(states, REGION_MENU));
    AddMenu(menu, ConsoleText(IDS_MENU_WIDTH), MenuOf(states, WIDTH_MENU));
    menu.AddSeparator();
    Menu ranges = RangeMenu(states);
    AddLook(ranges, states);
    AddMenu(menu, ConsoleText(IDS_MENU_METER_RANGE), std::move(ranges));
    AddMenu(menu, ConsoleText(IDS_MENU_VU_SCALE), ScaleMenu(states));
    AddMenu(menu, ConsoleText(IDS_MENU_SCOPE_STYLE), StyleMenu(states));
    menu.AddSeparator();
    Add(menu, states, GROUP_MENU);
    AddMenu(menu, ConsoleText(IDS_MENU_INSERT), MenuOf(states, INSERT_MENU));
    menu.AddSeparator();
    Add(menu, states, MONITORING);
    QmCleanMenu(&menu, nullptr, 0);
    return menu;
}

Menu ShowChannelsMenu(CConsoleControlPlugin& plugin) { return MenuOf(CommandStates(plugin), CHANNEL_MENU); }
Menu ShowRegionsMenu(CConsoleControlPlugin& plugin) { return MenuOf(CommandStates(plugin), REGION_MENU); }

Menu PeakMeterMenu(CConsoleControlPlugin& plugin) {
    const CommandStates states(plugin);
    Menu menu = RangeMenu(states);
    AddLook(menu, states);
    return menu;
}

Menu VuMeterMenu(CConsoleControlPlugin& plugin) {
    const CommandStates states(plugin);
    Menu menu = ScaleMenu(states);
    AddLook(menu, states);
    return menu;
}

Menu ScopeMenu(CConsoleControlPlugin& plugin) {
    const CommandStates states(plugin);
    Menu menu = StyleMenu(states);
    menu.AddSeparator();
    for (const Entry& entry : METERS_SHOWN) Add(menu, states, entry.command, ConsoleText(entry.text));
    return menu;
}
