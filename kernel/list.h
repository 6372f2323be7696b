// tQMLIST: the system's one growable table, behind a plain record. Three kinds, set at creation: a pointer
// list stores pointers, a heap list owns the blocks that its pointers name, an array list holds fixed-size
// records inline.
//
// Every operation is a free function. Results are S_OK, E_FAIL for misuse, E_OUTOFMEMORY (the list is as it
// was), and E_INVALIDARG where said; index operations give -1. A range is (start, number): start below 0 is
// 0, number below 0 is "to the end", and a number past the end is cut. A QMLIST_LOCKED list may be used from
// any thread; any other list by one thread at a time. [any-thread]
#pragma once

#include "platform/types.h"

#include <span>

extern "C" {

struct tQMLIST {
    int32_t count;    ///< items in the list; read directly by everyone, without the lock (then atomically)
    size_t itemSize;  ///< bytes a slot
    uint8_t* data;    ///< slot i lies at data + i * itemSize
    void* lock;       ///< recursive lock, QMLIST_LOCKED lists only
    uint32_t magic;   ///< QMLIST_MAGIC while the list lives
    uint32_t options;
    uintptr_t userData;
    uintptr_t sortCriteria;
    uint32_t threadOwner;
    int32_t allocated;  ///< slots in the table; those from count on read as zero
    int32_t growBy;
    void* heap;  ///< private heap, QMLIST_PRIVATE_HEAP lists only
    uint32_t heapAllocFlags;
    uint32_t heapFreeFlags;
    void* pendingItem;  ///< from QmList_AllocItem, not in the table yet
};
static_assert(sizeof(tQMLIST) == 96 && offsetof(tQMLIST, count) == 0 && offsetof(tQMLIST, data) == 16);

typedef tQMLIST* HQMLIST;

/// 0 is a match. `item` is the item's address in an array list, the stored pointer otherwise.
typedef int32_t (*QMLISTFINDPROC)(const void* key, const void* item);
/// Searches: negative when the key lies before the item. Sorts: positive when a is to stand after b.
typedef int32_t (*QMLISTSORTPROC)(uintptr_t criteria, const void* a, const void* b);

}  // extern "C"

inline constexpr uint32_t QMLIST_MAGIC = 0x54525543;
inline constexpr uint32_t QMLIST_HEAP = 0x00000002;
inline constexpr uint32_t QMLIST_ARRAY = 0x00000004;
inline constexpr uint32_t QMLIST_IN_PLACE = 0x00000008;
inline constexpr uint32_t QMLIST_PRIVATE_HEAP = 0x10000000;
inline constexpr uint32_t QMLIST_ANY_THREAD = 0x40000000;
inline constexpr uint32_t QMLIST_LOCKED = 0x80000000;

extern "C" {

/// Creates a list. initialCount and growBy below 1 take the defaults (16). With QMLIST_IN_PLACE *out already
/// names the caller's record. The last three words are reserved, 0.
QM_API HRESULT QmList_CreateExZ(HQMLIST* out, uint32_t itemSize, int32_t initialCount, int32_t growBy,
                                uint32_t options, uintptr_t reserved1, uintptr_t reserved2,
                                uintptr_t reserved3);
/// Frees the table, a heap list's blocks, and the record unless it is in place. Null is S_OK. A pending item
/// stays.
QM_API HRESULT QmList_Destroy(HQMLIST list);

/// Whether the memory is readable and holds a living list; `size` must be the record's.
QM_API BOOL QmList_IsList(const void* list, uint32_t size);
/// The magic test alone, on memory known to be readable.
QM_API BOOL QmList_IsListFast(const void* list);
QM_API BOOL QmList_IsValidIndexSlow(HQMLIST list, int32_t index);

/// Atomic exchange; returns the previous value.
QM_API uintptr_t QmList_SetUserData(HQMLIST list, uintptr_t value);
QM_API uintptr_t QmList_GetUserData(HQMLIST list);
QM_API uint32_t QmList_GetCreateOptions(HQMLIST list);
QM_API uintptr_t QmList_GetSortCriteria(HQMLIST list);
QM_API uint32_t QmList_GetThreadOwner(HQMLIST list);
/// 0 names the calling thread.
QM_API HRESULT QmList_SetThreadOwner(HQMLIST list, uint32_t threadId);
/// No origin is recorded: writes an empty text and returns -1.
QM_API int32_t QmList_GetFileAndLine(HQMLIST list, char16_t* text);

/// At least `slots` more slots, in whole grow steps; 0 or less is one step.
QM_API HRESULT QmList_GrowAllocated(HQMLIST list, int32_t slots);
/// Gives back up to `slots` free slots, in whole grow steps; negative is all free ones.
QM_API HRESULT QmList_ShrinkAllocated(HQMLIST list, int32_t slots);

/// Inserts at index (negative or past the end appends): `number` items copied from source (pointer and array
/// lists), or -number items when number is negative (all lists), or the pending item (null source, number
/// -1). Pointers that enter a heap list are blocks of MemAlloc, which the list then owns; one with a private
/// heap, which frees its own blocks alone, refuses them with E_FAIL. The source lies outside the list's
/// table.
QM_API HRESULT QmList_InsertList(HQMLIST list, int32_t index, const void* source, int32_t number);
/// Deletes a range, freeing the blocks of a heap list. A negative index and number together free the pending
/// item.
QM_API HRESULT QmList_DeleteList(HQMLIST list, int32_t index, int32_t number, BOOL shrink);
/// Array lists: sets the count. Old records reappear when it is raised again.
QM_API HRESULT QmList_ArrayForceItemCount(HQMLIST list, int32_t count, BOOL shrink);
/// Moves `number` items so that the first ends at index `to`. E_INVALIDARG for a negative `from`.
QM_API HRESULT QmList_MoveRange(HQMLIST list, int32_t from, int32_t to, int32_t number);

/// Heap lists: a zeroed pending block, in the list only after QmList_InsertList(list, index, null, -1).
QM_API HRESULT QmList_AllocItem(HQMLIST list, size_t size, void** out);
/// Heap lists: allocates, copies source if any, inserts; *outIndex is the final index or -1.
QM_API HRESULT QmList_AllocAndInsertItem(HQMLIST list, const void* source, size_t size, int32_t index,
                                         int32_t* outIndex);
/// Heap lists: resizes the block of a valid index, keeping its content.
QM_API HRESULT QmList_ReAllocItem(HQMLIST list, int32_t index, size_t size);
/// Bytes of one item, or of everything with a negative index; -1 on failure.
QM_API intptr_t QmList_AllocSize(HQMLIST list, int32_t index);

/// Linear: the stored pointer, or the record's bytes in an array list.
QM_API int32_t QmList_FindSpecificItemRange(HQMLIST list, int32_t start, int32_t number, const void* item);
QM_API int32_t QmList_FindItemRange(HQMLIST list, int32_t start, int32_t number, const void* key,
                                    QMLISTFINDPROC find);
/// Binary, called with the list's sort criteria. Which of several equal items is found is fixed by the
/// probing.
QM_API int32_t QmList_FindSortedItemRange(HQMLIST list, const void* key, int32_t start, int32_t number,
                                          QMLISTSORTPROC compare);
/// Where the key belongs; in front of the equal item that the probing finds.
QM_API int32_t QmList_FindSortedInsertIndexRange(HQMLIST list, const void* key, int32_t start, int32_t number,
                                                 QMLISTSORTPROC compare);

/// Selection sort, for lists of modest length; stores the criteria. A null comparer only stores them.
QM_API HRESULT QmList_Sort(HQMLIST list, uintptr_t criteria, QMLISTSORTPROC compare);
/// Heap sort, ascending, in place; stores the criteria.
QM_API HRESULT QmList_HeapSort(HQMLIST list, uintptr_t criteria, QMLISTSORTPROC compare);
/// Inserts each item of the source at its sorted place in the target, which gets the criteria. Only the
/// source's lock is held throughout.
QM_API HRESULT QmList_SortTo(HQMLIST target, HQMLIST source, uintptr_t criteria, QMLISTSORTPROC compare);
/// Moves blocks between heap lists without copying them; not for private heaps, which keep their blocks. Two
/// such moves in opposite directions at once may deadlock.
QM_API HRESULT QmList_MoveItemsBetweenHeapLists(HQMLIST target, int32_t targetIndex, HQMLIST source,
                                                int32_t sourceIndex, int32_t number);
/// Moves the record into the caller's storage and sets *list to null.
QM_API HRESULT QmList_ConvertToInPlace(HQMLIST* list, tQMLIST* record);

}  // extern "C"

/// Typed view of an array list's records; valid until the list changes.
template <class T>
std::span<T> QmList_Records(HQMLIST list) {
    return list ? std::span<T>(reinterpret_cast<T*>(list->data), static_cast<size_t>(list->count))
                : std::span<T>();
}

/// Typed view of a pointer or heap list's pointers; valid until the list changes.
template <class T>
std::span<T*> QmList_Pointers(HQMLIST list) {
    return list ? std::span<T*>(reinterpret_cast<T**>(list->data), static_cast<size_t>(list->count))
                : std::span<T*>();
}
