// Shared by the list's sources: the entry check and lock, slots, ranges, and the operations without their
// entry.
#pragma once

#include "kernel/list.h"

#include <algorithm>
#include <atomic>
#include <mutex>

namespace qmlist {

uint32_t CurrentThreadId();

/// The check that each operation starts with: takes the lock of a locked list, or tests the thread owner.
/// False when there is no list or the list belongs to another thread.
class Entry {
public:
    explicit Entry(const tQMLIST* list) {
        if (!list) return;
        if (list->options & QMLIST_LOCKED) {
            m_lock = static_cast<std::recursive_mutex*>(list->lock);
            m_lock->lock();
        } else if (!(list->options & QMLIST_ANY_THREAD) && list->threadOwner != CurrentThreadId()) {
            return;
        }
        m_entered = true;
    }
    ~Entry() {
        if (m_lock) m_lock->unlock();
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    explicit operator bool() const { return m_entered; }

private:
    std::recursive_mutex* m_lock = nullptr;
    bool m_entered = false;
};

inline bool IsArray(const tQMLIST* list) { return list->options & QMLIST_ARRAY; }
inline bool IsHeap(const tQMLIST* list) { return list->options & QMLIST_HEAP; }

inline uint8_t* Slot(const tQMLIST* list, size_t index) { return list->data + index * list->itemSize; }
inline void*& Pointer(const tQMLIST* list, int64_t index) {
    return reinterpret_cast<void**>(list->data)[index];
}
/// What a comparer receives.
inline const void* Item(const tQMLIST* list, int64_t index) {
    return IsArray(list) ? Slot(list, index) : Pointer(list, index);
}

struct Range {
    int32_t start, number;
};
/// A start past the end leaves a negative or zero number.
inline Range CutRange(const tQMLIST* list, int32_t start, int32_t number) {
    start = std::max(start, 0);
    const int32_t rest = list->count - start;
    return {start, number < 0 ? rest : std::min(number, rest)};
}

/// The count of a locked list is read by others without the lock.
inline void SetCount(tQMLIST* list, int32_t count) {
    std::atomic_ref(list->count).store(count, std::memory_order_relaxed);
}

HRESULT Grow(tQMLIST* list, int64_t slots);
HRESULT Shrink(tQMLIST* list, int32_t slots);
/// Copies `number` slots in and forgets the pending item.
HRESULT Insert(tQMLIST* list, int32_t index, const void* slots, int64_t number);
/// Closes the gap of a valid range whose blocks, if any, have been taken care of.
void Remove(tQMLIST* list, int32_t index, int32_t number);

void* AllocBlock(tQMLIST* list, size_t bytes);
void FreeBlock(tQMLIST* list, void* block);

}  // namespace qmlist
