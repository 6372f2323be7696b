// The mixer functions of group ECONTROL_GRP_INSERT, by number: which field of a channel each one reads and
// writes. Data that the map's handlers walk.
#pragma once

#include "contract/host_contract.h"

#include <cstdint>

// Functions that are neither a parameter nor a switch.
inline constexpr uint32_t MIXFUNC_BANK_NEXT = 1, MIXFUNC_BANK_PREVIOUS = 2, MIXFUNC_CHANNEL_NEXT = 3,
                          MIXFUNC_CHANNEL_PREVIOUS = 4, MIXFUNC_VOLUME_TOUCH = 5, MIXFUNC_VOLUME = 7,
                          MIXFUNC_PAN = 12, MIXFUNC_SEND = 22, MIXFUNC_SELECT = 25, MIXFUNC_SOLO = 26,
                          MIXFUNC_MUTE = 27, MIXFUNC_ARM = 28, MIXFUNC_SEND_TARGET = 29,
                          MIXFUNC_OUTPUT_TARGET = 30, MIXFUNC_INPUT_ROUTE = 37, MIXFUNC_OUTPUT_ROUTE = 38,
                          MIXFUNC_AUX = 41, MIXFUNC_AUTOMATION_STEP = 52, MIXFUNC_SURFACE_SWITCH = 62,
                          MIXFUNC_SEND_SWITCH = 65;
inline constexpr uint32_t MIXFUNC_CHAIN = 53;  ///< `index` is the slot
inline constexpr uint32_t MIXFUNC_NAME = 66;   ///< sends only: the channel's name as text

/// A value that a control moves.
struct MixerParameter {
    uint32_t touchOn, touchOff, value;  ///< function numbers; 0 where there is none
    uint32_t mask;                      ///< MASK_ of the value
    uint32_t pairSelector;              ///< SPEAKER_, on input
    uint32_t sendSelector;              ///< SENDSELECT_, on input
    float MPCHANNELREC::*field;         ///< null: touched only
    bool isGain;                        ///< along a fader's travel; else -1..1
    bool hasInputSide;                  ///< follows the map's target: MASK_INPUT_SIDE
};
inline constexpr MixerParameter MIXER_PARAMETERS[] = {
    {MIXFUNC_VOLUME_TOUCH, 6, MIXFUNC_VOLUME, MASK_VOLUME, 0, 0, &MPCHANNELREC::volume, true, true},
    {10, 11, MIXFUNC_PAN, MASK_PAN, SPEAKER_FRONT, 0, &MPCHANNELREC::pan, false, true},
    {13, 14, 15, MASK_PAN, SPEAKER_REAR, 0, &MPCHANNELREC::pan, false, false},
    {16, 17, 18, MASK_PAN, SPEAKER_CENTER, 0, &MPCHANNELREC::pan, false, false},
    {0, 0, 19, MASK_PAN, SPEAKER_LFE, 0, &MPCHANNELREC::pan, false, false},
    {20, 21, MIXFUNC_SEND, MASK_SEND, 0, SENDSELECT_PAN, &MPCHANNELREC::sendLevel, true, true},
    {35, 36, 0, MASK_INPUT_ROUTE, 0, 0, nullptr, false, false},
    {39, 40, MIXFUNC_AUX, MASK_AUX, 0, 0, &MPCHANNELREC::aux, true, false},
    {42, 43, 44, MASK_PAN, 0, 0, &MPCHANNELREC::pan, false, false},
    {45, 46, 47, MASK_SEND, 0, SENDSELECT_MAIN, &MPCHANNELREC::sendLevel, true, false},
    {49, 50, 51, MASK_INSERT, 0, 0, &MPCHANNELREC::insertLevel, true, false},
};
inline constexpr size_t MIXER_PARAMETER_COUNT = sizeof MIXER_PARAMETERS / sizeof MIXER_PARAMETERS[0];

/// A switch that a button toggles.
struct MixerSwitch {
    uint32_t function, bit;  ///< SWITCH_
};
inline constexpr MixerSwitch MIXER_SWITCHES[] = {
    {MIXFUNC_SELECT, SWITCH_SELECTED},
    {MIXFUNC_SOLO, SWITCH_SOLO},
    {MIXFUNC_MUTE, SWITCH_MUTE},
    {MIXFUNC_ARM, SWITCH_ARM},
    {48, 0x2000},
    {63, SWITCH_STRIP_40000},
    {64, SWITCH_STRIP_10000},
};

/// A mode that a button sets.
struct MixerAutomation {
    uint32_t function, mode;
};
inline constexpr MixerAutomation MIXER_AUTOMATION[] = {{58, 0}, {59, 1}, {60, 4}, {61, 8}};

/// Where a channel comes from or goes to, stepped through what there is.
struct MixerRoute {
    uint32_t function;
    uint32_t mask;  ///< MASK_ of the route
    uint64_t MPCHANNELREC::*target;
};
inline constexpr MixerRoute MIXER_ROUTES[] = {
    {MIXFUNC_OUTPUT_TARGET, MASK_OUTPUT_ROUTE, &MPCHANNELREC::outputTarget},
    {MIXFUNC_INPUT_ROUTE, MASK_INPUT_ROUTE, &MPCHANNELREC::inputTarget},
    {MIXFUNC_OUTPUT_ROUTE, MASK_OUTPUT_ROUTE, &MPCHANNELREC::outputTarget},
};
