// The console's commands: their numbers, the names under which hosts and control surfaces call them, their
// texts and keys. Tables alone; what a command does stands with the view that carries it out.
#pragma once

#include "console/text_ids.h"
#include "contract/host_contract.h"
#include "kernel/ui/menu_keys.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// Stands between commands in a menu and on a bar.
inline constexpr uint32_t CMD_SEPARATOR = 0;

inline constexpr uint32_t
    // Objects.
    CMD_CUT = 50090,
    CMD_COPY = 50091, CMD_PASTE = 50092, CMD_DELETE = 50093, CMD_SELECT_ALL = 55023, CMD_RENAME = 50104,
    CMD_HIDE = 50112,
    // What the host adds.
    CMD_ADD_AUDIO = 50108, CMD_ADD_MIDI = 50109, CMD_ADD_FX = 50077, CMD_ADD_BUS = 50078,
    CMD_ADD_SYNTH = 50079, CMD_ADD_INPUT = 50166,
    // Monitoring, and the project's sound.
    CMD_DOWNMIX = 50083, CMD_DIM = 50084, CMD_AUDIO_PROPERTIES = 50069,
    // Kinds of channels that are shown.
    CMD_SHOW_ALL_CHANNELS = 50047, CMD_SHOW_AUDIO = 50048, CMD_SHOW_MIDI = 50049, CMD_SHOW_BUSSES = 50050,
    CMD_SHOW_SYNTHS = 50051, CMD_SHOW_FX = 50052, CMD_SHOW_MASTER = 50053, CMD_SHOW_INPUTS = 50054,
    CMD_SHOW_PREVIEW = 50055, CMD_SHOW_SOLO_BUS = 50056,
    // Groups.
    CMD_NEW_VIEW_GROUP = 50057, CMD_NEW_MIX_GROUP = 50058,
    // Regions of the strips, and how they look.
    CMD_ALL_REGIONS = 50059, CMD_SHOW_IO = 50060, CMD_SHOW_INSERTS = 50061, CMD_SHOW_SENDS = 50062,
    CMD_SHOW_SCOPES = 50063, CMD_SHOW_VU = 50064, CMD_SHOW_PEAKS = 50065, CMD_SHOW_FADERS = 50066,
    CMD_SHOW_LABELS = 50070, CMD_VERTICAL_LAYOUT = 50140, CMD_FADER_TICKS = 50162,
    CMD_METERS_SHOW_PEAKS = 29025, CMD_METERS_SHOW_VU = 29026, CMD_METERS_SHOW_SCOPE = 29027,
    // Panes.
    CMD_CHANNEL_LIST = 50067, CMD_GROUP_LIST = 1250, CMD_REGION_CONTROLS = 1251, CMD_VIEW_MENU = 1246,
    // Widths.
    CMD_NARROW = 50072, CMD_DEFAULT_WIDTH = 50073, CMD_WIDE = 50074, CMD_ADJUST_WIDTH = 780, CMD_WIDER = 781,
    CMD_NARROWER = 782,
    // Meters.
    CMD_RANGE_FIRST = 40001, CMD_METER_LABELS = 40010, CMD_RESET_PEAKS = 40011, CMD_METER_PEAKS = 40012,
    CMD_METER_VALLEYS = 40013, CMD_VU_SCALE_FIRST = 29009, CMD_SCOPE_STYLE_FIRST = 29016,
    CMD_SHOW_PEAK_NUMBERS = 29030,
    // Of a strip's parts.
    CMD_NO_ROUTE = 50011, CMD_PRE_FX = 50035, CMD_POST_FX = 50036, CMD_PAN_MODEL_FIRST = 50037,
    CMD_LINK_PAN = 50131, CMD_SEND_PRE = 50132, CMD_SEND_POST = 50133, CMD_MIDI_ALL = 50139,
    CMD_MIDI_FIRST = 50141, CMD_MIDI_OUT_FIRST = 53512, CMD_AUTOMATION_FIRST = 44601;

inline constexpr uint32_t COMMAND_OF_FULL = 1, COMMAND_OF_OTHER = 2, COMMAND_OF_BOTH = 3;

/// A command that a host can offer to its user.
struct ConsoleCommand {
    uint32_t command;
    const char16_t* name;  ///< the same in every language
    ConsoleTextId text;    ///< what a person reads
    uint32_t hosts;        ///< COMMAND_OF_
};
/// All of them, in the order in which they are told to the host.
std::span<const ConsoleCommand> ConsoleCommands();

/// What the command does, for a status line; empty for one that has nothing to say.
std::u16string StatusForCommand(uint32_t command);
/// The text of a command without the mark of its letter.
std::u16string CommandName(ConsoleTextId text);

/// Keys by virtual key and modifiers. A host may have changed what the console proposes. [page-thread]
class CommandKeys {
public:
    /// What the console proposes to a full editor, and to others.
    static std::span<const MPCOMMANDKEY> Proposed(bool fullEditor);

    explicit CommandKeys(std::span<const MPCOMMANDKEY> rows);
    /// 0 for a key that has none. `modifiers` are ACCEL_SHIFT, ACCEL_CTRL and ACCEL_ALT.
    uint32_t CommandOf(uint32_t key, uint32_t modifiers) const;
    /// Null for a command without.
    const MPCOMMANDKEY* KeyOf(uint32_t command) const;

private:
    std::vector<MPCOMMANDKEY> m_rows;     ///< sorted; of equal keys the first one counts
    std::vector<MPCOMMANDKEY> m_inOrder;  ///< the first of a command's keys is the one that menus show
};
