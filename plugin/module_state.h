// What all plug-in objects of the process share: the two language tables, the project channel mode, and the
// switches that preferences set for the whole module.
#pragma once

#include "plugin/host_contract.h"
#include "plugin/language_table.h"

inline constexpr uint32_t CHANNEL_MODE_SURROUND = 1;

struct ModuleState {
    LanguageTable pluginTexts;
    LanguageTable kernelTexts;

    std::atomic<uint32_t> channelMode{0};
    MPCHANNELMODEEX channelModeEx{};  ///< written by Initialise, before any other thread of the plug-in runs

    std::atomic<bool> showGroups{false};
    std::atomic<bool> useHostHideState{true};  ///< honour SWITCH_HIDDEN
    std::atomic<bool> useSendPanFaders{false};
};

ModuleState& ThisModule();

/// Changes the language of both tables and the direction in which the process lays out its windows; 0 means
/// US English. [page-thread]
void ApplyModuleLcid(uint32_t lcid);
