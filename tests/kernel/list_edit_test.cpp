// The rules of single operations: sizes at creation, argument forms, quirks that callers rely on.
#include "list_support.h"

#include "../support/fail_alloc.h"

#include <sys/mman.h>

using namespace tarn;

namespace {
using Ints = std::vector<int32_t>;

TEST(List, CreationRoundsSizes) {
    struct Row {
        uint32_t options, itemSize;
        int32_t initial, growBy;
        size_t slotBytes;
        int32_t slots, step;
    };
    for (const Row& r : {Row{QMLIST_ARRAY, 1, -1, -1, 4, 16, 16}, Row{QMLIST_ARRAY, 6, 0, 10, 8, 20, 10},
                         Row{QMLIST_ARRAY, 8, 1, 1, 8, 4, 4}, Row{QMLIST_ARRAY, 0, 3, 3, 0, 4, 4},
                         Row{0, 40, 17, 0, 8, 32, 16}, Row{QMLIST_HEAP, 1, 5, 100000, 8, 66560, 66560}}) {
        TestList list(r.options, r.itemSize, r.initial, r.growBy);
        EXPECT_EQ(r.slotBytes, list->itemSize);
        EXPECT_EQ(r.slots, list->allocated);
        EXPECT_EQ(r.step, list->growBy);
        EXPECT_EQ(r.options | QMLIST_ANY_THREAD, QmList_GetCreateOptions(list));
        EXPECT_EQ(0, list->count);
        ExpectSound(list);
    }
}

TEST(List, CreationRefusesWhatCannotBe) {
    auto* const stale = reinterpret_cast<HQMLIST>(16);
    HQMLIST list = stale;
    EXPECT_EQ(E_FAIL, QmList_CreateExZ(&list, 4, -1, -1, QMLIST_HEAP | QMLIST_ARRAY, 0, 0, 0));
    EXPECT_EQ(nullptr, list);
    EXPECT_EQ(E_FAIL, QmList_CreateExZ(&list, 4, -1, -1, QMLIST_ARRAY | QMLIST_IN_PLACE, 0, 0, 0));
    list = stale;
    EXPECT_EQ(E_OUTOFMEMORY, QmList_CreateExZ(&list, 4, INT32_MAX, 100, QMLIST_ARRAY, 0, 0, 0));
    EXPECT_EQ(nullptr, list);
    // The sanitizers' allocators abort where the system's answers null.
    SetMemGate([](size_t bytes) { return bytes < size_t{1} << 40; });
    EXPECT_EQ(E_OUTOFMEMORY,
              QmList_CreateExZ(&list, UINT32_MAX, INT32_MAX - 99999, 4, QMLIST_ARRAY, 0, 0, 0));
    SetMemGate(nullptr);
    EXPECT_EQ(S_OK, QmList_Destroy(nullptr));
}

TEST(List, RecordInPlaceLivesAndDies) {
    tQMLIST record;
    std::memset(&record, 0xCC, sizeof(record));
    HQMLIST list = &record;
    ASSERT_EQ(S_OK, QmList_CreateExZ(&list, 4, -1, -1, QMLIST_ARRAY | QMLIST_IN_PLACE, 0, 0, 0));
    EXPECT_EQ(&record, list);
    Fill(list, {1, 2, 3});
    EXPECT_TRUE(QmList_IsListFast(list));
    ASSERT_EQ(S_OK, QmList_Destroy(list));
    EXPECT_FALSE(QmList_IsListFast(list));
    EXPECT_EQ(0, list->count);
    const int32_t value = 1;
    EXPECT_EQ(E_FAIL, QmList_InsertList(list, -1, &value, 1)) << "a dead list takes no items";
}

TEST(List, ConversionToInPlaceKeepsEverything) {
    for (uint32_t options : {QMLIST_ARRAY, QMLIST_ARRAY | QMLIST_LOCKED}) {
        HQMLIST list = nullptr;
        ASSERT_EQ(S_OK, QmList_CreateExZ(&list, 4, -1, -1, options, 0, 0, 0));
        Fill(list, {5, 6});
        QmList_SetUserData(list, 99);
        tQMLIST record{}, other{};
        ASSERT_EQ(S_OK, QmList_ConvertToInPlace(&list, &record));
        EXPECT_EQ(nullptr, list);
        EXPECT_EQ((Ints{5, 6}), Values(&record));
        EXPECT_EQ(99u, QmList_GetUserData(&record));
        HQMLIST again = &record;
        EXPECT_EQ(E_FAIL, QmList_ConvertToInPlace(&again, &other));
        EXPECT_EQ(E_INVALIDARG, QmList_ConvertToInPlace(&list, &other));
        EXPECT_EQ(E_INVALIDARG, QmList_ConvertToInPlace(&again, nullptr));
        EXPECT_EQ(S_OK, QmList_Destroy(&record));
    }
}

TEST(List, IsListSurvivesAnyPointer) {
    TestList list(0);
    EXPECT_TRUE(QmList_IsList(list, sizeof(tQMLIST)));
    EXPECT_FALSE(QmList_IsList(list, sizeof(tQMLIST) - 1));
    EXPECT_FALSE(QmList_IsList(nullptr, sizeof(tQMLIST)));
    EXPECT_FALSE(QmList_IsListFast(nullptr));
    EXPECT_FALSE(QmList_IsList(reinterpret_cast<void*>(~uintptr_t{0} - 8), sizeof(tQMLIST)));
    const size_t page = 4096;
    auto* pages = static_cast<uint8_t*>(
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(MAP_FAILED, static_cast<void*>(pages));
    ASSERT_EQ(0, mprotect(pages + page, page, PROT_NONE));
    std::memcpy(pages + page - 40, static_cast<HQMLIST>(list),
                40);  // a magic that is readable, a rest that is not
    EXPECT_FALSE(QmList_IsList(pages + page - 40, sizeof(tQMLIST)));
    EXPECT_FALSE(QmList_IsList(pages + page, sizeof(tQMLIST)));
    munmap(pages, 2 * page);
}

TEST(List, InsertRefusesWhatItCannotTake) {
    TestList array(QMLIST_ARRAY);
    const Ints more{7, 8};
    EXPECT_EQ(S_OK, QmList_InsertList(array, 0, more.data(), 0));
    EXPECT_EQ(E_FAIL, QmList_InsertList(array, 0, nullptr, 2));
    EXPECT_EQ(E_FAIL, QmList_InsertList(array, 0, nullptr, -1));
    EXPECT_EQ(E_OUTOFMEMORY, QmList_InsertList(array, 0, more.data(), INT32_MAX));
    EXPECT_EQ(E_OUTOFMEMORY, QmList_InsertList(array, 0, more.data(), INT32_MIN));
    EXPECT_EQ(0, array->count);

    TestList heap(QMLIST_HEAP);
    void* block = MemAlloc(4);
    for (int32_t number : {0, 1, 2}) EXPECT_EQ(E_FAIL, QmList_InsertList(heap, 0, &block, number));
    EXPECT_EQ(S_OK, QmList_InsertList(heap, 0, &block, -1));
}

TEST(List, OnePendingItemAtMost) {
    TestList pointers(0), list(QMLIST_HEAP);
    void *block = &block, *second = &block;
    EXPECT_EQ(E_FAIL, QmList_AllocItem(pointers, 8, &block));
    EXPECT_EQ(nullptr, block);
    ASSERT_EQ(S_OK, QmList_AllocItem(list, 8, &block));
    EXPECT_EQ(E_FAIL, QmList_AllocItem(list, 8, &second));
    EXPECT_EQ(nullptr, second);
    int32_t index = 5;
    EXPECT_EQ(E_FAIL, QmList_AllocAndInsertItem(list, nullptr, 8, 0, &index));
    EXPECT_EQ(-1, index);
    EXPECT_EQ(block, list->pendingItem);
    EXPECT_EQ(0, list->count);
    EXPECT_EQ(S_OK, QmList_DeleteList(list, -1, -1, 0));
    EXPECT_EQ(E_FAIL, QmList_DeleteList(list, -1, -1, 0));

    // A ready-made pointer that goes in while an item is pending makes the list forget it; it is not freed.
    ASSERT_EQ(S_OK, QmList_AllocItem(list, 8, &block));
    second = MemAlloc(8);
    EXPECT_EQ(S_OK, QmList_InsertList(list, -1, &second, -1));
    EXPECT_EQ(nullptr, list->pendingItem);
    MemFree(block);
}

TEST(List, DeleteChecksInItsOwnOrder) {
    struct Row {
        int32_t index, number;
        HRESULT result;
        Ints left;
    };
    for (const Row& r : {Row{5, 0, S_OK, {1, 2, 3}}, Row{5, 1, E_FAIL, {1, 2, 3}},
                         Row{3, 1, E_FAIL, {1, 2, 3}}, Row{-1, 0, S_OK, {1, 2, 3}},
                         Row{-1, 2, E_FAIL, {1, 2, 3}}, Row{7, -1, S_OK, {1, 2, 3}}, Row{1, 99, S_OK, {1}},
                         Row{1, INT32_MAX, S_OK, {1}}, Row{0, -5, S_OK, {}}, Row{1, 1, S_OK, {1, 3}}}) {
        TestList list(QMLIST_ARRAY);
        Fill(list, {1, 2, 3});
        EXPECT_EQ(r.result, QmList_DeleteList(list, r.index, r.number, 1)) << r.index << ' ' << r.number;
        EXPECT_EQ(r.left, Values(list)) << r.index << ' ' << r.number;
        ExpectSound(list);
    }
}

TEST(List, ShrinkGivesBackWholeSteps) {
    using Row = std::pair<int32_t, int32_t>;
    // 21 of 60 slots in use, in steps of 10
    for (const auto& [slots, left] :
         {Row{0, 60}, Row{1, 50}, Row{10, 50}, Row{11, 40}, Row{31, 30}, Row{39, 30}, Row{-1, 30},
          Row{40, 30}, Row{1000, 30}, Row{INT32_MAX, 30}}) {
        TestList list(QMLIST_ARRAY, 4, 60, 10);
        Fill(list, Ints(21, 9));
        EXPECT_EQ(S_OK, QmList_ShrinkAllocated(list, slots));
        EXPECT_EQ(left, list->allocated) << slots;
        ExpectSound(list);
    }
}

TEST(List, ForcedCountsAreBounded) {
    TestList list(QMLIST_ARRAY), pointers(0);
    EXPECT_EQ(S_OK, QmList_ArrayForceItemCount(list, 17, 0));
    EXPECT_EQ(E_FAIL, QmList_ArrayForceItemCount(list, -1, 0));
    EXPECT_EQ(E_OUTOFMEMORY, QmList_ArrayForceItemCount(list, INT32_MAX, 0));
    EXPECT_EQ(17, list->count);
    EXPECT_EQ(E_FAIL, QmList_ArrayForceItemCount(pointers, 1, 0));
}

TEST(List, MoveRangeRefusesAndMoves) {
    struct Row {
        int32_t from, to, number;
        HRESULT result;
        Ints after;
    };
    const Ints start{1, 2, 3, 4, 5};
    for (const Row& r :
         {Row{2, 0, 3, S_OK, {3, 4, 5, 1, 2}}, Row{0, 2, 3, S_OK, {4, 5, 1, 2, 3}},
          Row{0, 3, 1, S_OK, {2, 3, 4, 1, 5}}, Row{3, -9, -1, S_OK, {4, 5, 1, 2, 3}},
          Row{1, 1, 2, S_OK, start}, Row{1, 3, 0, S_OK, start}, Row{9, 0, -1, S_OK, start},
          Row{9, 0, 0, E_FAIL, start}, Row{3, 0, 3, E_FAIL, start}, Row{0, 4, 2, E_FAIL, start},
          Row{-1, 2, 1, E_INVALIDARG, start}, Row{INT32_MAX, 0, INT32_MAX, E_FAIL, start}}) {
        TestList list(QMLIST_ARRAY);
        Fill(list, start);
        EXPECT_EQ(r.result, QmList_MoveRange(list, r.from, r.to, r.number)) << r.from << ' ' << r.to;
        EXPECT_EQ(r.after, Values(list)) << r.from << ' ' << r.to << ' ' << r.number;
    }
}

TEST(List, MoveBetweenHeapListsKeepsBlocksAndOrder) {
    TestList from(QMLIST_HEAP), to(QMLIST_HEAP), array(QMLIST_ARRAY),
        other(QMLIST_HEAP | QMLIST_PRIVATE_HEAP);
    for (int32_t i = 0; i < 6; i++) {
        QmList_AllocAndInsertItem(from, &i, sizeof(i), -1, nullptr);
        QmList_AllocAndInsertItem(other, &i, sizeof(i), -1, nullptr);
    }
    void* last = QmList_Pointers<void>(from)[5];
    QmList_AllocAndInsertItem(to, &(const int32_t&)60, 4, -1, nullptr);
    EXPECT_EQ(S_OK, QmList_MoveItemsBetweenHeapLists(to, 0, from, 3, 3));
    EXPECT_EQ(S_OK, QmList_MoveItemsBetweenHeapLists(to, -1, from, 1, 1));
    Ints moved;
    for (const int32_t* p : QmList_Pointers<int32_t>(to)) moved.push_back(*p);
    EXPECT_EQ((Ints{3, 4, 5, 60, 1}), moved);
    EXPECT_EQ(last, QmList_Pointers<void>(to)[2]);
    EXPECT_EQ(2, from->count);
    ExpectSound(from);

    EXPECT_EQ(S_OK, QmList_MoveItemsBetweenHeapLists(to, 0, from, 99, 0));
    EXPECT_EQ(E_FAIL, QmList_MoveItemsBetweenHeapLists(to, 0, from, 1, 2));
    EXPECT_EQ(E_FAIL, QmList_MoveItemsBetweenHeapLists(to, 0, from, 1, -1)) << "-1 is all, from any index";
    EXPECT_EQ(E_FAIL, QmList_MoveItemsBetweenHeapLists(to, 0, array, 0, 1));
    EXPECT_EQ(E_FAIL, QmList_MoveItemsBetweenHeapLists(to, 0, other, 0, 1)) << "its blocks go with its heap";
    EXPECT_EQ(E_FAIL, QmList_MoveItemsBetweenHeapLists(to, 0, to, 0, 1));
    void* pending;
    QmList_AllocItem(to, 4, &pending);
    EXPECT_EQ(E_FAIL, QmList_MoveItemsBetweenHeapLists(to, 0, from, 0, 1));
    EXPECT_EQ(S_OK, QmList_DeleteList(to, -1, -1, 0));
    EXPECT_EQ(5, to->count);
}

TEST(List, SizesAreMeasured) {
    TestList array(QMLIST_ARRAY, 10), heap(QMLIST_HEAP), arena(QMLIST_HEAP | QMLIST_PRIVATE_HEAP);
    EXPECT_EQ(12, QmList_AllocSize(array, 0));
    EXPECT_GE(QmList_AllocSize(array, -1), static_cast<intptr_t>(sizeof(tQMLIST) + 16 * 12));
    for (HQMLIST list : std::initializer_list<HQMLIST>{heap, arena}) {
        const intptr_t empty = QmList_AllocSize(list, -1);
        QmList_AllocAndInsertItem(list, nullptr, 1000, -1, nullptr);
        EXPECT_GE(QmList_AllocSize(list, 0), 1000);
        EXPECT_EQ(empty + QmList_AllocSize(list, 0), QmList_AllocSize(list, -1));
        EXPECT_EQ(-1, QmList_AllocSize(list, 1));
        EXPECT_EQ(E_FAIL, QmList_ReAllocItem(list, 1, 8));
    }
    char16_t text[4] = u"abc";
    EXPECT_EQ(-1, QmList_GetFileAndLine(array, text)) << "where it was made is not recorded";
    EXPECT_EQ(0, text[0]);
}

TEST(List, PrivateHeapIsDroppedAtOneStroke) {
    constexpr int kBlocks = 10000;
    FailAlloc counter;
    TestList list(QMLIST_HEAP | QMLIST_PRIVATE_HEAP, 0, kBlocks);
    const int before = counter.Seen();
    for (int i = 0; i < kBlocks; i++)
        ASSERT_EQ(S_OK, QmList_AllocAndInsertItem(list, nullptr, static_cast<size_t>(i % 300), -1, nullptr));
    EXPECT_LT(counter.Seen() - before, 20) << "chunks, not blocks, come from the system";

    // What was freed serves again: no chunk is added.
    const int filled = counter.Seen();
    for (int i = 0; i < kBlocks; i++) {
        ASSERT_EQ(S_OK, QmList_DeleteList(list, i, 1, 0));
        ASSERT_EQ(S_OK, QmList_AllocAndInsertItem(list, nullptr, static_cast<size_t>(i % 300), i, nullptr));
    }
    EXPECT_EQ(filled, counter.Seen());

    // A block of another heap can't be freed by this one.
    void* foreign = MemAlloc(16);
    EXPECT_EQ(E_FAIL, QmList_InsertList(list, 0, &foreign, -1));
    EXPECT_EQ(kBlocks, list->count);
    MemFree(foreign);
}

}  // namespace
