// Sorts: sorted results, and the fixed order of equal items.
#include "list_support.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <string>

namespace {
/// Equal keys are told apart by their tags.
struct Tagged {
    int32_t key;
    char tag[8];
};

int32_t CompareKeys(uintptr_t, const void* a, const void* b) {
    return static_cast<const Tagged*>(a)->key - static_cast<const Tagged*>(b)->key;
}

std::vector<Tagged> Parse(const std::string& text) {
    std::vector<Tagged> items;
    for (size_t i = 0; i + 1 < text.size(); i += 3) items.push_back({text[i], {text[i + 1]}});
    return items;
}

std::string Text(const Tagged& t) { return {static_cast<char>(t.key), t.tag[0], ' '}; }

using Sort = HRESULT (*)(HQMLIST, uintptr_t, QMLISTSORTPROC);

/// Sorts as records in the table and as pointers; both must come to the same.
std::string Sorted(Sort sort, const std::string& text) {
    std::vector<Tagged> items = Parse(text);
    TestList array(QMLIST_ARRAY, sizeof(Tagged)), pointers(0);
    QmList_InsertList(array, 0, items.data(), static_cast<int32_t>(items.size()));
    for (Tagged& t : items) {
        void* p = &t;
        QmList_InsertList(pointers, -1, &p, 1);
    }
    EXPECT_EQ(S_OK, sort(array, 1, CompareKeys));
    EXPECT_EQ(S_OK, sort(pointers, 1, CompareKeys));
    std::string fromArray, fromPointers;
    for (const Tagged& t : QmList_Records<Tagged>(array)) fromArray += Text(t);
    for (const Tagged* t : QmList_Pointers<Tagged>(pointers)) fromPointers += Text(*t);
    EXPECT_EQ(fromArray, fromPointers);
    return fromArray;
}

/// The heap sort told with positions counted from 1.
std::string ReferenceHeapSort(const std::string& text) {
    std::vector<Tagged> items = Parse(text);
    const auto count = items.size();
    const auto at = [&](size_t i) -> Tagged& { return items[i - 1]; };
    const auto after = [&](size_t a, size_t b) { return at(a).key > at(b).key; };
    const auto sift = [&](size_t i, size_t n) {
        size_t j = 2 * i;
        if (j < n && after(j + 1, j)) j++;
        for (;;) {
            if (after(j, i)) std::swap(at(j), at(i));
            i = j;
            j = 2 * i;
            if (j >= n) return;
            if (after(j + 1, j)) j++;
        }
    };
    for (size_t k = count / 2; k >= 2; k--) sift(k, count);
    for (size_t m = count; m >= 2; m--) sift(1, m), std::swap(at(1), at(m));
    std::string out;
    for (const Tagged& t : items) out += Text(t);
    return out;
}

/// All words of the given length over 1..3, each item tagged by its place.
void ForEachWord(size_t length, const std::function<void(const std::string&)>& f) {
    const auto words = static_cast<size_t>(std::pow(3, length));
    for (size_t w = 0; w < words; w++) {
        std::string text;
        for (size_t i = 0, rest = w; i < length; i++, rest /= 3)
            text += {static_cast<char>('1' + rest % 3), static_cast<char>('a' + i), ' '};
        f(text);
    }
}

TEST(ListSort, HeapSortOrdersEqualItemsAsItAlwaysDid) {
    for (size_t length = 0; length <= 8; length++)
        ForEachWord(length, [](const std::string& w) {
            ASSERT_EQ(ReferenceHeapSort(w), Sorted(QmList_HeapSort, w));
        });
}

TEST(ListSort, HeapSortSortsEveryPermutation) {
    for (size_t length = 1; length <= 8; length++) {
        std::vector<int32_t> items(length), sorted;
        std::iota(items.begin(), items.end(), 1);
        sorted = items;
        TestList list(QMLIST_ARRAY);
        do {
            QmList_DeleteList(list, 0, -1, 0);
            Fill(list, items);
            QmList_HeapSort(list, 0, CompareValues);
            ASSERT_EQ(sorted, Values(list));
        } while (std::next_permutation(items.begin(), items.end()));
    }
}

TEST(ListSort, SelectionOrdersEqualItemsAsItAlwaysDid) {
    struct Row {
        const char *before, *after;
    };
    // The first of equal maxima goes to the end, and what was at the end takes its place.
    for (const Row& r : {Row{"1a 1b ", "1b 1a "}, Row{"2a 1b 2c ", "1b 2c 2a "},
                         Row{"1a 2b 2c ", "1a 2c 2b "}, Row{"2a 2b 1c ", "1c 2b 2a "},
                         Row{"1a 1b 1c 1d ", "1b 1c 1d 1a "}, Row{"3a 1b 3c 2d 1e ", "1b 1e 2d 3c 3a "}})
        EXPECT_EQ(r.after, Sorted(QmList_Sort, r.before));
    ForEachWord(7, [](const std::string& w) {
        const std::string s = Sorted(QmList_Sort, w);
        for (size_t i = 3; i < s.size(); i += 3) ASSERT_LE(s[i - 3], s[i]) << w;
    });
}

TEST(ListSort, NullComparerOnlyStoresTheCriteria) {
    for (Sort sort : {&QmList_Sort, &QmList_HeapSort}) {
        TestList list(QMLIST_ARRAY);
        Fill(list, {3, 1, 2});
        EXPECT_EQ(S_OK, sort(list, 77, nullptr));
        EXPECT_EQ(77u, QmList_GetSortCriteria(list));
        EXPECT_EQ((std::vector<int32_t>{3, 1, 2}), Values(list));
    }
}

TEST(ListSort, SortToPlacesEqualItemsByTheProbing) {
    TestList source(QMLIST_ARRAY, sizeof(Tagged)), array(QMLIST_ARRAY, sizeof(Tagged)), pointers(0),
        heap(QMLIST_HEAP), wide(QMLIST_ARRAY, sizeof(Tagged) + 4);
    const std::vector<Tagged> items = Parse("2a 1b 2c 2d 1e 2f ");
    QmList_InsertList(source, 0, items.data(), 6);
    for (HQMLIST target :
         {static_cast<HQMLIST>(array), static_cast<HQMLIST>(pointers), static_cast<HQMLIST>(heap)}) {
        EXPECT_EQ(S_OK, QmList_SortTo(target, source, 5, nullptr));
        EXPECT_EQ(0, target->count);
        EXPECT_EQ(S_OK, QmList_SortTo(target, source, 6, CompareKeys));
        EXPECT_EQ(6u, QmList_GetSortCriteria(target));
    }
    std::string fromArray, fromPointers;
    for (const Tagged& t : QmList_Records<Tagged>(array)) fromArray += Text(t);
    for (const Tagged* t : QmList_Pointers<Tagged>(pointers)) fromPointers += Text(*t);
    EXPECT_EQ("1e 1b 2f 2d 2c 2a ", fromArray);
    EXPECT_EQ(fromArray, fromPointers);
    EXPECT_EQ(0, heap->count) << "a heap list does not take this form of insert";
    EXPECT_EQ(E_FAIL, QmList_SortTo(wide, source, 0, CompareKeys)) << "records would be read past their end";
    EXPECT_EQ(E_FAIL, QmList_SortTo(source, source, 0, CompareKeys));
}
}  // namespace
