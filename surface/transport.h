// The transport's buttons on a surface: functions of the host's own group.
#pragma once

#include "plugin/opt_plugin.h"

inline constexpr uint32_t GROUP_TRANSPORT = 1;
inline constexpr uint32_t TRANSPORT_PLAY = 1, TRANSPORT_STOP = 2, TRANSPORT_PLAY_OR_STOP = 3,
                          TRANSPORT_LOOP_SWITCH = 4, TRANSPORT_TO_START = 5, TRANSPORT_BACK = 6,
                          TRANSPORT_FORWARD = 7;
inline constexpr int32_t TRANSPORT_STEP_SECONDS = 5;  ///< of back and forward

/// Does a function of the transport; 1 for a number that has none. [worker]
HRESULT RunTransport(COPTPlugin& plugin, uint32_t function);
/// Whether the lamp of a function is lit. Pure.
bool TransportLamp(uint32_t function, uint32_t transportFlags);
