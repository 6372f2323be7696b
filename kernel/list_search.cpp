#include "kernel/list_internal.h"

#include <cstring>

using namespace qmlist;

namespace {
struct Found {
    int32_t index;  ///< of the equal item, else where the key belongs
    bool equal;
};

/// a where the mask is all ones, b where it is 0; written out, as the compiler would branch.
uintptr_t Choose(uintptr_t mask, uintptr_t a, uintptr_t b) { return b ^ ((a ^ b) & mask); }

/// The probe is the middle, the lower one of two, of what is left. Which of several equal items is met
/// depends on it.
///
/// The outcome of a comparison can't be predicted. So no branch depends on it, and both items that may come
/// next are fetched while it is made; where one side is empty its index is that of some item that is there.
template <class ItemAt>
Found Probe(Range range, const void* key, uintptr_t criteria, QMLISTSORTPROC compare, ItemAt itemAt) {
    if (range.number < 1) return {range.start, false};
    size_t low = static_cast<size_t>(range.start), left = static_cast<size_t>(range.number);
    const void* item = itemAt(low + (left - 1) / 2);
    while (left > 0) {
        const size_t below = (left - 1) / 2, above = left / 2, middle = low + below;
        const void* nextBelow = itemAt(low + (below - (below != 0)) / 2);
        const void* nextAbove = itemAt(middle + (above + 1) / 2);
        __builtin_prefetch(nextBelow);
        __builtin_prefetch(nextAbove);
        const int32_t order = compare(criteria, key, item);
        if (order == 0) return {static_cast<int32_t>(middle), true};
        const auto before = static_cast<uintptr_t>(int64_t{order} >> 63);
        item = reinterpret_cast<const void*>(
            Choose(before, reinterpret_cast<uintptr_t>(nextBelow), reinterpret_cast<uintptr_t>(nextAbove)));
        low = Choose(before, low, middle + 1);
        left = Choose(before, below, above);
    }
    return {static_cast<int32_t>(low), false};
}

Found Probe(const tQMLIST* list, Range range, const void* key, QMLISTSORTPROC compare) {
    if (IsArray(list))
        return Probe(range, key, list->sortCriteria, compare, [=](size_t i) { return Slot(list, i); });
    return Probe(range, key, list->sortCriteria, compare, [=](size_t i) { return Pointer(list, i); });
}

int32_t FindPointer(const tQMLIST* list, Range range, const void* item) {
    void* const* first = &Pointer(list, range.start);
    void* const* last = first + range.number;
    void* const* found = std::find(first, last, item);
    return found == last ? -1 : range.start + static_cast<int32_t>(found - first);
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
