// A function map as it is edited: rows with data of their own, and the rows that a control makes by being
// moved. [page-thread]
#pragma once

#include "controlmap/function_map.h"

#include <span>
#include <vector>

/// Rows that own their long data.
class FunctionRows {
public:
    FunctionRows() = default;
    ~FunctionRows() { Clear(); }
    FunctionRows(const FunctionRows& other) { Add(other.All()); }
    FunctionRows& operator=(FunctionRows other) noexcept {
        m_rows.swap(other.m_rows);
        return *this;
    }

    /// Copies of all rows of a map's tables. Throws std::bad_alloc, as all that adds.
    static FunctionRows Of(const FUNCTIONMAPENTRY& entry);
    /// One table with these rows; the caller frees it with FreeFunctionTables. Null when out of memory.
    FUNCTIONTABLE* NewTables(const char16_t* name) const;

    std::span<const MPFUNCTIONMAP> All() const { return m_rows; }
    void Add(std::span<const MPFUNCTIONMAP> rows);
    /// Takes out the rows of which `which` is true; how many.
    template <class F>
    size_t Remove(F which) {
        std::vector<MPFUNCTIONMAP> kept;
        kept.reserve(m_rows.size());
        for (MPFUNCTIONMAP& row : m_rows) {
            if (which(std::as_const(row)))
                ClearFunctionRow(row);
            else
                kept.push_back(row);
        }
        m_rows.swap(kept);
        return kept.size() - m_rows.size();
    }

private:
    void Clear();

    std::vector<MPFUNCTIONMAP> m_rows;
};

/// What a control is to do.
struct LearnTarget {
    uint32_t group, function;
    int32_t channel;  ///< strip
    uint32_t index;
    uint32_t hostFamily = 0, hostFunction = 0;  ///< a function of the host's catalog in place of a group's
};
LearnTarget TargetOf(const MPFUNCTIONMAP& row);
/// Whatever their indices are.
bool SameFunction(const LearnTarget& a, const LearnTarget& b);
/// How a control tells its value.
enum class ControlKind { Absolute, StepsSignBit, StepsTwosComplement, StepsOffset };

/// Whether an event of a control can be learnt for a target: values want an event that carries one, so that
/// the touch of a fader is not taken for its move; buttons want a press.
bool CanLearn(const LearnTarget& target, const MPEVENTREC& event);
/// The rows of a control that sent the event: what it does, and what tells it of changes.
std::vector<MPFUNCTIONMAP> RowsOfControl(const LearnTarget& target, const MPEVENTREC& event,
                                         ControlKind kind);
/// Gives the target this control: rows of the target and of the control go, its own come.
void Assign(FunctionRows& rows, const LearnTarget& target, const MPEVENTREC& event, ControlKind kind);
/// Takes every control from the target. False when it had none.
bool Unassign(FunctionRows& rows, const LearnTarget& target);
