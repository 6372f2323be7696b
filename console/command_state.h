// What menus and tool bars show of the commands, as things stand at one moment. [page-thread]
#pragma once

#include "console/strip_show.h"
#include "contract/host_contract.h"

#include <cstdint>

class CConsoleControlPlugin;

class CommandStates {
public:
    explicit CommandStates(CConsoleControlPlugin& plugin);

    /// Of what the host cannot have, a menu has no entry.
    bool IsThere(uint32_t command) const;
    bool IsEnabled(uint32_t command) const;
    bool IsChecked(uint32_t command) const;
    /// A command that is on or off, so that a button of it is a switch.
    static bool IsSwitch(uint32_t command);

private:
    CConsoleControlPlugin& m_plugin;
    MPHOSTFEATURES m_features;
    MPAUDIOFORMAT m_format{};
    uint32_t m_hostKind;
    bool m_anySelected;
    bool m_anyHidden;
    uint32_t m_shownKinds;
};

/// The kind of channel that a command adds, INSERT_, and its kind word.
struct InsertCommand {
    uint32_t command, insert, kind;
};
/// Null for a command that adds none.
const InsertCommand* InsertOfCommand(uint32_t command);
/// The METERS_ bit of all peak meters that a command turns over; 0 for a command of none.
uint32_t MeterStyleOfCommand(uint32_t command);
/// The switch of StripShow that a command turns over; null for a command of none.
int32_t StripShow::*const* RegionOfCommand(uint32_t command);
