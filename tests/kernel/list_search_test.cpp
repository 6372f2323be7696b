// Searches, and which of several equal items the sorted ones find.
#include "list_support.h"

namespace {
using Ints = std::vector<int32_t>;

struct Outcome {
    int32_t found, insertAt;
    bool operator==(const Outcome&) const = default;
};

/// The probing told step by step, with both ends and the number of items kept apart.
Outcome Reference(const Ints& items, int32_t key, int32_t start, int32_t number) {
    const auto count = static_cast<int32_t>(items.size());
    start = std::max(start, 0);
    if (start > count) return {-1, -1};
    number = number < 0 ? count - start : std::min(number, count - start);
    if (number < 1) return {-1, 0};
    int32_t lo = start, hi = start + number - 1, num = number, candidate = 0;
    while (lo <= hi) {
        const int32_t half = num / 2;
        const int32_t mid = half == 0 ? lo : num % 2 ? lo + half : lo + half - 1;
        const int32_t item = items[static_cast<size_t>(mid)];
        if (key == item) return {mid, mid};
        candidate = key < item ? mid : mid + 1;
        if (half == 0) break;
        if (key < item) {
            hi = mid - 1;
            num = num % 2 ? half : half - 1;
        } else {
            lo = mid + 1;
            num = half;
        }
    }
    return {-1, candidate};
}

/// All non-decreasing sequences of the given length over 1, 3, 5.
std::vector<Ints> Sequences(size_t length) {
    std::vector<Ints> all;
    for (size_t a = 0; a <= length; a++)
        for (size_t b = a; b <= length; b++) {
            Ints s(length, 5);
            std::fill_n(s.begin(), b, 3);
            std::fill_n(s.begin(), a, 1);
            all.push_back(s);
        }
    return all;
}

TEST(ListSearch, ProbingIsExactForEverySequenceRangeAndKey) {
    for (size_t length = 0; length <= 11; length++)
        for (const Ints& items : Sequences(length)) {
            TestList array(QMLIST_ARRAY), pointers(0);
            Ints pool = items;
            Fill(array, items);
            FillPointers(pointers, pool);
            const auto n = static_cast<int32_t>(length);
            for (int32_t key = 0; key <= 6; key++)
                for (int32_t start = -1; start <= n + 1; start++)
                    for (int32_t number = -1; number <= n + 1; number++)
                        for (HQMLIST list : std::initializer_list<HQMLIST>{array, pointers}) {
                            const Outcome got{
                                QmList_FindSortedItemRange(list, &key, start, number, CompareValues),
                                QmList_FindSortedInsertIndexRange(list, &key, start, number, CompareValues)};
                            ASSERT_EQ(Reference(items, key, start, number), got)
                                << length << " items, key " << key << ", range " << start << ',' << number;
                        }
        }
}

TEST(ListSearch, ComparersGetTheStoredCriteria) {
    TestList list(QMLIST_ARRAY);
    Fill(list, {1, 2, 3});
    const auto compare = [](uintptr_t criteria, const void*, const void*) { return criteria == 42 ? 0 : 1; };
    EXPECT_EQ(-1, QmList_FindSortedItemRange(list, nullptr, 0, -1, compare));
    EXPECT_EQ(S_OK, QmList_Sort(list, 42, nullptr));
    EXPECT_EQ(1, QmList_FindSortedItemRange(list, nullptr, 0, -1, compare));
    EXPECT_EQ(1, QmList_FindSortedInsertIndexRange(list, nullptr, 0, -1, compare));
}

TEST(ListSearch, LinearSearchesKeepToTheirRange) {
    using Row = std::array<int32_t, 3>;
    const std::array<uint32_t, 3> records[] = {{1, 1, 1}, {7, 7, 8}, {7, 7, 7}, {1, 1, 1}, {7, 7, 7}};
    TestList array(QMLIST_ARRAY, sizeof(records[0])), pointers(0);
    ASSERT_EQ(S_OK, QmList_InsertList(array, 0, records, 5));
    char a, b, c;
    char* const items[] = {&a, &b, &c, &a, &c};
    ASSERT_EQ(S_OK, QmList_InsertList(pointers, 0, items, 5));
    for (const auto& [start, number, result] :
         {Row{0, -1, 2}, Row{-5, 99, 2}, Row{0, 2, -1}, Row{0, 3, 2}, Row{3, -1, 4}, Row{3, 1, -1},
          Row{4, 1, 4}, Row{5, -1, -1}, Row{9, INT32_MAX, -1}, Row{2, 0, -1}}) {
        EXPECT_EQ(result, QmList_FindSpecificItemRange(array, start, number, &records[2])) << start;
        EXPECT_EQ(result, QmList_FindSpecificItemRange(pointers, start, number, &c)) << start;
        const auto find = [](const void* key, const void* item) -> int32_t { return key != item; };
        EXPECT_EQ(result, QmList_FindItemRange(pointers, start, number, &c, find)) << start;
        const auto record = [](const void* key, const void* item) { return std::memcmp(key, item, 12); };
        EXPECT_EQ(result, QmList_FindItemRange(array, start, number, &records[2], record)) << start;
    }
    EXPECT_EQ(-1, QmList_FindSpecificItemRange(pointers, 0, -1, nullptr)) << "free slots are not searched";
}

}  // namespace
