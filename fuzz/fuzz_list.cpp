// Bytes become operations with any arguments on a list of any kind; what holds of every list must hold after
// each.
#include "kernel/list.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

using namespace tarn;

namespace {
/// Takes numbers from the bytes; behind their end all are 0.
class Input {
public:
    Input(const uint8_t* data, size_t size) : m_bytes(data, size) {}
    size_t Left() const { return m_bytes.size(); }
    template <class T>
    T Number() {
        T value{};
        const size_t size = std::min(sizeof value, m_bytes.size());
        std::memcpy(&value, m_bytes.data(), size);
        m_bytes = m_bytes.subspan(size);
        return value;
    }
    bool Bool() { return Number<uint8_t>() & 1; }
    int32_t Between(int32_t least, int32_t most) {
        return least + static_cast<int32_t>(Number<uint16_t>() % static_cast<uint32_t>(most - least + 1));
    }
    template <class T, size_t N>
    T OneOf(T (&choices)[N]) {
        return choices[Number<uint8_t>() % N];
    }

private:
    std::span<const uint8_t> m_bytes;
};
constexpr int32_t kMostItems = 4096;

/// Arguments near the list's own numbers, or anything at all.
int32_t Number(Input& in, HQMLIST list) {
    return in.Bool() ? in.Between(-3, list->count + 20) : in.Number<int32_t>();
}
/// As above, for what would be allocated.
int32_t Modest(Input& in) { return in.Between(-3, 300); }

int32_t Compare(uintptr_t, const void* a, const void* b) {
    return a && b ? std::memcmp(a, b, 4) : (a > b) - (a < b);
}

void Insert(Input& in, HQMLIST list) {
    static const std::array<uint64_t, 300 * 4> records = {};
    static int target;
    std::array<void*, 300> pointers;
    pointers.fill(&target);
    const void* source =
        list->options & QMLIST_ARRAY ? static_cast<const void*>(records.data()) : pointers.data();
    if (list->options & QMLIST_HEAP || in.Bool()) source = nullptr;
    QmList_InsertList(list, Number(in, list), source, source ? std::clamp(Modest(in), -3, 300) : Modest(in));
}
void Delete(Input& in, HQMLIST list) {
    QmList_DeleteList(list, Number(in, list), Number(in, list), in.Bool());
}
void Move(Input& in, HQMLIST list) {
    QmList_MoveRange(list, Number(in, list), Number(in, list), Number(in, list));
}
void Grow(Input& in, HQMLIST list) { QmList_GrowAllocated(list, Modest(in)); }
void Shrink(Input& in, HQMLIST list) { QmList_ShrinkAllocated(list, Number(in, list)); }
void Force(Input& in, HQMLIST list) { QmList_ArrayForceItemCount(list, Modest(in), in.Bool()); }
void AllocItem(Input& in, HQMLIST list) {
    const auto size = in.Number<uint16_t>();
    void* block;
    if (Succeeded(QmList_AllocItem(list, size, &block))) std::memset(block, 1, size);
}
void AllocAndInsert(Input& in, HQMLIST list) {
    const std::vector<char> source(static_cast<size_t>(in.Between(4, 3000)), 'x');
    QmList_AllocAndInsertItem(list, source.data(), source.size(), Number(in, list), nullptr);
}
void Resize(Input& in, HQMLIST list) {
    QmList_ReAllocItem(list, Number(in, list), size_t{4} + in.Number<uint16_t>());
}
void Search(Input& in, HQMLIST list) {
    const uint64_t key[4] = {};
    const auto sorted =
        list->options & QMLIST_ARRAY ? &Compare : [](uintptr_t, const void* a, const void* b) {
            return int32_t{a > b} - int32_t{a < b};
        };
    const int32_t start = Number(in, list), number = Number(in, list);
    for (int32_t found : {QmList_FindSortedItemRange(list, key, start, number, sorted),
                          QmList_FindSpecificItemRange(list, start, number, key)})
        if (found < -1 || found >= list->count) std::abort();
    const int32_t at = QmList_FindSortedInsertIndexRange(list, key, start, number, sorted);
    if (at < -1 || at > list->count) std::abort();
}
void Sort(Input& in, HQMLIST list) {
    const auto compare = [](uintptr_t, const void* a, const void* b) {
        return int32_t{a > b} - int32_t{a < b};
    };
    if (list->count < 300) (in.Bool() ? QmList_HeapSort : QmList_Sort)(list, 0, compare);
}
void Measure(Input& in, HQMLIST list) {
    if (list->options & (QMLIST_HEAP | QMLIST_ARRAY)) QmList_AllocSize(list, Number(in, list));
}

void Check(HQMLIST list) {
    if (list->count < 0 || list->count > list->allocated || list->allocated % list->growBy) std::abort();
    if (list->options & QMLIST_HEAP)
        for (const char* block : QmList_Pointers<char>(list)) {
            volatile char touched = block[0];
            (void)touched;
        }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static constexpr uint32_t kKinds[] = {0, QMLIST_ARRAY, QMLIST_HEAP, QMLIST_HEAP | QMLIST_PRIVATE_HEAP,
                                          QMLIST_HEAP | QMLIST_LOCKED};
    static constexpr void (*kOperations[])(Input&, HQMLIST) = {
        Insert, Delete, Move, Grow, Shrink, Force, AllocItem, AllocAndInsert, Resize, Search, Sort, Measure};
    Input in(data, size);
    HQMLIST list;
    const int32_t itemSize = in.Between(4, 32), first = Modest(in), growBy = Modest(in);
    if (Failed(QmList_CreateExZ(&list, itemSize, first, growBy, in.OneOf(kKinds), 0, 0, 0))) std::abort();
    while (in.Left() > 0 && list->allocated < kMostItems) {
        in.OneOf(kOperations)(in, list);
        Check(list);
    }
    QmList_DeleteList(list, -1, -1, 0);
    return Failed(QmList_Destroy(list));
}
