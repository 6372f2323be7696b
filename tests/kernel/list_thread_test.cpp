// Locked lists under threads, the lock's recursion, and the thread owner.
#include "list_support.h"

#include <atomic>
#include <thread>

namespace {
TEST(ListThread, LockedListServesAllThreads) {
    constexpr int kThreads = 4, kRounds = 2000;
    for (uint32_t options :
         {QMLIST_ARRAY | QMLIST_LOCKED, QMLIST_HEAP | QMLIST_PRIVATE_HEAP | QMLIST_LOCKED}) {
        TestList list(options);
        std::atomic<bool> done{false};
        std::thread reader([&] {
            while (!done) {
                const int32_t n = std::atomic_ref(list->count).load(std::memory_order_relaxed);
                ASSERT_TRUE(n >= 0 && n <= kThreads * kRounds);
            }
        });
        std::vector<std::thread> writers;
        for (int t = 0; t < kThreads; t++)
            writers.emplace_back([&, t] {
                for (int i = 0; i < kRounds; i++) {
                    const int32_t value = t * kRounds + i;
                    ASSERT_EQ(S_OK, options & QMLIST_HEAP ? QmList_AllocAndInsertItem(
                                                                list, &value, sizeof(value), i % 7, nullptr)
                                                          : QmList_InsertList(list, i % 7, &value, 1));
                    ASSERT_EQ(S_OK, QmList_DeleteList(list, 0, i % 2, 1));
                }
            });
        for (std::thread& w : writers) w.join();
        done = true;
        reader.join();
        EXPECT_EQ(kThreads * kRounds / 2, list->count);
        ExpectSound(list);
    }
}

TEST(ListThread, ComparerMayCallBack) {
    static HQMLIST s_list;
    TestList list(QMLIST_ARRAY | QMLIST_LOCKED);
    Fill(list, {3, 1, 2});
    s_list = list;
    const auto compare = [](uintptr_t, const void* a, const void* b) -> int32_t {
        EXPECT_TRUE(QmList_IsValidIndexSlow(s_list, 2));
        return CompareValues(0, a, b);
    };
    EXPECT_EQ(S_OK, QmList_HeapSort(list, 0, compare));
    EXPECT_EQ((std::vector<int32_t>{1, 2, 3}), Values(list));

    // The lock has been left as often as it was taken: another thread gets it.
    std::thread([&] { EXPECT_EQ(S_OK, QmList_DeleteList(list, 0, 1, 0)); }).join();
    EXPECT_EQ(2, list->count);
}

TEST(ListThread, UserDataIsExchangedAtomically) {
    TestList list(0);
    constexpr uintptr_t kThreads = 4, kRounds = 5000;
    std::atomic<uintptr_t> sum{0};
    std::vector<std::thread> threads;
    for (uintptr_t t = 0; t < kThreads; t++)
        threads.emplace_back([&, t] {
            for (uintptr_t i = 1; i <= kRounds; i++) sum += QmList_SetUserData(list, t * kRounds + i);
        });
    for (std::thread& t : threads) t.join();
    const uintptr_t n = kThreads * kRounds;
    EXPECT_EQ(n * (n + 1) / 2, sum + QmList_GetUserData(list)) << "every value comes back exactly once";
}

/// Every operation with its failure value, on a list of another thread.
TEST(ListThread, OtherThreadsFailAtOnce) {
    TestList list(QMLIST_HEAP);
    int32_t value = 7;
    ASSERT_EQ(S_OK, QmList_AllocAndInsertItem(list, &value, 4, 0, nullptr));
    QmList_SetUserData(list, 5);
    list->options &= ~QMLIST_ANY_THREAD;
    EXPECT_EQ(1, QmList_IsValidIndexSlow(list, 0)) << "the owner goes on";
    std::thread([&] {
        const auto compare = [](uintptr_t, const void*, const void*) { return 0; };
        const auto find = [](const void*, const void*) { return 0; };
        int32_t index = 3;
        void* block = &value;
        tQMLIST record;
        HQMLIST self = list;
        EXPECT_EQ(E_FAIL, QmList_Destroy(list));
        EXPECT_EQ(E_FAIL, QmList_GrowAllocated(list, 1));
        EXPECT_EQ(E_FAIL, QmList_ShrinkAllocated(list, 1));
        EXPECT_EQ(E_FAIL, QmList_InsertList(list, 0, &block, -1));
        EXPECT_EQ(E_FAIL, QmList_DeleteList(list, 0, 1, 0));
        EXPECT_EQ(E_FAIL, QmList_ArrayForceItemCount(list, 0, 0));
        EXPECT_EQ(E_FAIL, QmList_MoveRange(list, 0, 1, 0));
        EXPECT_EQ(E_INVALIDARG, QmList_MoveRange(list, -1, 1, 0));
        EXPECT_EQ(E_FAIL, QmList_AllocItem(list, 4, &block));
        EXPECT_EQ(nullptr, block);
        EXPECT_EQ(E_FAIL, QmList_AllocAndInsertItem(list, nullptr, 4, 0, &index));
        EXPECT_EQ(-1, index);
        EXPECT_EQ(E_FAIL, QmList_ReAllocItem(list, 0, 8));
        EXPECT_EQ(E_FAIL, QmList_Sort(list, 1, compare));
        EXPECT_EQ(E_FAIL, QmList_HeapSort(list, 1, compare));
        EXPECT_EQ(E_FAIL, QmList_SortTo(list, list, 1, compare));
        EXPECT_EQ(E_FAIL, QmList_MoveItemsBetweenHeapLists(list, 0, list, 0, 0));
        EXPECT_EQ(E_FAIL, QmList_ConvertToInPlace(&self, &record));
        EXPECT_EQ(-1, QmList_AllocSize(list, 0));
        EXPECT_EQ(-1, QmList_FindSpecificItemRange(list, 0, -1, &value));
        EXPECT_EQ(-1, QmList_FindItemRange(list, 0, -1, &value, find));
        EXPECT_EQ(-1, QmList_FindSortedItemRange(list, &value, 0, -1, compare));
        EXPECT_EQ(-1, QmList_FindSortedInsertIndexRange(list, &value, 0, -1, compare));
        EXPECT_EQ(0, QmList_IsValidIndexSlow(list, 0));
        EXPECT_EQ(UINTPTR_MAX, QmList_SetUserData(list, 6));
        EXPECT_EQ(UINTPTR_MAX, QmList_GetUserData(list));
        EXPECT_EQ(UINTPTR_MAX, QmList_GetSortCriteria(list));
        EXPECT_EQ(UINT32_MAX, QmList_GetCreateOptions(list));
        EXPECT_EQ(S_OK, QmList_SetThreadOwner(list, 0)) << "the owner may change hands without the check";
        EXPECT_EQ(5u, QmList_GetUserData(list));
    }).join();
    EXPECT_EQ(0, QmList_IsValidIndexSlow(list, 0));
    EXPECT_EQ(S_OK, QmList_SetThreadOwner(list, 0));
    EXPECT_EQ(1, list->count);
}
}  // namespace
