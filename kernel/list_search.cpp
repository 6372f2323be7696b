#include "kernel/list_internal.h"

#include <cstring>

using namespace qmlist;

namespace {
struct Found {
    int32_t index;  ///< of the equal item, else where the key belongs
    bool equal;
};

/// The probe is the middle, the lower one of two, of what is left. Which of several equal items is met
/// depends on it.
template <class ItemAt>
Found Probe(Range range, const void* key, uintptr_t criteria, QMLISTSORTPROC compare, ItemAt itemAt) {
    int32_t low = range.start;
    for (int32_t left = range.number; left > 0;) {
        const int32_t below = (left - 1) / 2;
        const int32_t order = compare(criteria, key, itemAt(low + below));
        if (order == 0) return {low + below, true};
        if (order < 0) {
            left = below;
        } else {
            low += below + 1;
            left /= 2;
        }
    }
    return {low, false};
}

Found Probe(const tQMLIST* list, Range range, const void* key, QMLISTSORTPROC compare) {
    if (IsArray(list))
        return Probe(range, key, list->sortCriteria, compare, [=](int32_t i) { return Slot(list, i); });
    return Probe(range, key, list->sortCriteria, compare, [=](int32_t i) { return Pointer(list, i); });
}

int32_t FindPointer(const tQMLIST* list, Range range, const void* item) {
    const int32_t end = range.start + range.number;
    for (int32_t i = range.start; i < end; i++)
        if (Pointer(list, i) == item) return i;
    return -1;
}

int32_t FindRecord(const tQMLIST* list, Range range, const void* record) {
    const int32_t end = range.start + range.number;
    for (int32_t i = range.start; i < end; i++)
        if (std::memcmp(Slot(list, i), record, list->itemSize) == 0) return i;
    return -1;
}
}  // namespace

int32_t QmList_FindSpecificItemRange(HQMLIST list, int32_t start, int32_t number, const void* item) {
    const Entry entry(list);
    if (!entry) return -1;
    const Range range = CutRange(list, start, number);
    return range.number < 1 ? -1
           : IsArray(list)  ? FindRecord(list, range, item)
                            : FindPointer(list, range, item);
}

int32_t QmList_FindItemRange(HQMLIST list, int32_t start, int32_t number, const void* key,
                             QMLISTFINDPROC find) {
    const Entry entry(list);
    if (!entry || !find) return -1;
    const Range range = CutRange(list, start, number);
    for (int32_t i = range.start; i - range.start < range.number; i++)
        if (find(key, Item(list, i)) == 0) return i;
    return -1;
}

int32_t QmList_FindSortedItemRange(HQMLIST list, const void* key, int32_t start, int32_t number,
                                   QMLISTSORTPROC compare) {
    const Entry entry(list);
    if (!entry || !compare) return -1;
    const Found found = Probe(list, CutRange(list, start, number), key, compare);
    return found.equal ? found.index : -1;
}

int32_t QmList_FindSortedInsertIndexRange(HQMLIST list, const void* key, int32_t start, int32_t number,
                                          QMLISTSORTPROC compare) {
    const Entry entry(list);
    if (!entry || !compare || start > list->count) return -1;
    const Range range = CutRange(list, start, number);
    return range.number < 1 ? 0 : Probe(list, range, key, compare).index;
}
