#include "controlmap/map_edit.h"

#include "controlmap/map_match.h"
#include "controlmap/map_value.h"
#include "controlmap/mixer_functions.h"
#include "platform/text.h"

#include <algorithm>
#include <new>

using namespace tarn;

namespace {
constexpr uint32_t VALUE_EVENTS = MPNRPN | MPRPN | MPCNTRL_CHNG | MPAFTER_TOUCH | MPPITCH_BEND;
constexpr int32_t SEVEN_BITS = 127;

const MixerParameter* ParameterOf(const LearnTarget& target, uint32_t MixerParameter::*function) {
    if (target.group != ECONTROL_GRP_INSERT) return nullptr;
    const auto* at = std::ranges::find(MIXER_PARAMETERS, target.function, function);
    return at == std::end(MIXER_PARAMETERS) ? nullptr : at;
}

/// The function that ends what the target begins; 0 for none. Touches and modifiers come in two.
uint32_t ReleaseOf(const LearnTarget& target) {
    if (const MixerParameter* p = ParameterOf(target, &MixerParameter::touchOn)) return p->touchOff;
    return target.group == ECONTROL_GRP_ASSIGN && target.function % 2 == 1 ? target.function + 1 : 0;
}

bool IsOf(const MPFUNCTIONMAP& row, const LearnTarget& target) {
    if (target.hostFamily || row.flags & EFUNCFLAG_HOSTFUNCTION) return SameFunction(TargetOf(row), target);
    return row.group == target.group && row.channel == target.channel && row.index == target.index &&
           (row.function == target.function ||
            (row.function == ReleaseOf(target) && row.commandType == ECMDTYPE_RECIEVE));
}

MPFUNCTIONMAP NewRow(const LearnTarget& target, uint32_t command, uint32_t flags, const MPEVENTREC& event) {
    MPFUNCTIONMAP row{};
    row.commandType = command;
    row.flags = flags;
    row.group = target.group;
    row.function = target.function;
    row.channel = target.channel;
    row.index = target.index;
    row.first = EmptyEvent();
    row.first.type = event.type;
    row.first.channel = event.channel;
    row.first.byte1 = event.byte1;
    row.first.byte2 = event.byte2;
    row.second = EmptyEvent();
    if (target.hostFamily) {
        row.flags |= EFUNCFLAG_HOSTFUNCTION;
        row.minValue = static_cast<int32_t>(target.hostFamily);
        row.maxValue = static_cast<int32_t>(target.hostFunction);
    }
    return row;
}

void SetRange(MPFUNCTIONMAP& row) {
    const bool bend = row.first.type == MPPITCH_BEND;
    const bool receives = row.commandType == ECMDTYPE_RECIEVE;
    row.minValue = bend && receives ? -BEND_MIDDLE : 0;
    row.maxValue = bend && receives ? BEND_MIDDLE - 1 : FOURTEEN_BITS;
    if (row.first.type == MPCNTRL_CHNG || row.first.type == MPAFTER_TOUCH) row.maxValue = SEVEN_BITS;
    // The bytes that carry the value stay out of the row.
    if (bend) row.first.byte1 = 0;
    if (row.first.type & (MPPITCH_BEND | MPCNTRL_CHNG)) row.first.byte2 = 0;
}
}  // namespace

void FunctionRows::Clear() {
    for (MPFUNCTIONMAP& row : m_rows) ClearFunctionRow(row);
    m_rows.clear();
}

void FunctionRows::Add(std::span<const MPFUNCTIONMAP> rows) {
    m_rows.reserve(m_rows.size() + rows.size());
    for (const MPFUNCTIONMAP& row : rows) {
        MPFUNCTIONMAP copy{};
        if (Failed(CopyFunctionRow(copy, row))) throw std::bad_alloc();
        m_rows.push_back(copy);
    }
}

FunctionRows FunctionRows::Of(const FUNCTIONMAPENTRY& entry) {
    FunctionRows out;
    for (const FUNCTIONTABLE* table = entry.tables; table && table->id != 0; table++)
        out.Add({table->rows, CountFunctionRows(table->rows)});
    return out;
}

FUNCTIONTABLE* FunctionRows::NewTables(const char16_t* name) const {
    FUNCTIONMAPENTRY entry{};
    entry.tables = NewFunctionTables(1);
    if (!entry.tables) return nullptr;
    FUNCTIONTABLE& table = entry.tables[0];
    table.id = table.ownsRows = 1;
    CopyText(table.name, FUNCTION_NAME_SIZE, name);
    table.rows = NewFunctionRows(m_rows.size());
    bool whole = table.rows;
    for (size_t i = 0; whole && i < m_rows.size(); i++)
        whole = Succeeded(CopyFunctionRow(table.rows[i], m_rows[i]));
    if (!whole) FreeFunctionTables(entry);
    return entry.tables;
}

LearnTarget TargetOf(const MPFUNCTIONMAP& row) {
    LearnTarget target{row.group, row.function, row.channel, row.index};
    if (!(row.flags & EFUNCFLAG_HOSTFUNCTION)) return target;
    target.hostFamily = static_cast<uint32_t>(row.minValue);
    target.hostFunction = static_cast<uint32_t>(row.maxValue);
    return target;
}

bool SameFunction(const LearnTarget& a, const LearnTarget& b) {
    return a.group == b.group && a.function == b.function && a.channel == b.channel &&
           a.hostFamily == b.hostFamily && a.hostFunction == b.hostFunction;
}

bool CanLearn(const LearnTarget& target, const MPEVENTREC& event) {
    if (ParameterOf(target, &MixerParameter::value)) return event.type & VALUE_EVENTS;
    if (event.type == MPNOTE_ON) return true;
    return event.type == MPCNTRL_CHNG && event.byte2 > 0;
}

std::vector<MPFUNCTIONMAP> RowsOfControl(const LearnTarget& target, const MPEVENTREC& event,
                                         ControlKind kind) {
    std::vector<MPFUNCTIONMAP> rows;
    if (ParameterOf(target, &MixerParameter::value)) {
        const bool steps = kind != ControlKind::Absolute;
        MPFUNCTIONMAP& moved = rows.emplace_back(
            NewRow(target, ECMDTYPE_RECIEVE, EFUNCFLAG_VALUE | (steps ? EFUNCFLAG_RELATIVE : 0), event));
        SetRange(moved);
        if (steps) {
            // In a row of a knob without ends the index is how it counts.
            moved.index = static_cast<uint32_t>(kind) - static_cast<uint32_t>(ControlKind::StepsSignBit);
            return rows;
        }
        SetRange(rows.emplace_back(NewRow(target, ECMDTYPE_SEND, EFUNCFLAG_VALUE, event)));
        return rows;
    }
    rows.push_back(NewRow(target, ECMDTYPE_RECIEVE, 0, event));
    if (target.hostFamily) return rows;  // it has no state to light a lamp by
    if (const uint32_t release = ReleaseOf(target)) {
        MPFUNCTIONMAP row = NewRow(target, ECMDTYPE_RECIEVE, 0, event);
        row.function = release;
        if (row.first.type == MPNOTE_ON) row.first.type = MPNOTE_OFF;
        row.first.byte2 = 0;
        rows.push_back(row);
    }
    if (ParameterOf(target, &MixerParameter::touchOn)) return rows;  // nothing shows a touch
    constexpr uint8_t LIT = 127;
    for (const uint32_t state : {EFUNCFLAG_STATE_ON, EFUNCFLAG_STATE_OFF}) {
        MPFUNCTIONMAP lamp = NewRow(target, ECMDTYPE_SEND, state, event);
        lamp.first.byte2 = state == EFUNCFLAG_STATE_ON ? LIT : 0;
        rows.push_back(lamp);
    }
    return rows;
}

void Assign(FunctionRows& rows, const LearnTarget& target, const MPEVENTREC& event, ControlKind kind) {
    const std::vector<MPFUNCTIONMAP> made = RowsOfControl(target, event, kind);
    Unassign(rows, target);
    // A control does one thing: what it did before goes with the rows that told it of that.
    std::vector<LearnTarget> before;
    for (const MPFUNCTIONMAP& row : rows.All())
        if (row.commandType == ECMDTYPE_RECIEVE && std::ranges::any_of(made, [&](const MPFUNCTIONMAP& m) {
                return m.commandType == ECMDTYPE_RECIEVE && RowMatches(row, {m.first, nullptr, 0});
            }))
            before.push_back(TargetOf(row));
    for (const LearnTarget& old : before) Unassign(rows, old);
    rows.Add(made);
}

bool Unassign(FunctionRows& rows, const LearnTarget& target) {
    return rows.Remove([&](const MPFUNCTIONMAP& row) {
        // In rows of knobs without ends and of displays the index means something else.
        LearnTarget asked = target;
        if (row.flags & EFUNCFLAG_RELATIVE) asked.index = row.index;
        return IsOf(row, asked);
    }) > 0;
}
