#include "controlmap/function_map.h"

#include "platform/memory.h"

#include <cstring>

using namespace tarn;

namespace {
bool OwnsData(const MPEVENTREC& event) {
    return event.type & MPOWNED_DATA_TYPES && event.dataSize > 0 && event.data;
}

HRESULT CopyEvent(MPEVENTREC& to, const MPEVENTREC& from) {
    to = from;
    if (!OwnsData(from)) return S_OK;
    to.data = CoTaskMemAlloc(from.dataSize);
    if (!to.data) {
        to = EmptyEvent();
        return E_OUTOFMEMORY;
    }
    std::memcpy(to.data, from.data, from.dataSize);
    return S_OK;
}

void ClearEvent(MPEVENTREC& event) {
    if (OwnsData(event)) CoTaskMemFree(event.data);
    event = EmptyEvent();
}
}  // namespace

MPEVENTREC EmptyEvent() {
    MPEVENTREC event{};
    event.type = MPNULL;
    event.channel = MIDI_CHANNEL_ANY;
    return event;
}

HRESULT CopyFunctionRow(MPFUNCTIONMAP& to, const MPFUNCTIONMAP& from) {
    to = from;
    to.first = to.second = EmptyEvent();
    HRESULT hr = CopyEvent(to.first, from.first);
    if (Succeeded(hr)) hr = CopyEvent(to.second, from.second);
    if (Failed(hr)) ClearFunctionRow(to);
    return hr;
}

void ClearFunctionRow(MPFUNCTIONMAP& row) {
    ClearEvent(row.first);
    ClearEvent(row.second);
}

MPFUNCTIONMAP* NewFunctionRows(size_t count) {
    return static_cast<MPFUNCTIONMAP*>(MemAlloc((count + 1) * sizeof(MPFUNCTIONMAP)));
}

FUNCTIONTABLE* NewFunctionTables(size_t count) {
    return static_cast<FUNCTIONTABLE*>(MemAlloc((count + 1) * sizeof(FUNCTIONTABLE)));
}

void FreeFunctionRows(MPFUNCTIONMAP* rows) {
    for (MPFUNCTIONMAP* row = rows; row && row->commandType != ECMDTYPE_NULL; row++) ClearFunctionRow(*row);
    MemFree(rows);
}

size_t CountFunctionRows(const MPFUNCTIONMAP* rows) {
    size_t count = 0;
    while (rows && rows[count].commandType != ECMDTYPE_NULL) count++;
    return count;
}

void FreeFunctionTables(FUNCTIONMAPENTRY& entry) {
    for (FUNCTIONTABLE* table = entry.tables; table && table->id != 0; table++)
        if (table->ownsRows) FreeFunctionRows(table->rows);
    MemFree(entry.tables);
    entry.tables = nullptr;
}
