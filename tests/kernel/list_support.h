// Lists for the tests: made with fewer words, destroyed with their object, read back as plain vectors.
#pragma once

#include "kernel/list.h"
#include "platform/memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

class TestList {
public:
    explicit TestList(uint32_t options, uint32_t itemSize = 4, int32_t count = -1, int32_t growBy = -1) {
        EXPECT_EQ(S_OK, QmList_CreateExZ(&m_list, itemSize, count, growBy, options, 0, 0, 0));
    }
    ~TestList() { EXPECT_EQ(S_OK, QmList_Destroy(m_list)); }
    TestList(const TestList&) = delete;
    TestList& operator=(const TestList&) = delete;
    operator HQMLIST() const { return m_list; }
    HQMLIST operator->() const { return m_list; }

private:
    HQMLIST m_list = nullptr;
};

/// An array list of 32-bit values.
inline void Fill(HQMLIST list, const std::vector<int32_t>& values) {
    if (values.empty()) return;
    ASSERT_EQ(S_OK, QmList_InsertList(list, -1, values.data(), static_cast<int32_t>(values.size())));
}
/// A list of pointers to these items.
inline void FillPointers(HQMLIST list, auto& items) {
    for (auto& item : items) {
        void* p = &item;
        ASSERT_EQ(S_OK, QmList_InsertList(list, -1, &p, 1));
    }
}
inline std::vector<int32_t> Values(HQMLIST list) {
    const auto records = QmList_Records<int32_t>(list);
    return {records.begin(), records.end()};
}

/// What must hold of any list between operations.
inline void ExpectSound(HQMLIST list) {
    ASSERT_TRUE(0 <= list->count && list->count <= list->allocated)
        << list->count << " of " << list->allocated;
    ASSERT_EQ(0, list->allocated % list->growBy);
    const uint8_t* end = list->data + static_cast<size_t>(list->allocated) * list->itemSize;
    for (const uint8_t* p = list->data + static_cast<size_t>(list->count) * list->itemSize; p < end; p++)
        ASSERT_EQ(0, *p) << "free slots are not zero";
}

inline int32_t CompareValues(uintptr_t, const void* a, const void* b) {
    const int32_t x = *static_cast<const int32_t*>(a), y = *static_cast<const int32_t*>(b);
    return x < y ? -1 : x > y;
}
