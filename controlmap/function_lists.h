// The rows of the function map in use, found by event or by function. Not synchronised: the owner's list lock
// guards it.
#pragma once

#include "controlmap/map_match.h"

#include <map>
#include <utility>
#include <vector>

class FunctionLists {
public:
    FunctionLists() = default;
    ~FunctionLists() { Clear(); }
    FunctionLists(const FunctionLists&) = delete;
    FunctionLists& operator=(const FunctionLists&) = delete;

    /// Copies every row of a table. False when out of memory: then none of its rows is taken.
    bool Add(const FUNCTIONTABLE& table);
    void Clear();

    /// The first row that matches, by group and function and in the tables' order; null for none. Lives until
    /// Clear.
    const MPFUNCTIONMAP* FindReceive(const MapInput& input) const;
    /// Whether some row waits for another event after this one.
    bool IsEarlierHalf(const MPEVENTREC& event, uint32_t stateFlags) const;
    bool HasSend(uint32_t group, uint32_t function, int32_t channel) const;
    /// The rows that tell the surface of a function of a strip.
    std::vector<const MPFUNCTIONMAP*> FindSend(uint32_t group, uint32_t function, int32_t channel) const;

private:
    using Key = std::pair<uint32_t, uint32_t>;  // group, function
    using Rows = std::map<Key, std::vector<MPFUNCTIONMAP>>;

    Rows m_receive, m_send;
};
