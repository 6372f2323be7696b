#include "controlmap/function_lists.h"

#include <algorithm>
#include <new>

using namespace tarn;

namespace {
template <class Rows>
void ClearRows(Rows& rows) {
    for (auto& [key, list] : rows)
        for (MPFUNCTIONMAP& row : list) ClearFunctionRow(row);
    rows.clear();
}
}  // namespace

bool FunctionLists::Add(const FUNCTIONTABLE& table) {
    FunctionLists added;
    for (const MPFUNCTIONMAP* row = table.rows; row && row->commandType != ECMDTYPE_NULL; row++) {
        MPFUNCTIONMAP copy{};
        if (Failed(CopyFunctionRow(copy, *row))) return false;
        Rows& rows = row->commandType == ECMDTYPE_SEND ? added.m_send : added.m_receive;
        rows[{row->group, row->function}].push_back(copy);
    }
    const auto move = [](Rows& from, Rows& to) {
        for (auto& [key, list] : from) {
            auto& rows = to[key];
            rows.insert(rows.end(), list.begin(), list.end());
        }
        from.clear();
    };
    move(added.m_receive, m_receive);
    move(added.m_send, m_send);
    return true;
}

void FunctionLists::Clear() {
    ClearRows(m_receive);
    ClearRows(m_send);
}

const MPFUNCTIONMAP* FunctionLists::FindReceive(const MapInput& input) const {
    for (const auto& [key, rows] : m_receive)
        for (const MPFUNCTIONMAP& row : rows)
            if (RowMatches(row, input)) return &row;
    return nullptr;
}

bool FunctionLists::IsEarlierHalf(const MPEVENTREC& event, uint32_t stateFlags) const {
    for (const auto& [key, rows] : m_receive)
        for (const MPFUNCTIONMAP& row : rows)
            if (::IsEarlierHalf(row, event, stateFlags)) return true;
    return false;
}

bool FunctionLists::HasSend(uint32_t group, uint32_t function, int32_t channel) const {
    const auto it = m_send.find({group, function});
    return it != m_send.end() &&
           std::ranges::find(it->second, channel, &MPFUNCTIONMAP::channel) != it->second.end();
}

std::vector<const MPFUNCTIONMAP*> FunctionLists::FindSend(uint32_t group, uint32_t function,
                                                          int32_t channel) const {
    std::vector<const MPFUNCTIONMAP*> found;
    const auto it = m_send.find({group, function});
    if (it == m_send.end()) return found;
    for (const MPFUNCTIONMAP& row : it->second)
        if (row.channel == channel) found.push_back(&row);
    return found;
}
