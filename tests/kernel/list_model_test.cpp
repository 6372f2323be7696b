// Long random runs of every editing operation, on each kind of list, beside a model made of std::vector.
#include "list_support.h"

#include <algorithm>
#include <array>
#include <random>

using namespace tarn;

namespace {
/// What the items of a kind look like. An id stands for one item; 0 is an empty slot.
struct Kind {
    const char* name;
    uint32_t options;
    uint32_t itemSize;

    bool Array() const { return options & QMLIST_ARRAY; }
    bool Heap() const { return options & QMLIST_HEAP; }
};

constexpr size_t kPool = 1 << 16;
char g_pool[kPool];  // pointer items point here

using Record = std::array<uint32_t, 3>;
Record RecordOf(uint32_t id) { return id ? Record{id, ~id, id * 77} : Record{}; }

/// Block sizes from one byte to past what a chunk of the private heap holds.
size_t BlockBytes(uint32_t id) { return id % 50 == 0 ? 40000 + id % 999 : 4 + id * 7 % 600; }

void FillBlock(void* block, uint32_t id, size_t bytes) {
    std::memset(block, static_cast<int>(id % 251), bytes);
    std::memcpy(block, &id, sizeof(id));
}

/// `deep` reads the whole of a block.
uint32_t IdOf(const Kind& kind, HQMLIST list, int32_t index, bool deep) {
    if (kind.Array()) {
        const auto record = QmList_Records<Record>(list).data()[index];
        EXPECT_EQ(RecordOf(record[0]), record);
        return record[0];
    }
    void* item = QmList_Pointers<void>(list).data()[index];
    if (!item) return 0;
    if (!kind.Heap()) return static_cast<uint32_t>(static_cast<char*>(item) - g_pool);
    uint32_t id;
    std::memcpy(&id, item, sizeof(id));
    if (!deep) return id;
    const auto* bytes = static_cast<const uint8_t*>(item);
    const size_t size = BlockBytes(id);
    EXPECT_GE(QmList_AllocSize(list, index), static_cast<intptr_t>(size));
    EXPECT_TRUE(std::all_of(bytes + 4, bytes + size, [&](uint8_t b) { return b == id % 251; })) << id;
    return id;
}

class ModelRun {
public:
    ModelRun(const Kind& kind, uint32_t seed)
        : m_kind(kind), m_list(kind.options, kind.itemSize, 1, 5), m_random(seed) {
        m_slots.assign(5, 0);
    }

    void Step() {
        using Operation = void (ModelRun::*)();
        static constexpr Operation kOperations[] = {&ModelRun::Insert, &ModelRun::Insert, &ModelRun::Insert,
                                                    &ModelRun::Delete, &ModelRun::Delete, &ModelRun::Move,
                                                    &ModelRun::Move,   &ModelRun::Force,  &ModelRun::Resize,
                                                    &ModelRun::Resize, &ModelRun::Grow,   &ModelRun::Shrink};
        (this->*kOperations[Below(std::size(kOperations))])();
    }

    void Check(bool deep) {
        ASSERT_EQ(m_count, m_list->count);
        ASSERT_EQ(m_slots.size(), static_cast<size_t>(m_list->allocated));
        for (int32_t i = 0; i < m_list->allocated; i++)
            ASSERT_EQ(m_slots[At(i)], IdOf(m_kind, m_list, i, deep)) << i;
    }

private:
    int32_t Below(size_t n) { return static_cast<int32_t>(m_random() % n); }
    static size_t At(int64_t i) { return static_cast<size_t>(i); }
    int32_t Step(int64_t slots) const { return static_cast<int32_t>((slots + 4) / 5 * 5); }

    void Insert() {
        const int32_t n = m_kind.Heap() ? 1 : Below(12);
        const int32_t index = Below(At(m_count + 4)) - 2;
        std::vector<uint32_t> ids(At(n));
        for (uint32_t& id : ids) id = m_nextId++ % (kPool - 1) + 1;
        (this->*(m_kind.Heap() ? &ModelRun::InsertBlock : &ModelRun::InsertItems))(index, ids);

        if (m_count + n > m_list->allocated) FAIL() << "inserted without room";
        if (m_count + n > static_cast<int32_t>(m_slots.size())) m_slots.resize(m_slots.size() + At(Step(n)));
        const int32_t at = index < 0 || index > m_count ? m_count : index;
        std::copy_backward(m_slots.begin() + at, m_slots.begin() + m_count, m_slots.begin() + m_count + n);
        std::copy(ids.begin(), ids.end(), m_slots.begin() + at);
        m_count += n;
    }

    void InsertItems(int32_t index, const std::vector<uint32_t>& ids) {
        std::vector<Record> records;
        std::vector<void*> pointers;
        for (uint32_t id : ids) records.push_back(RecordOf(id)), pointers.push_back(g_pool + id);
        records.reserve(1), pointers.reserve(1);
        const void* source = m_kind.Array() ? static_cast<void*>(records.data()) : pointers.data();
        const auto n = static_cast<int32_t>(ids.size());
        ASSERT_EQ(S_OK, QmList_InsertList(m_list, index, source, Below(2) ? n : -n));
    }

    void InsertBlock(int32_t index, const std::vector<uint32_t>& ids) {
        const size_t bytes = BlockBytes(ids[0]);
        std::vector<char> content(bytes);
        FillBlock(content.data(), ids[0], bytes);
        const int way = Below(m_list->heap ? 2 : 3);
        if (way == 0) {
            int32_t at = -2;
            ASSERT_EQ(S_OK, QmList_AllocAndInsertItem(m_list, content.data(), bytes, index, &at));
            ASSERT_EQ(index < 0 || index > m_count ? m_count : index, at);
        } else if (way == 1) {
            void* block = nullptr;
            ASSERT_EQ(S_OK, QmList_AllocItem(m_list, bytes, &block));
            auto* p = static_cast<const uint8_t*>(block);
            ASSERT_TRUE(std::all_of(p, p + bytes, [](uint8_t b) { return b == 0; }))
                << "a new block is not zero";
            ASSERT_EQ(0u, reinterpret_cast<uintptr_t>(block) % 16);
            FillBlock(block, ids[0], bytes);
            ASSERT_EQ(S_OK, QmList_InsertList(m_list, index, nullptr, -1));
        } else {
            void* block = MemAlloc(bytes);
            FillBlock(block, ids[0], bytes);
            ASSERT_EQ(S_OK, QmList_InsertList(m_list, index, &block, -1));
        }
    }

    void Delete() {
        if (m_count == 0) return;
        // Few at a time, so that lists grow long; now and then all that follows.
        const int32_t index = Below(At(m_count)), n = Below(60) ? Below(m_kind.Heap() ? 3 : 9) : -1;
        const bool shrink = Below(4) == 0;
        ASSERT_EQ(S_OK, QmList_DeleteList(m_list, index, n, shrink));
        const int32_t cut = n < 0 ? m_count - index : std::min(n, m_count - index);
        if (cut < 1) return;
        std::copy(m_slots.begin() + index + cut, m_slots.begin() + m_count, m_slots.begin() + index);
        m_count -= cut;
        std::fill_n(m_slots.begin() + m_count, cut, 0);
        if (shrink) Release(static_cast<int32_t>(m_slots.size()) - m_count, 5);
    }

    /// Gives back whole steps of what is free, when more than `least` is.
    void Release(int32_t slots, int32_t least) {
        const int32_t free = static_cast<int32_t>(m_slots.size()) - m_count;
        if (free > least)
            m_slots.resize(m_slots.size() - At(Step(slots) > free ? Step(slots) - 5 : Step(slots)));
    }

    void Shrink() {
        const int32_t free = static_cast<int32_t>(m_slots.size()) - m_count;
        const int32_t n = Below(At(free + 1));
        ASSERT_EQ(S_OK, QmList_ShrinkAllocated(m_list, n));
        Release(n, -1);
    }

    void Grow() {
        if (m_slots.size() > 2000) return;
        const int32_t n = Below(15) - 3;
        ASSERT_EQ(S_OK, QmList_GrowAllocated(m_list, n));
        m_slots.resize(m_slots.size() + At(n < 1 ? 5 : Step(n)));
    }

    void Move() {
        if (m_count == 0) return;
        const int32_t from = Below(At(m_count)), to = Below(At(m_count));
        const int32_t room = m_count - std::max(from, to), n = Below(3) ? Below(At(room)) + 1 : -1;
        ASSERT_EQ(S_OK, QmList_MoveRange(m_list, from, to, n));
        const int32_t len = n < 0 ? room : n;
        const auto s = m_slots.begin();
        from < to ? std::rotate(s + from, s + from + len, s + to + len)
                  : std::rotate(s + to, s + from, s + from + len);
    }

    void Force() {
        if (!m_kind.Array()) return;
        const int32_t n = Below(m_slots.size() + 8);
        ASSERT_EQ(S_OK, QmList_ArrayForceItemCount(m_list, n, Below(2)));
        const auto have = static_cast<int32_t>(m_slots.size());
        if (n > have) m_slots.resize(At(have + Step(n - have)));
        m_count = n;
    }

    void Resize() {
        if (!m_kind.Heap() || m_count == 0) return;
        const int32_t index = Below(At(m_count));
        const uint32_t id = m_nextId++;
        const size_t bytes = BlockBytes(id), kept = std::min(bytes, BlockBytes(m_slots[At(index)]));
        uint8_t old[4];
        std::memcpy(old, QmList_Pointers<void>(m_list)[At(index)], std::min<size_t>(kept, 4));
        ASSERT_EQ(S_OK, QmList_ReAllocItem(m_list, index, bytes));
        void* block = QmList_Pointers<void>(m_list)[At(index)];
        ASSERT_EQ(0, std::memcmp(old, block, std::min<size_t>(kept, 4)));
        FillBlock(block, id, bytes);
        m_slots[At(index)] = id;
    }

    Kind m_kind;
    TestList m_list;
    std::mt19937 m_random;
    std::vector<uint32_t> m_slots;  ///< the whole table, free slots too
    int32_t m_count = 0;
    uint32_t m_nextId = 1;
};

class ListModel : public testing::TestWithParam<Kind> {};

TEST_P(ListModel, FollowsTheVector) {
    for (uint32_t seed = 1; seed <= 20; seed++) {
        ModelRun run(GetParam(), seed);
        for (int i = 0; i < 1500; i++) {
            run.Step();
            ASSERT_NO_FATAL_FAILURE(run.Check(i % 50 == 49)) << "seed " << seed << ", step " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, ListModel,
                         testing::Values(Kind{"pointer", 0, 0}, Kind{"array", QMLIST_ARRAY, sizeof(Record)},
                                         Kind{"heap", QMLIST_HEAP, 0},
                                         Kind{"privateHeap", QMLIST_HEAP | QMLIST_PRIVATE_HEAP, 0},
                                         Kind{"lockedHeap", QMLIST_HEAP | QMLIST_LOCKED, 0}),
                         [](const auto& kind) { return kind.param.name; });
}  // namespace
