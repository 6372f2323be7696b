// Each allocation of each operation fails in turn, once and from there on: the list stays as it was.
#include "list_support.h"

#include "../support/fail_alloc.h"

#include <functional>
#include <string>

using namespace tarn;

namespace {
/// All that an observer sees of a list: the record's words and the items, a heap list's blocks too.
std::string Snapshot(HQMLIST list) {
    std::string s =
        std::to_string(list->count) + '/' + std::to_string(list->allocated) + (list->pendingItem ? "p" : "");
    const size_t bytes = static_cast<size_t>(list->allocated) * list->itemSize;
    s.append(reinterpret_cast<const char*>(list->data), bytes);
    if (list->options & QMLIST_HEAP)
        for (const char* block : QmList_Pointers<char>(list)) s.append(block, 8);
    return s;
}

struct Row {
    const char* name;
    uint32_t options;
    std::function<HRESULT(HQMLIST)> operation;
};

constexpr int32_t kSlots = 200;
constexpr uint64_t kItems[kSlots] = {};

const Row kRows[] = {
    {"grow", QMLIST_ARRAY, [](HQMLIST l) { return QmList_GrowAllocated(l, 1); }},
    {"shrink", QMLIST_ARRAY, [](HQMLIST l) { return QmList_ShrinkAllocated(l, -1); }},
    {"insert", QMLIST_ARRAY, [](HQMLIST l) { return QmList_InsertList(l, 3, kItems, kSlots); }},
    {"insert pointers", 0, [](HQMLIST l) { return QmList_InsertList(l, 0, kItems, -kSlots); }},
    {"force count", QMLIST_ARRAY, [](HQMLIST l) { return QmList_ArrayForceItemCount(l, 5000, 0); }},
    {"move", QMLIST_ARRAY, [](HQMLIST l) { return QmList_MoveRange(l, 0, 90, 70); }},
    {"alloc item", QMLIST_HEAP,
     [](HQMLIST l) {
         void* p;
         return QmList_AllocItem(l, 8, &p);
     }},
    {"alloc and insert", QMLIST_HEAP,
     [](HQMLIST l) {
         int32_t index = 0;
         const HRESULT hr = QmList_AllocAndInsertItem(l, kItems, 8, 0, &index);
         EXPECT_EQ(Succeeded(hr) ? 0 : -1, index);
         return hr;
     }},
    {"alloc and insert, private", QMLIST_HEAP | QMLIST_PRIVATE_HEAP,
     [](HQMLIST l) { return QmList_AllocAndInsertItem(l, nullptr, 30000, 0, nullptr); }},
    {"alloc and insert, private and large", QMLIST_HEAP | QMLIST_PRIVATE_HEAP,
     [](HQMLIST l) { return QmList_AllocAndInsertItem(l, nullptr, 300000, 0, nullptr); }},
    {"resize", QMLIST_HEAP, [](HQMLIST l) { return QmList_ReAllocItem(l, 1, 50000); }},
    {"resize, private", QMLIST_HEAP | QMLIST_PRIVATE_HEAP,
     [](HQMLIST l) { return QmList_ReAllocItem(l, 1, 50000); }},
};

/// A list whose table is full, except for the shrinking row.
void Prepare(HQMLIST list, const Row& row) {
    for (int32_t i = 0; i < kSlots; i++) {
        const uint64_t item = static_cast<uint64_t>(i) + 1;
        if (row.options & QMLIST_HEAP)
            QmList_AllocAndInsertItem(list, &item, 8, -1, nullptr);
        else
            QmList_InsertList(list, -1, &item, 1);
    }
    if (std::string("shrink") == row.name) QmList_GrowAllocated(list, 100);
    ASSERT_EQ(kSlots, list->count);
}

TEST(ListFailure, EachAllocationOfEachOperation) {
    for (const Row& row : kRows)
        for (bool onwards : {false, true}) {
            int struck = 0;
            for (int nth = 0;; nth++) {
                TestList list(row.options, 8, kSlots, 50);
                Prepare(list, row);
                const std::string before = Snapshot(list);
                FailAlloc fail(nth, onwards);
                const HRESULT hr = row.operation(list);
                if (!fail.Struck()) {
                    EXPECT_EQ(S_OK, hr) << row.name;
                    QmList_DeleteList(list, -1, -1, 0);
                    break;
                }
                struck++;
                ASSERT_EQ(E_OUTOFMEMORY, hr) << row.name << ", allocation " << nth;
                ASSERT_EQ(before, Snapshot(list)) << row.name << ", allocation " << nth;
            }
            EXPECT_GE(struck, 1) << row.name << " allocates nothing";
        }
}

TEST(ListFailure, CreationUndoesItself) {
    for (uint32_t options :
         {0u, QMLIST_ARRAY | QMLIST_LOCKED, QMLIST_HEAP | QMLIST_PRIVATE_HEAP | QMLIST_LOCKED})
        for (bool inPlace : {false, true})
            for (int nth = 0;; nth++) {
                tQMLIST record;
                HQMLIST list = inPlace ? &record : nullptr;
                FailAlloc fail(nth);
                const HRESULT hr =
                    QmList_CreateExZ(&list, 4, -1, -1, options | (inPlace ? QMLIST_IN_PLACE : 0), 0, 0, 0);
                if (!fail.Struck()) {
                    ASSERT_EQ(S_OK, hr);
                    EXPECT_EQ(S_OK, QmList_Destroy(list));
                    break;
                }
                EXPECT_EQ(E_OUTOFMEMORY, hr);
                EXPECT_FALSE(QmList_IsListFast(list));
            }
}

TEST(ListFailure, MoveBetweenListsEndsAtTheFirstFailure) {
    TestList from(QMLIST_HEAP), to(QMLIST_HEAP, 0, 4, 4);
    for (uint64_t i = 0; i < 6; i++) QmList_AllocAndInsertItem(from, &i, 8, -1, nullptr);
    {
        FailAlloc fail(0, true);
        EXPECT_EQ(E_OUTOFMEMORY, QmList_MoveItemsBetweenHeapLists(to, 0, from, 0, -1));
    }
    EXPECT_EQ(4, to->count) << "what had moved stays moved";
    EXPECT_EQ(2, from->count);
    EXPECT_EQ(nullptr, to->pendingItem);
    EXPECT_EQ(2u, *QmList_Pointers<uint64_t>(to)[0]);
    EXPECT_EQ(1u, *QmList_Pointers<uint64_t>(from)[1]);
}

TEST(ListFailure, DeletingSucceedsWithoutMemory) {
    TestList list(QMLIST_ARRAY, 8, 200, 50);
    QmList_InsertList(list, 0, kItems, kSlots);
    FailAlloc fail(0, true);
    EXPECT_EQ(S_OK, QmList_DeleteList(list, 0, -1, 1));
    EXPECT_EQ(200, list->allocated) << "shrinking failed, deleting did not";
    EXPECT_EQ(0, list->count);
}
}  // namespace
