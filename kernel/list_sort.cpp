#include "kernel/list_internal.h"

#include <utility>

using namespace qmlist;

namespace {
/// Positions are counted from 0.
struct Sorter {
    tQMLIST* list;
    QMLISTSORTPROC compare;

    bool After(int32_t a, int32_t b) const {
        return compare(list->sortCriteria, Item(list, a), Item(list, b)) > 0;
    }
    void Swap(int32_t a, int32_t b) const {
        if (!IsArray(list)) return std::swap(Pointer(list, a), Pointer(list, b));
        auto* first = reinterpret_cast<uint32_t*>(Slot(list, a));
        std::swap_ranges(first, first + list->itemSize / sizeof(uint32_t),
                         reinterpret_cast<uint32_t*>(Slot(list, b)));
    }

    /// Sinks item i of the first n along the larger children. The walk goes on where nothing was exchanged,
    /// and after its first step it passes by a child that stands alone at the very end: the order of equal
    /// items hangs on both.
    void Sift(int32_t i, int32_t n) const {
        int64_t child = 2 * int64_t{i} + 1;
        do {
            auto j = static_cast<int32_t>(child);
            if (j + 1 < n && After(j + 1, j)) j++;
            if (After(j, i)) Swap(i, j);
            i = j;
            child = 2 * int64_t{i} + 1;
        } while (child + 1 < n);
    }
};

/// What both sorts start with. True when there is something to sort.
bool TakeCriteria(tQMLIST* list, uintptr_t criteria, QMLISTSORTPROC compare) {
    list->sortCriteria = criteria;
    return compare && list->count > 1;
}
}  // namespace

HRESULT QmList_Sort(HQMLIST list, uintptr_t criteria, QMLISTSORTPROC compare) {
    const Entry entry(list);
    if (!entry) return E_FAIL;
    if (!TakeCriteria(list, criteria, compare)) return S_OK;
    const Sorter sorter{list, compare};
    for (int32_t last = list->count - 1; last > 0; last--) {
        int32_t best = 0;
        for (int32_t i = 1; i <= last; i++)
            if (sorter.After(i, best)) best = i;
        if (best != last) sorter.Swap(best, last);
    }
    return S_OK;
}

HRESULT QmList_HeapSort(HQMLIST list, uintptr_t criteria, QMLISTSORTPROC compare) {
    const Entry entry(list);
    if (!entry) return E_FAIL;
    if (!TakeCriteria(list, criteria, compare)) return S_OK;
    const Sorter sorter{list, compare};
    const int32_t count = list->count;
    for (int32_t i = count / 2 - 1; i > 0; i--) sorter.Sift(i, count);
    for (int32_t n = count; n > 1; n--) {
        sorter.Sift(0, n);
        sorter.Swap(0, n - 1);
    }
    return S_OK;
}

HRESULT QmList_SortTo(HQMLIST target, HQMLIST source, uintptr_t criteria, QMLISTSORTPROC compare) {
    const Entry entry(source);
    if (!entry || !target) return E_FAIL;
    target->sortCriteria = criteria;
    if (!compare) return S_OK;
    // Into itself it would never end; records can't be read past their size.
    if (target == source) return E_FAIL;
    if (IsArray(target) && IsArray(source) && source->itemSize < target->itemSize) return E_FAIL;
    for (int32_t i = 0; i < source->count; i++) {
        const void* item = Item(source, i);
        const int32_t index = QmList_FindSortedInsertIndexRange(target, item, 0, -1, compare);
        QmList_InsertList(target, index, IsArray(target) ? item : &item, 1);
    }
    return S_OK;
}
