// Blocks of heap lists: the pending item, resizing, measuring, moving between lists.
#include "kernel/block_heap.h"
#include "kernel/list_internal.h"
#include "platform/memory.h"

#include <cstring>
#include <utility>

using namespace tarn;

using namespace qmlist;

namespace {
void* ResizeBlock(tQMLIST* list, void* block, size_t bytes) {
    if (list->heap) return static_cast<BlockHeap*>(list->heap)->Resize(block, bytes);
    return MemResize(block, MemSize(block), bytes);
}

size_t BlockSize(const tQMLIST* list, const void* block) {
    return list->heap ? BlockHeap::Size(block) : MemSize(block);
}

HRESULT AllocPending(tQMLIST* list, size_t bytes) {
    if (!IsHeap(list) || list->pendingItem) return E_FAIL;
    list->pendingItem = AllocBlock(list, bytes);
    return list->pendingItem ? S_OK : E_OUTOFMEMORY;
}
}  // namespace

void* qmlist::AllocBlock(tQMLIST* list, size_t bytes) {
    return list->heap ? static_cast<BlockHeap*>(list->heap)->Alloc(bytes) : MemAlloc(bytes);
}

void qmlist::FreeBlock(tQMLIST* list, void* block) {
    if (list->heap)
        static_cast<BlockHeap*>(list->heap)->Free(block);
    else
        MemFree(block);
}

HRESULT QmList_AllocItem(HQMLIST list, size_t size, void** out) {
    if (!out) return E_FAIL;
    *out = nullptr;
    const Entry entry(list);
    if (!entry) return E_FAIL;
    const HRESULT hr = AllocPending(list, size);
    if (Succeeded(hr)) *out = list->pendingItem;
    return hr;
}

HRESULT QmList_AllocAndInsertItem(HQMLIST list, const void* source, size_t size, int32_t index,
                                  int32_t* outIndex) {
    if (outIndex) *outIndex = -1;
    const Entry entry(list);
    if (!entry) return E_FAIL;
    if (index < 0 || index > list->count) index = list->count;
    HRESULT hr = AllocPending(list, size);
    if (Failed(hr)) return hr;
    if (source) std::memcpy(list->pendingItem, source, size);
    hr = Insert(list, index, &list->pendingItem, 1);
    if (Failed(hr))
        FreeBlock(list, std::exchange(list->pendingItem, nullptr));
    else if (outIndex)
        *outIndex = index;
    return hr;
}

HRESULT QmList_ReAllocItem(HQMLIST list, int32_t index, size_t size) {
    const Entry entry(list);
    if (!entry || !IsHeap(list) || index < 0 || index >= list->count) return E_FAIL;
    void* block = ResizeBlock(list, Pointer(list, index), size);
    if (!block) return E_OUTOFMEMORY;
    Pointer(list, index) = block;
    return S_OK;
}

intptr_t QmList_AllocSize(HQMLIST list, int32_t index) {
    const Entry entry(list);
    if (!entry) return -1;
    if (index >= 0) {
        if (IsArray(list)) return static_cast<intptr_t>(list->itemSize);
        return index < list->count ? static_cast<intptr_t>(BlockSize(list, Pointer(list, index))) : -1;
    }
    size_t bytes = sizeof(tQMLIST) + MemSize(list->data);
    if (!IsArray(list))
        for (const void* block : QmList_Pointers<void>(list)) bytes += BlockSize(list, block);
    return static_cast<intptr_t>(bytes);
}

HRESULT QmList_MoveItemsBetweenHeapLists(HQMLIST target, int32_t targetIndex, HQMLIST source,
                                         int32_t sourceIndex, int32_t number) {
    const Entry targetEntry(target);
    if (!targetEntry) return E_FAIL;
    const Entry sourceEntry(source);
    if (!sourceEntry) return E_FAIL;
    if (!IsHeap(target) || !IsHeap(source) || target->pendingItem) return E_FAIL;
    // A block is freed by the heap that it came from, and a list moved into itself would own blocks twice.
    if (target->heap != source->heap || target == source) return E_FAIL;
    if (targetIndex < 0 || targetIndex > target->count) targetIndex = target->count;
    if (number < 0) number = source->count;
    if (number == 0) return S_OK;
    if (sourceIndex < 0 || int64_t{sourceIndex} + number > source->count) return E_FAIL;
    for (int32_t i = sourceIndex + number; i-- > sourceIndex;) {
        const HRESULT hr = Insert(target, targetIndex, &Pointer(source, i), 1);
        if (Failed(hr)) return hr;
        Remove(source, i, 1);
    }
    return S_OK;
}
