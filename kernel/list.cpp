#include "kernel/list.h"

#include "kernel/block_heap.h"
#include "kernel/list_internal.h"
#include "platform/memory.h"

#include <new>

#include <unistd.h>

using namespace tarn;

using namespace qmlist;

namespace {
constexpr int32_t kDefaultSlots = 16;
constexpr int32_t kLeastSlots = 4;
constexpr int32_t kLargestStep = 0x10400;
// Attributes of the private heap: zero the memory, no serialisation.
constexpr uint32_t kHeapAllocFlags = 9;
constexpr uint32_t kHeapFreeFlags = 1;

constexpr uint32_t kNoOptions = UINT32_MAX;
constexpr uintptr_t kNoValue = UINTPTR_MAX;

int32_t SlotsOrDefault(int32_t wanted) { return wanted < 1 ? kDefaultSlots : std::max(wanted, kLeastSlots); }

void FreeBlocks(tQMLIST* list) {
    if (list->heap) return BlockHeap::Destroy(static_cast<BlockHeap*>(list->heap));
    for (void* block : QmList_Pointers<void>(list)) MemFree(block);
}

/// Gives back all that the list holds and its record. The lock must be free.
void Dispose(tQMLIST* list) {
    if (IsHeap(list)) FreeBlocks(list);
    MemFree(list->data);
    if (auto* lock = static_cast<std::recursive_mutex*>(list->lock)) {
        lock->~recursive_mutex();
        MemFree(lock);
    }
    const bool inPlace = list->options & QMLIST_IN_PLACE;
    // A dead record in place fails every entry check: nobody owns it.
    *list = {};
    if (!inPlace) MemFree(list);
}

bool MakeTable(tQMLIST* list, int32_t initialCount, int32_t growBy) {
    list->growBy = std::min(SlotsOrDefault(growBy), kLargestStep);
    const int64_t step = list->growBy;
    const int64_t slots = (SlotsOrDefault(initialCount) + step - 1) / step * step;
    size_t bytes = 0;
    if (slots > INT32_MAX || __builtin_mul_overflow(static_cast<size_t>(slots), list->itemSize, &bytes))
        return false;
    list->data = static_cast<uint8_t*>(MemAlloc(bytes));
    list->allocated = static_cast<int32_t>(slots);
    return list->data;
}

bool MakeLock(tQMLIST* list) {
    void* memory = MemAlloc(sizeof(std::recursive_mutex));
    if (memory) list->lock = new (memory) std::recursive_mutex;
    return memory;
}

bool MakeHeap(tQMLIST* list) {
    list->heapAllocFlags = kHeapAllocFlags;
    list->heapFreeFlags = kHeapFreeFlags;
    if (list->options & QMLIST_PRIVATE_HEAP) list->heap = BlockHeap::Create();
    return list->heap || !(list->options & QMLIST_PRIVATE_HEAP);
}
}  // namespace

uint32_t qmlist::CurrentThreadId() {
    static thread_local const auto id = static_cast<uint32_t>(gettid());
    return id;
}

HRESULT QmList_CreateExZ(HQMLIST* out, uint32_t itemSize, int32_t initialCount, int32_t growBy,
                         uint32_t options, uintptr_t, uintptr_t, uintptr_t) {
    if (!out) return E_FAIL;
    const bool inPlace = options & QMLIST_IN_PLACE;
    tQMLIST* list = inPlace ? *out : nullptr;
    if (inPlace) {
        if (!list) return E_FAIL;
        *list = {};
    } else {
        *out = nullptr;
    }
    if ((options & QMLIST_HEAP) && (options & QMLIST_ARRAY)) return E_FAIL;
    if (!inPlace) list = static_cast<tQMLIST*>(MemAlloc(sizeof(tQMLIST)));
    if (!list) return E_OUTOFMEMORY;

    list->magic = QMLIST_MAGIC;
    list->options = options | QMLIST_ANY_THREAD;
    list->threadOwner = CurrentThreadId();
    list->itemSize = IsArray(list) ? (size_t{itemSize} + 3) & ~size_t{3} : sizeof(void*);
    if (!MakeTable(list, initialCount, growBy) || ((options & QMLIST_LOCKED) && !MakeLock(list)) ||
        (IsHeap(list) && !MakeHeap(list))) {
        Dispose(list);
        return E_OUTOFMEMORY;
    }
    *out = list;
    return S_OK;
}

HRESULT QmList_Destroy(HQMLIST list) {
    if (!list) return S_OK;
    // Waits for the operation that another thread is in; whoever comes after this one uses a dead list.
    if (const Entry entry(list); !entry) return E_FAIL;
    Dispose(list);
    return S_OK;
}

HRESULT QmList_ConvertToInPlace(HQMLIST* list, tQMLIST* record) {
    if (!list || !*list || !record || (*list)->magic != QMLIST_MAGIC) return E_INVALIDARG;
    tQMLIST* old = *list;
    const Entry entry(old);  // leaves through the lock itself, which stays where it is
    if (!entry || (old->options & QMLIST_IN_PLACE)) return E_FAIL;
    *record = *old;
    record->options |= QMLIST_IN_PLACE;
    MemFree(old);
    *list = nullptr;
    return S_OK;
}

BOOL QmList_IsList(const void* list, uint32_t size) {
    tQMLIST record{};
    return size == sizeof(record) && ReadOwnMemory(list, &record, sizeof(record)) &&
           record.magic == QMLIST_MAGIC;
}

BOOL QmList_IsListFast(const void* list) {
    return list && static_cast<const tQMLIST*>(list)->magic == QMLIST_MAGIC;
}

BOOL QmList_IsValidIndexSlow(HQMLIST list, int32_t index) {
    const Entry entry(list);
    return entry && index >= 0 && index < list->count;
}

uintptr_t QmList_SetUserData(HQMLIST list, uintptr_t value) {
    const Entry entry(list);
    return entry ? std::atomic_ref(list->userData).exchange(value) : kNoValue;
}

uintptr_t QmList_GetUserData(HQMLIST list) {
    const Entry entry(list);
    return entry ? std::atomic_ref(list->userData).load() : kNoValue;
}

uint32_t QmList_GetCreateOptions(HQMLIST list) {
    const Entry entry(list);
    return entry ? list->options : kNoOptions;
}

uintptr_t QmList_GetSortCriteria(HQMLIST list) {
    const Entry entry(list);
    return entry ? list->sortCriteria : kNoValue;
}

uint32_t QmList_GetThreadOwner(HQMLIST list) { return list ? list->threadOwner : 0; }

HRESULT QmList_SetThreadOwner(HQMLIST list, uint32_t threadId) {
    if (!list) return E_FAIL;
    list->threadOwner = threadId ? threadId : CurrentThreadId();
    return S_OK;
}

int32_t QmList_GetFileAndLine(HQMLIST, char16_t* text) {
    if (text) *text = 0;
    return -1;
}
