// Events, rows and maps as tests write them.
#pragma once

#include "contract/host_contract.h"
#include "controlmap/map_edit.h"
#include "platform/text.h"

inline MPEVENTREC Event(uint32_t type, uint8_t byte1 = 0, uint8_t byte2 = 0, uint8_t byte3 = 0,
                        uint8_t byte4 = 0, uint32_t channel = 0) {
    MPEVENTREC event{};
    event.type = type;
    event.channel = channel;
    event.byte1 = byte1;
    event.byte2 = byte2;
    event.byte3 = byte3;
    event.byte4 = byte4;
    return event;
}

inline MPFUNCTIONMAP FunctionRow(uint32_t command, uint32_t flags, uint32_t function, int32_t strip,
                                 const MPEVENTREC& event, int32_t max = 127,
                                 uint32_t group = ECONTROL_GRP_INSERT) {
    MPFUNCTIONMAP row{};
    row.commandType = command;
    row.flags = flags;
    row.group = group;
    row.function = function;
    row.channel = strip;
    row.maxValue = max;
    row.first = event;
    row.second = EmptyEvent();
    return row;
}

/// A map of one table with copies of these rows.
inline FUNCTIONMAPENTRY MapOf(std::span<const MPFUNCTIONMAP> rows, const char16_t* name = u"Test") {
    FunctionRows owned;
    owned.Add(rows);
    FUNCTIONMAPENTRY entry{};
    tarn::CopyText(entry.name, FUNCTION_NAME_SIZE, name);
    entry.tables = owned.NewTables(name);
    return entry;
}
