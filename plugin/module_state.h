// What all plug-in objects of the process share: the module's texts, the project channel mode, and the
// switches that preferences set for the whole module.
#pragma once

#include "contract/host_contract.h"
#include "kernel/lang/lang.h"

inline constexpr uint32_t CHANNEL_MODE_SURROUND = 1;

struct ModuleState {
    HQMLANG texts = nullptr;  ///< in the user's language until the host tells one; null when out of memory

    std::atomic<uint32_t> channelMode{0};
    MPCHANNELMODEEX channelModeEx{};  ///< written by Initialise, before any other thread of the plug-in runs

    std::atomic<bool> showGroups{false};
    std::atomic<bool> useHostHideState{true};  ///< honour SWITCH_HIDDEN
    std::atomic<bool> useSendPanFaders{false};
};

ModuleState& ThisModule();

/// Changes the language of the module's and the kernel's texts and the direction in which the process lays
/// out its windows; 0 means US English. E_FAIL without texts. [page-thread]
HRESULT ApplyModuleLcid(uint32_t lcid);
