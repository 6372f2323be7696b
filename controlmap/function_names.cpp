#include "controlmap/function_names.h"

#include "controlmap/function_map.h"

#include <algorithm>
#include <iterator>

namespace {
constexpr NamedValue COMMAND_TYPES[] = {{"ECMDTYPE_NULL", ECMDTYPE_NULL},
                                        {"ECMDTYPE_RECIEVE", ECMDTYPE_RECIEVE},
                                        {"ECMDTYPE_SEND", ECMDTYPE_SEND}};

#define NAMED(value)                                                                                         \
    { #value, value }
constexpr NamedValue FLAGS[] = {NAMED(EFUNCFLAG_TOGGLE),
                                NAMED(EFUNCFLAG_STATE_ON),
                                NAMED(EFUNCFLAG_STATE_OFF),
                                NAMED(EFUNCFLAG_INC),
                                NAMED(EFUNCFLAG_DEC),
                                NAMED(EFUNCFLAG_RELATIVE),
                                NAMED(EFUNCFLAG_VALUE),
                                NAMED(EFUNCFLAG_SHIFT),
                                NAMED(EFUNCFLAG_ALT),
                                NAMED(EFUNCFLAG_CTRL),
                                NAMED(EFUNCFLAG_OPT),
                                NAMED(EFUNCFLAG_SURFMOD1),
                                NAMED(EFUNCFLAG_SURFMOD2),
                                NAMED(EFUNCFLAG_SURFMOD3),
                                NAMED(EFUNCFLAG_SURFMOD4),
                                NAMED(EFUNCFLAG_AUDIO_MODE),
                                NAMED(EFUNCFLAG_VIDEO_MODE),
                                NAMED(EFUNCFLAG_MIDI_MODE),
                                NAMED(EFUNCFLAG_SURFACE_MODE),
                                NAMED(EFUNCFLAG_USE_SURFACE_MOD1),
                                NAMED(EFUNCFLAG_USE_SURFACE_MOD2),
                                NAMED(EFUNCFLAG_USE_SURFACE_MOD3),
                                NAMED(EFUNCFLAG_USE_SURFACE_MOD4),
                                NAMED(EFUNCFLAG_USE_AUDIO_MODE),
                                NAMED(EFUNCFLAG_USE_VIDEO_MODE),
                                NAMED(EFUNCFLAG_USE_MIDI_MODE),
                                NAMED(EFUNCFLAG_USE_SURFACE_MODE),
                                NAMED(EFUNCFLAG_HOSTFUNCTION),
                                NAMED(EFUNCFLAG_STATIC)};
constexpr NamedValue EVENTS[] = {
    NAMED(MPNULL),        NAMED(MPNRPN),       NAMED(MPRPN),        NAMED(MPPATCH),      NAMED(MPSEQSHORT),
    NAMED(MPNOTE_OFF),    NAMED(MPNOTE_ON),    NAMED(MPPOLY_AFTER), NAMED(MPCNTRL_CHNG), NAMED(MPPROG_CHNG),
    NAMED(MPAFTER_TOUCH), NAMED(MPPITCH_BEND), NAMED(MPSYS_EX1),    NAMED(MPSYS_EX2)};
#undef NAMED

constexpr NamedValue GROUPS[] = {
    {"MPCFUNCGRP_NULL", 0},       {"MPCFUNCGRP_TRANSPORT", 1},     {"MPCFUNCGRP_TRACKVIEW", 2},
    {"MPCFUNCGRP_PROJECT", 3},    {"MPCFUNCGRP_FILE", 4},          {"MPCFUNCGRP_EDIT", 5},
    {"MPCFUNCGRP_VIEW", 6},       {"MPCFUNCGRP_INSERT", 7},        {"MPCFUNCGRP_TOOLS", 8},
    {"MPCFUNCGRP_OPTIONS", 9},    {"MPCFUNCGRP_TRACK", 10},        {"MPCFUNCGRP_EXPLORER", 11},
    {"MPCFUNCGRP_TRIMMER", 12},   {"MPCFUNCGRP_MIXER", 13},        {"MPCFUNCGRP_EDITDETAILS", 14},
    {"MPCFUNCGRP_MEDIAPOOL", 15}, {"MPCFUNCGRP_VIDEOPREVIEW", 16}, {"MPCFUNCGRP_TRANSITIONS", 17},
    {"MPCFUNCGRP_FILTERS", 18},   {"MPCFUNCGRP_GENERATORS", 19},   {"MPCFUNCGRP_PLUGINMANAGER", 20},
    {"MPCFUNCGRP_SCOPES", 21},    {"MPCFUNCGRP_GENERAL", 22},      {"ECONTROL_GRP_MODIFIERS", 23},
    {"ECONTROL_GRP_ASSIGN", 24},  {"ECONTROL_GRP_CHANNEL", 25},    {"ECONTROL_GRP_INSERT", 26},
    {"ECONTROL_GRP_PARAM", 27},   {"ECONTROL_GRP_AUTOMATION", 28}, {"ECONTROL_GRP_SURFACE", 29}};
}  // namespace

std::span<const NamedValue> CommandTypeNames() { return COMMAND_TYPES; }
std::span<const NamedValue> FunctionFlagNames() { return FLAGS; }
std::span<const NamedValue> ControlGroupNames() { return GROUPS; }
std::span<const NamedValue> EventTypeNames() { return EVENTS; }

std::string_view NameOfValue(std::span<const NamedValue> names, uint32_t value) {
    const auto it = std::ranges::find(names, value, &NamedValue::value);
    return it == names.end() ? std::string_view() : it->name;
}

std::optional<uint32_t> ValueOfName(std::span<const NamedValue> names, std::string_view name) {
    const auto it = std::ranges::find(names, name, &NamedValue::name);
    return it == names.end() ? std::nullopt : std::optional(it->value);
}
