#include "kernel/list_internal.h"
#include "platform/memory.h"

#include <cstring>
#include <utility>

using namespace tarn;

using namespace qmlist;

namespace {
int64_t RoundUp(int64_t slots, int32_t step) { return (slots + step - 1) / step * step; }

/// The saved items of a move: in place for the usual few records, else allocated.
class SaveArea {
public:
    explicit SaveArea(size_t bytes) : m_allocated(bytes > sizeof(m_small) ? MemAlloc(bytes) : nullptr) {
        m_data = bytes > sizeof(m_small) ? m_allocated : m_small;
    }
    ~SaveArea() { MemFree(m_allocated); }
    SaveArea(const SaveArea&) = delete;
    SaveArea& operator=(const SaveArea&) = delete;
    void* Data() { return m_data; }

private:
    void* m_allocated;
    void* m_data;
    alignas(16) uint8_t m_small[512];
};
}  // namespace

HRESULT qmlist::Grow(tQMLIST* list, int64_t slots) {
    const int64_t total = list->allocated + (slots < 1 ? list->growBy : RoundUp(slots, list->growBy));
    size_t bytes = 0;
    if (total > INT32_MAX || __builtin_mul_overflow(static_cast<size_t>(total), list->itemSize, &bytes))
        return E_OUTOFMEMORY;
    const size_t oldBytes = static_cast<size_t>(list->allocated) * list->itemSize;
    void* table = MemResize(list->data, oldBytes, bytes);
    if (!table) return E_OUTOFMEMORY;
    list->data = static_cast<uint8_t*>(table);
    list->allocated = static_cast<int32_t>(total);
    return S_OK;
}

HRESULT qmlist::Shrink(tQMLIST* list, int32_t slots) {
    const int32_t free = list->allocated - list->count;
    const int32_t wanted = slots < 0 ? free : std::min(slots, free);
    int64_t given = RoundUp(wanted, list->growBy);
    if (given > free) given -= list->growBy;
    if (given < 1) return S_OK;
    const auto left = static_cast<int32_t>(list->allocated - given);
    const size_t bytes = static_cast<size_t>(std::max(left, 1)) * list->itemSize;
    void* table = MemResize(list->data, bytes, bytes);
    if (!table) return E_OUTOFMEMORY;
    list->data = static_cast<uint8_t*>(table);
    list->allocated = left;
    return S_OK;
}

HRESULT qmlist::Insert(tQMLIST* list, int32_t index, const void* slots, int64_t number) {
    const int32_t count = list->count;
    if (index < 0 || index > count) index = count;
    if (number > list->allocated - count) {
        const HRESULT hr = Grow(list, number);
        if (Failed(hr)) return hr;
    }
    const size_t bytes = static_cast<size_t>(number) * list->itemSize;
    uint8_t* at = Slot(list, index);
    if (index < count) std::memmove(at + bytes, at, static_cast<size_t>(count - index) * list->itemSize);
    if (bytes == sizeof(void*))
        std::memcpy(at, slots, sizeof(void*));  // one pointer, by far the commonest: a store, not a call
    else
        std::memcpy(at, slots, bytes);
    SetCount(list, static_cast<int32_t>(count + number));
    list->pendingItem = nullptr;
    return S_OK;
}

void qmlist::Remove(tQMLIST* list, int32_t index, int32_t number) {
    const int32_t left = list->count - number;
    std::memmove(Slot(list, index), Slot(list, index + number),
                 static_cast<size_t>(left - index) * list->itemSize);
    std::memset(Slot(list, left), 0, static_cast<size_t>(number) * list->itemSize);
    SetCount(list, left);
}

HRESULT QmList_GrowAllocated(HQMLIST list, int32_t slots) {
    const Entry entry(list);
    return entry ? Grow(list, slots) : E_FAIL;
}

HRESULT QmList_ShrinkAllocated(HQMLIST list, int32_t slots) {
    const Entry entry(list);
    return entry ? Shrink(list, slots) : E_FAIL;
}

HRESULT QmList_InsertList(HQMLIST list, int32_t index, const void* source, int32_t number) {
    const Entry entry(list);
    if (!entry) return E_FAIL;
    // A private heap could not free blocks of another.
    if (source && list->heap) return E_FAIL;
    if (source && (number < 0 || !IsHeap(list)))
        return Insert(list, index, source, number < 0 ? -int64_t{number} : number);
    if (!source && number == -1 && list->pendingItem) return Insert(list, index, &list->pendingItem, 1);
    return E_FAIL;
}

HRESULT QmList_DeleteList(HQMLIST list, int32_t index, int32_t number, BOOL shrink) {
    const Entry entry(list);
    if (!entry) return E_FAIL;
    if (number < 0 && index < 0) {
        if (!list->pendingItem) return E_FAIL;
        FreeBlock(list, std::exchange(list->pendingItem, nullptr));
        return S_OK;
    }
    if (number < 0) number = list->count - index;
    if (number < 1) return S_OK;
    if (index < 0 || index >= list->count) return E_FAIL;
    number = std::min(number, list->count - index);
    if (IsHeap(list))
        for (int32_t i = index; i < index + number; i++) FreeBlock(list, Pointer(list, i));
    Remove(list, index, number);
    const int32_t free = list->allocated - list->count;
    if (shrink && free > list->growBy) Shrink(list, free);  // what can't be given back stays
    return S_OK;
}

// The shrink flag has never had an effect here, and callers pass it.
HRESULT QmList_ArrayForceItemCount(HQMLIST list, int32_t count, BOOL) {
    const Entry entry(list);
    if (!entry || !IsArray(list) || count < 0) return E_FAIL;
    if (count > list->allocated) {
        const HRESULT hr = Grow(list, int64_t{count} - list->allocated);
        if (Failed(hr)) return hr;
    }
    SetCount(list, count);
    return S_OK;
}

HRESULT QmList_MoveRange(HQMLIST list, int32_t from, int32_t to, int32_t number) {
    if (from < 0) return E_INVALIDARG;
    const Entry entry(list);
    if (!entry) return E_FAIL;
    to = std::max(to, 0);
    if (number < 0) number = list->count - std::max(from, to);
    if (int64_t{from} + number > list->count || int64_t{to} + number > list->count) return E_FAIL;
    if (number < 1 || from == to) return S_OK;

    const size_t bytes = static_cast<size_t>(number) * list->itemSize;
    SaveArea saved(bytes);
    if (!saved.Data()) return E_OUTOFMEMORY;
    std::memcpy(saved.Data(), Slot(list, from), bytes);
    if (from < to)
        std::memmove(Slot(list, from), Slot(list, from + number),
                     static_cast<size_t>(to - from) * list->itemSize);
    else
        std::memmove(Slot(list, to + number), Slot(list, to),
                     static_cast<size_t>(from - to) * list->itemSize);
    std::memcpy(Slot(list, to), saved.Data(), bytes);
    return S_OK;
}
