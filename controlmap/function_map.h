// The records of function tables: which event of a control surface calls which function, and which function
// sends which event. Rows lie in arrays that end with a row whose command type is 0.
#pragma once

#include "contract/host_contract.h"

inline constexpr uint32_t ECMDTYPE_NULL = 0, ECMDTYPE_RECIEVE = 1, ECMDTYPE_SEND = 2;

// Flags of a row.
inline constexpr uint32_t EFUNCFLAG_TOGGLE = 0x1, EFUNCFLAG_STATE_ON = 0x2, EFUNCFLAG_STATE_OFF = 0x4,
                          EFUNCFLAG_INC = 0x8, EFUNCFLAG_DEC = 0x10, EFUNCFLAG_RELATIVE = 0x20,
                          EFUNCFLAG_VALUE = 0x40, EFUNCFLAG_SHIFT = 0x100, EFUNCFLAG_ALT = 0x200,
                          EFUNCFLAG_CTRL = 0x400, EFUNCFLAG_OPT = 0x800, EFUNCFLAG_SURFMOD1 = 0x1000,
                          EFUNCFLAG_SURFMOD2 = 0x2000, EFUNCFLAG_SURFMOD3 = 0x4000,
                          EFUNCFLAG_SURFMOD4 = 0x8000, EFUNCFLAG_AUDIO_MODE = 0x10000,
                          EFUNCFLAG_VIDEO_MODE = 0x20000, EFUNCFLAG_MIDI_MODE = 0x40000,
                          EFUNCFLAG_SURFACE_MODE = 0x80000, EFUNCFLAG_USE_SURFACE_MOD1 = 0x100000,
                          EFUNCFLAG_USE_SURFACE_MOD2 = 0x200000, EFUNCFLAG_USE_SURFACE_MOD3 = 0x400000,
                          EFUNCFLAG_USE_SURFACE_MOD4 = 0x800000, EFUNCFLAG_USE_AUDIO_MODE = 0x1000000,
                          EFUNCFLAG_USE_VIDEO_MODE = 0x2000000, EFUNCFLAG_USE_MIDI_MODE = 0x4000000,
                          EFUNCFLAG_USE_SURFACE_MODE = 0x8000000, EFUNCFLAG_HOSTFUNCTION = 0x10000000,
                          EFUNCFLAG_STATIC = 0x20000000;

inline constexpr uint32_t ECONTROL_GRP_ASSIGN = 24, ECONTROL_GRP_INSERT = 26;

/// Strip index of the master.
inline constexpr int32_t STRIP_MASTER = -16;
inline constexpr uint32_t MIDI_CHANNEL_ANY = 0xFFFFFFFF;

struct MPFUNCTIONMAP {
    uint32_t commandType;  ///< ECMDTYPE_
    uint32_t flags;        ///< EFUNCFLAG_
    uint32_t group;
    uint32_t function;  ///< number within the group
    int32_t channel;    ///< strip, or STRIP_MASTER
    uint32_t index;     ///< 0..255
    int32_t minValue;   ///< with EFUNCFLAG_HOSTFUNCTION the host's family
    int32_t maxValue;   ///< with EFUNCFLAG_HOSTFUNCTION the host's function
    MPEVENTREC first, second;
};
static_assert(sizeof(MPFUNCTIONMAP) == 192);

inline constexpr size_t FUNCTION_NAME_SIZE = 64, FUNCTION_PATH_SIZE = 260;

struct FUNCTIONTABLE {
    uint32_t id;  ///< never 0 in a table that is there
    uint32_t flags;
    MPFUNCTIONMAP* rows;
    char16_t name[FUNCTION_NAME_SIZE];
    uint32_t ownsRows;
};
static_assert(sizeof(FUNCTIONTABLE) == 152);

inline constexpr uint32_t FUNCTIONMAP_BUILT_IN = 1;
struct FUNCTIONMAPENTRY {
    uint32_t id;
    uint32_t flags;         ///< FUNCTIONMAP_BUILT_IN: not saved
    uint32_t channels;      ///< strips of the surface
    FUNCTIONTABLE* tables;  ///< ends with one whose id is 0
    char16_t name[FUNCTION_NAME_SIZE];
    char16_t path[FUNCTION_PATH_SIZE];
    uint32_t fromFile;
};
static_assert(sizeof(FUNCTIONMAPENTRY) == 680);

/// An event without content: MPNULL on any channel.
MPEVENTREC EmptyEvent();
/// The row's events with data of their own. E_OUTOFMEMORY leaves `to` empty.
HRESULT CopyFunctionRow(MPFUNCTIONMAP& to, const MPFUNCTIONMAP& from);
/// Frees the long data of both events.
void ClearFunctionRow(MPFUNCTIONMAP& row);
/// Zeroed rows, one more than `count`; null when out of memory.
MPFUNCTIONMAP* NewFunctionRows(size_t count);
/// Zeroed tables, one more than `count`; null when out of memory.
FUNCTIONTABLE* NewFunctionTables(size_t count);
/// Up to the row that ends the array; null is fine.
void FreeFunctionRows(MPFUNCTIONMAP* rows);
size_t CountFunctionRows(const MPFUNCTIONMAP* rows);
/// Frees the tables of an entry with the rows that they own.
void FreeFunctionTables(FUNCTIONMAPENTRY& entry);
