// Sorts: sorted results, and the fixed order of equal items.
#include "list_support.h"

#include <algorithm>
#include <cmath>
#include <functional>
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

/// What records in the table and pointers have both come to.
std::string TextOf(HQMLIST array, HQMLIST pointers) {
    std::string fromArray, fromPointers;
    for (const Tagged& t : QmList_Records<Tagged>(array)) fromArray += Text(t);
    for (const Tagged* t : QmList_Pointers<Tagged>(pointers)) fromPointers += Text(*t);
    EXPECT_EQ(fromArray, fromPointers);
    return fromArray;
}

/// Sorts as records in the table and as pointers.
std::string Sorted(Sort sort, const std::string& text) {
    std::vector<Tagged> items = Parse(text);
    TestList array(QMLIST_ARRAY, sizeof(Tagged)), pointers(0);
    QmList_InsertList(array, 0, items.data(), static_cast<int32_t>(items.size()));
    FillPointers(pointers, items);
    EXPECT_EQ(S_OK, sort(array, 1, CompareKeys));
    EXPECT_EQ(S_OK, sort(pointers, 1, CompareKeys));
    return TextOf(array, pointers);
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

void ExpectAscending(const std::string& sorted) {
    for (size_t i = 3; i < sorted.size(); i += 3) ASSERT_LE(sorted[i - 3], sorted[i]) << sorted;
}

TEST(ListSort, HeapSortOrdersEqualItemsAsItAlwaysDid) {
    for (size_t length = 0; length <= 8; length++)
        ForEachWord(length, [](const std::string& w) {
            const std::string s = Sorted(QmList_HeapSort, w);
            ASSERT_EQ(ReferenceHeapSort(w), s);
            ExpectAscending(s);
        });
}

TEST(ListSort, SelectionOrdersEqualItemsAsItAlwaysDid) {
    using Row = std::pair<const char*, const char*>;
    // The first of equal maxima goes to the end, and what was at the end takes its place.
    for (const auto& [before, after] :
         {Row{"1a 1b ", "1b 1a "}, Row{"2a 1b 2c ", "1b 2c 2a "}, Row{"1a 2b 2c ", "1a 2c 2b "},
          Row{"2a 2b 1c ", "1c 2b 2a "}, Row{"1a 1b 1c 1d ", "1b 1c 1d 1a "},
          Row{"3a 1b 3c 2d 1e ", "1b 1e 2d 3c 3a "}})
        EXPECT_EQ(after, Sorted(QmList_Sort, before));
    ForEachWord(7, [](const std::string& w) { ExpectAscending(Sorted(QmList_Sort, w)); });
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
    for (HQMLIST target : std::initializer_list<HQMLIST>{array, pointers, heap}) {
        EXPECT_EQ(S_OK, QmList_SortTo(target, source, 5, nullptr));
        EXPECT_EQ(0, target->count);
        EXPECT_EQ(S_OK, QmList_SortTo(target, source, 6, CompareKeys));
        EXPECT_EQ(6u, QmList_GetSortCriteria(target));
    }
    EXPECT_EQ("1e 1b 2f 2d 2c 2a ", TextOf(array, pointers));
    EXPECT_EQ(0, heap->count) << "a heap list does not take this form of insert";
    EXPECT_EQ(E_FAIL, QmList_SortTo(wide, source, 0, CompareKeys)) << "records would be read past their end";
    EXPECT_EQ(E_FAIL, QmList_SortTo(source, source, 0, CompareKeys));
}
}  // namespace
