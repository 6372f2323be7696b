// Records that one thread leaves for another's round. [any-thread]
#pragma once

#include "platform/types.h"

#include <mutex>
#include <new>
#include <utility>
#include <vector>

template <class Record>
class RecordQueue {
public:
    /// Keeps a copy; what can't be kept is lost, and told.
    HRESULT Push(const Record& record) {
        const std::lock_guard lock(m_lock);
        try {
            m_records.push_back(record);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }
    /// All that wait, in their order; none afterwards.
    std::vector<Record> Take() {
        const std::lock_guard lock(m_lock);
        return std::exchange(m_records, {});
    }
    bool IsEmpty() const {
        const std::lock_guard lock(m_lock);
        return m_records.empty();
    }

private:
    mutable std::mutex m_lock;
    std::vector<Record> m_records;
};
