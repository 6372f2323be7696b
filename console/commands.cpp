#include "console/commands.h"

#include "console/texts.h"
#include "platform/ui/messages.h"

#include <algorithm>

namespace {

constexpr ConsoleCommand COMMANDS[] = {
    {CMD_CUT, u"Edit.Cut", IDS_CMD_CUT, COMMAND_OF_BOTH},
    {CMD_COPY, u"Edit.Copy", IDS_CMD_COPY, COMMAND_OF_BOTH},
    {CMD_PASTE, u"Edit.Paste", IDS_CMD_PASTE, COMMAND_OF_BOTH},
    {CMD_SELECT_ALL, u"Edit.Select.All", IDS_CMD_SELECT_ALL, COMMAND_OF_BOTH},
    {CMD_DELETE, u"Edit.Delete", IDS_MENU_DELETE, COMMAND_OF_BOTH},
    {CMD_RENAME, u"Edit.Rename", IDS_MENU_RENAME, COMMAND_OF_BOTH},
    {CMD_HIDE, u"MixingConsole.HideChannel", IDS_MENU_HIDE, COMMAND_OF_BOTH},
    {CMD_DOWNMIX, u"MixingConsole.Downmix", IDS_CMD_DOWNMIX, COMMAND_OF_BOTH},
    {CMD_DIM, u"MixingConsole.Dim", IDS_CMD_DIM, COMMAND_OF_BOTH},
    {CMD_ADD_AUDIO, u"Insert.AudioTrack", IDS_CMD_ADD_AUDIO, COMMAND_OF_BOTH},
    {CMD_ADD_MIDI, u"Insert.MIDITrack", IDS_CMD_ADD_MIDI, COMMAND_OF_FULL},
    {CMD_ADD_BUS, u"Insert.Bus", IDS_CMD_ADD_BUS, COMMAND_OF_BOTH},
    {CMD_ADD_FX, u"Insert.AssignableFX", IDS_CMD_ADD_FX, COMMAND_OF_BOTH},
    {CMD_ADD_SYNTH, u"Insert.SoftSynth", IDS_CMD_ADD_SYNTH, COMMAND_OF_FULL},
    {CMD_ADD_INPUT, u"Insert.InputBus", IDS_CMD_ADD_INPUT, COMMAND_OF_BOTH},
    {CMD_SHOW_ALL_CHANNELS, u"MixingConsole.Show.Channels.All", IDS_SHOW_ALL_CHANNELS, COMMAND_OF_BOTH},
    {CMD_SHOW_AUDIO, u"MixingConsole.Show.Channels.AudioTracks", IDS_SHOW_AUDIO, COMMAND_OF_BOTH},
    {CMD_SHOW_MIDI, u"MixingConsole.Show.Channels.MIDITracks", IDS_SHOW_MIDI, COMMAND_OF_FULL},
    {CMD_SHOW_BUSSES, u"MixingConsole.Show.Channels.AudioBusses", IDS_SHOW_BUSSES, COMMAND_OF_BOTH},
    {CMD_SHOW_INPUTS, u"MixingConsole.Show.Channels.InputBusses", IDS_SHOW_INPUTS, COMMAND_OF_BOTH},
    {CMD_SHOW_SYNTHS, u"MixingConsole.Show.Channels.SoftSynthBusses", IDS_SHOW_SYNTHS, COMMAND_OF_FULL},
    {CMD_SHOW_FX, u"MixingConsole.Show.Channels.FXBusses", IDS_SHOW_FX, COMMAND_OF_BOTH},
    {CMD_SHOW_MASTER, u"MixingConsole.Show.Channels.MasterBus", IDS_SHOW_MASTER, COMMAND_OF_BOTH},
    {CMD_SHOW_PREVIEW, u"MixingConsole.Show.Channels.PreviewBus", IDS_SHOW_PREVIEW, COMMAND_OF_BOTH},
    {CMD_ALL_REGIONS, u"MixingConsole.Show.Regions.All", IDS_SHOW_ALL_REGIONS, COMMAND_OF_BOTH},
    {CMD_SHOW_INSERTS, u"MixingConsole.Show.Regions.Inserts", IDS_MENU_INSERTS, COMMAND_OF_BOTH},
    {CMD_SHOW_SENDS, u"MixingConsole.Show.Regions.Sends", IDS_MENU_SENDS, COMMAND_OF_BOTH},
    {CMD_SHOW_IO, u"MixingConsole.Show.Regions.IO", IDS_MENU_IO, COMMAND_OF_BOTH},
    {CMD_SHOW_PEAKS, u"MixingConsole.Show.Regions.Meters", IDS_MENU_PEAKS, COMMAND_OF_BOTH},
    {CMD_SHOW_FADERS, u"MixingConsole.Show.Regions.Faders", IDS_MENU_FADERS, COMMAND_OF_BOTH},
    {CMD_CHANNEL_LIST, u"MixingConsole.Show.ChannelList", IDS_CMD_CHANNEL_LIST, COMMAND_OF_BOTH},
    {CMD_REGION_CONTROLS, u"MixingConsole.Show.RegionControls", IDS_CMD_REGION_CONTROLS, COMMAND_OF_BOTH},
    {CMD_SHOW_LABELS, u"MixingConsole.Show.Region.Labels", IDS_MENU_LABELS, COMMAND_OF_BOTH},
    {CMD_FADER_TICKS, u"MixingConsole.Show.FaderTicks", IDS_MENU_TICKS, COMMAND_OF_BOTH},
    {CMD_NARROW, u"MixingConsole.ChannelWidth.Narrow", IDS_MENU_NARROW, COMMAND_OF_BOTH},
    {CMD_DEFAULT_WIDTH, u"MixingConsole.ChannelWidth.Default", IDS_MENU_DEFAULT, COMMAND_OF_BOTH},
    {CMD_WIDE, u"MixingConsole.ChannelWidth.Wide", IDS_MENU_WIDE, COMMAND_OF_BOTH},
    {CMD_METERS_SHOW_VU, u"MixingConsole.Show.Regions.VUMeters", IDS_MENU_VU, COMMAND_OF_OTHER},
    {CMD_VERTICAL_LAYOUT, u"MixingConsole.Show.VerticalLayout", IDS_CMD_VERTICAL_LAYOUT, COMMAND_OF_OTHER},
};

constexpr uint16_t KEY = ACCEL_VIRTKEY, SHIFT = KEY | ACCEL_SHIFT, CTRL = KEY | ACCEL_CTRL,
                   ALT = KEY | ACCEL_ALT;
constexpr uint16_t CTRL_SHIFT = CTRL | SHIFT, CTRL_ALT = CTRL | ALT;
constexpr uint16_t BACKQUOTE = VK_OEM_3;

constexpr MPCOMMANDKEY KEYS_OF_FULL[] = {
    {'C', CTRL, CMD_COPY},
    {'X', CTRL, CMD_CUT},
    {'V', CTRL, CMD_PASTE},
    {'A', CTRL, CMD_SELECT_ALL},
    {VK_F2, KEY, CMD_RENAME},
    {VK_DELETE, KEY, CMD_DELETE},
    {'Q', CTRL, CMD_ADD_AUDIO},
    {'Q', CTRL_ALT, CMD_ADD_MIDI},
    {'B', CTRL_SHIFT, CMD_ADD_BUS},
    {'S', CTRL_SHIFT, CMD_ADD_SYNTH},
    {'F', CTRL_SHIFT, CMD_ADD_FX},
    {'I', CTRL_SHIFT, CMD_ADD_INPUT},
    {'Q', ALT, CMD_SHOW_ALL_CHANNELS},
    {'A', ALT, CMD_SHOW_AUDIO},
    {'D', ALT, CMD_SHOW_MIDI},
    {'B', ALT, CMD_SHOW_BUSSES},
    {'I', ALT, CMD_SHOW_INPUTS},
    {'S', ALT, CMD_SHOW_SYNTHS},
    {'Z', ALT, CMD_SHOW_FX},
    {'X', ALT, CMD_SHOW_MASTER},
    {'P', ALT, CMD_SHOW_PREVIEW},
    {'Q', KEY, CMD_ALL_REGIONS},
    {'Q', KEY, CMD_SHOW_ALL_CHANNELS},
    {'A', KEY, CMD_SHOW_AUDIO},
    {'C', KEY, CMD_SHOW_MIDI},
    {'U', KEY, CMD_SHOW_BUSSES},
    {'R', KEY, CMD_SHOW_INPUTS},
    {'E', KEY, CMD_SHOW_FX},
    {'V', KEY, CMD_SHOW_SYNTHS},
    {'T', KEY, CMD_SHOW_MASTER},
    {'P', KEY, CMD_SHOW_PREVIEW},
    {'I', KEY, CMD_SHOW_INSERTS},
    {'S', KEY, CMD_SHOW_SENDS},
    {'H', KEY, CMD_SHOW_IO},
    {'M', KEY, CMD_SHOW_PEAKS},
    {'F', KEY, CMD_SHOW_FADERS},
    {'C', SHIFT, CMD_CHANNEL_LIST},
    {'R', SHIFT, CMD_REGION_CONTROLS},
    {'L', SHIFT, CMD_SHOW_LABELS},
    {'T', SHIFT, CMD_FADER_TICKS},
    {'N', KEY, CMD_NARROW},
    {BACKQUOTE, KEY, CMD_NARROW},
    {'D', KEY, CMD_DEFAULT_WIDTH},
    {BACKQUOTE, CTRL, CMD_DEFAULT_WIDTH},
    {'W', KEY, CMD_WIDE},
    {BACKQUOTE, SHIFT, CMD_WIDE},
    {'H', SHIFT, CMD_HIDE},
};
constexpr MPCOMMANDKEY KEYS_OF_OTHER[] = {
    {'C', CTRL, CMD_COPY},
    {'X', CTRL, CMD_CUT},
    {'V', CTRL, CMD_PASTE},
    {VK_F2, KEY, CMD_RENAME},
    {'Q', CTRL, CMD_ADD_AUDIO},
    {'I', CTRL_SHIFT, CMD_ADD_INPUT},
    {'Q', KEY, CMD_SHOW_ALL_CHANNELS},
    {'A', KEY, CMD_SHOW_AUDIO},
    {'U', KEY, CMD_SHOW_BUSSES},
    {'E', KEY, CMD_SHOW_FX},
    {'T', KEY, CMD_SHOW_MASTER},
    {'P', KEY, CMD_SHOW_PREVIEW},
    {'I', KEY, CMD_SHOW_INSERTS},
    {'S', KEY, CMD_SHOW_SENDS},
    {'H', KEY, CMD_SHOW_IO},
    {'M', KEY, CMD_SHOW_PEAKS},
    {'F', KEY, CMD_SHOW_FADERS},
    {'C', SHIFT, CMD_CHANNEL_LIST},
    {'R', SHIFT, CMD_REGION_CONTROLS},
    {'L', SHIFT, CMD_SHOW_LABELS},
    {'T', SHIFT, CMD_FADER_TICKS},
    {'N', KEY, CMD_NARROW},
    {BACKQUOTE, KEY, CMD_NARROW},
    {'D', KEY, CMD_DEFAULT_WIDTH},
    {BACKQUOTE, CTRL, CMD_DEFAULT_WIDTH},
    {'W', KEY, CMD_WIDE},
    {BACKQUOTE, SHIFT, CMD_WIDE},
    {'H', SHIFT, CMD_HIDE},
};

constexpr uint32_t MODIFIERS = ACCEL_SHIFT | ACCEL_CTRL | ACCEL_ALT;
constexpr auto KeyAndModifiers = [](const MPCOMMANDKEY& row) {
    return std::pair<uint32_t, uint32_t>(row.key, row.modifiers & MODIFIERS);
};

/// Runs of menu entries that share the text of the first one.
constexpr struct {
    uint32_t first, last;
    uint32_t text;
} SHARED_STATUS[] = {{CMD_VU_SCALE_FIRST, 29015, IDS_STATUS_VU_SCALE}};

}  // namespace

std::span<const ConsoleCommand> ConsoleCommands() { return COMMANDS; }

std::u16string StatusForCommand(uint32_t command) {
    for (const auto& row : SHARED_STATUS)
        if (command >= row.first && command <= row.last) command = row.text;
    const char16_t* text = ConsoleText(static_cast<ConsoleTextId>(command));
    return text ? text : u"";
}

std::u16string CommandName(ConsoleTextId text) {
    std::u16string name = ConsoleText(text);
    std::erase(name, u'&');
    return name;
}

std::span<const MPCOMMANDKEY> CommandKeys::Proposed(bool fullEditor) {
    return fullEditor ? std::span<const MPCOMMANDKEY>(KEYS_OF_FULL) : KEYS_OF_OTHER;
}

CommandKeys::CommandKeys(std::span<const MPCOMMANDKEY> rows)
    : m_rows(rows.begin(), rows.end()), m_inOrder(m_rows) {
    std::ranges::stable_sort(m_rows, {}, KeyAndModifiers);
}

uint32_t CommandKeys::CommandOf(uint32_t key, uint32_t modifiers) const {
    const std::pair wanted(key, modifiers & MODIFIERS);
    const auto at = std::ranges::lower_bound(m_rows, wanted, {}, KeyAndModifiers);
    return at != m_rows.end() && KeyAndModifiers(*at) == wanted ? at->command : 0;
}

const MPCOMMANDKEY* CommandKeys::KeyOf(uint32_t command) const {
    const auto at = std::ranges::find(m_inOrder, command, &MPCOMMANDKEY::command);
    return at == m_inOrder.end() ? nullptr : &*at;
}
