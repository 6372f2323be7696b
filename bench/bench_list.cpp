// The list beside std::vector, on pointers to records with a 64-bit key, 10,000 of them.
#include "kernel/list.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace {
constexpr size_t kItems = 10000;
constexpr int kProbes = 1 << 16;

struct Record {
    int64_t key;
    int64_t rest[7];
};

struct Data {
    std::vector<Record> records{kItems};
    std::vector<Record*> ascending, shuffled;
    std::vector<int64_t> probes;  ///< half of them hit; more than a branch predictor can learn by heart

    Data() {
        for (size_t i = 0; i < kItems; i++) {
            records[i].key = static_cast<int64_t>(2 * i + 1);
            ascending.push_back(&records[i]);
        }
        std::mt19937 random(9);
        shuffled = ascending;
        std::shuffle(shuffled.begin(), shuffled.end(), random);
        for (int i = 0; i < kProbes; i++) probes.push_back(static_cast<int64_t>(random() % (2 * kItems)));
    }
};
const Data& data() {
    static const Data d;
    return d;
}

bool KeyLess(const Record* a, const Record* b) { return a->key < b->key; }

int32_t CompareRecords(uintptr_t, const void* a, const void* b) {
    const int64_t x = static_cast<const Record*>(a)->key, y = static_cast<const Record*>(b)->key;
    return x < y ? -1 : x > y;
}
int32_t CompareKey(uintptr_t, const void* key, const void* item) {
    const int64_t x = *static_cast<const int64_t*>(key), y = static_cast<const Record*>(item)->key;
    return x < y ? -1 : x > y;
}

struct List {
    HQMLIST list = nullptr;
    List() { QmList_CreateExZ(&list, 0, -1, -1, 0, 0, 0, 0); }
    explicit List(const std::vector<Record*>& items) : List() {
        QmList_InsertList(list, 0, items.data(), static_cast<int32_t>(items.size()));
    }
    ~List() { QmList_Destroy(list); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    operator HQMLIST() const { return list; }
};

void insertSortedVector(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<Record*> v;
        for (Record* r : data().shuffled) v.insert(std::lower_bound(v.begin(), v.end(), r, KeyLess), r);
        benchmark::DoNotOptimize(v.data());
    }
}
void insertSortedList(benchmark::State& state) {
    for (auto _ : state) {
        const List list;
        for (Record* r : data().shuffled)
            QmList_InsertList(list, QmList_FindSortedInsertIndexRange(list, r, 0, -1, CompareRecords), &r, 1);
    }
}

void findSortedVector(benchmark::State& state) {
    const auto& v = data().ascending;
    for (auto _ : state)
        for (int64_t key : data().probes) {
            const auto it = std::lower_bound(v.begin(), v.end(), key,
                                             [](const Record* r, int64_t k) { return r->key < k; });
            benchmark::DoNotOptimize(it != v.end() && (*it)->key == key);
        }
    state.SetItemsProcessed(state.iterations() * kProbes);
}
void findSortedList(benchmark::State& state) {
    const List list(data().ascending);
    for (auto _ : state)
        for (int64_t key : data().probes)
            benchmark::DoNotOptimize(QmList_FindSortedItemRange(list, &key, 0, -1, CompareKey));
    state.SetItemsProcessed(state.iterations() * kProbes);
}

void appendVector(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<Record*> v;
        for (Record* r : data().shuffled) v.push_back(r);
        benchmark::DoNotOptimize(v.data());
    }
}
void appendList(benchmark::State& state) {
    for (auto _ : state) {
        const List list;
        for (Record* r : data().shuffled) QmList_InsertList(list, -1, &r, 1);
    }
}

void deleteFrontVector(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<Record*> v(data().shuffled);
        while (!v.empty()) v.erase(v.begin());
    }
}
void deleteFrontList(benchmark::State& state) {
    for (auto _ : state) {
        const List list(data().shuffled);
        while (list.list->count) QmList_DeleteList(list, 0, 1, 0);
    }
}

void findLinearVector(benchmark::State& state) {
    const auto& v = data().shuffled;
    for (auto _ : state) benchmark::DoNotOptimize(std::find(v.begin(), v.end(), v.back()));
}
void findLinearList(benchmark::State& state) {
    const List list(data().shuffled);
    for (auto _ : state)
        benchmark::DoNotOptimize(QmList_FindSpecificItemRange(list, 0, -1, data().shuffled.back()));
}

void blocksVector(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<std::unique_ptr<Record>> v;
        for (size_t i = 0; i < kItems; i++) v.push_back(std::make_unique<Record>());
        benchmark::DoNotOptimize(v.data());
    }
}
void blocksList(benchmark::State& state) {
    for (auto _ : state) {
        HQMLIST list;
        QmList_CreateExZ(&list, 0, -1, -1, static_cast<uint32_t>(state.range(0)), 0, 0, 0);
        for (size_t i = 0; i < kItems; i++)
            QmList_AllocAndInsertItem(list, nullptr, sizeof(Record), -1, nullptr);
        QmList_Destroy(list);
    }
}

BENCHMARK(insertSortedVector);
BENCHMARK(insertSortedList);
BENCHMARK(findSortedVector);
BENCHMARK(findSortedList);
BENCHMARK(appendVector);
BENCHMARK(appendList);
BENCHMARK(deleteFrontVector);
BENCHMARK(deleteFrontList);
BENCHMARK(findLinearVector);
BENCHMARK(findLinearList);
BENCHMARK(blocksVector)->Name("ownedBlocksVector");
BENCHMARK(blocksList)->Name("ownedBlocksList/heap")->Arg(QMLIST_HEAP);
BENCHMARK(blocksList)->Name("ownedBlocksList/privateHeap")->Arg(QMLIST_HEAP | QMLIST_PRIVATE_HEAP);
}  // namespace
