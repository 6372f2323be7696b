// The list's rows for the program that measures the peers' tables; its harness and data stand beside it
// there.
#include "peers.h"

#include "kernel/list.h"

#include <memory>

namespace {
struct Obj {
    int64_t key;
    int64_t pad[7];
};

/// The same records, order and probes as the peers' rows have.
struct Data {
    std::vector<Obj> pool;
    std::vector<Obj*> random, ascending;
    std::vector<int64_t> probes;

    explicit Data(size_t n) : pool(n) {
        peers::Rng rng(9);
        for (size_t i = 0; i < n; i++) {
            pool[i].key = static_cast<int64_t>(i) * 2 + 1;
            ascending.push_back(&pool[i]);
        }
        random = ascending;
        for (size_t i = n - 1; i > 0; i--) std::swap(random[i], random[rng() % (i + 1)]);
        for (int i = 0; i < 4096; i++) probes.push_back(static_cast<int64_t>(rng() % (2 * n)));
    }
};
const Data& data(size_t n) {
    static const Data small(10000), large(1000000);
    return n == small.pool.size() ? small : large;
}

int32_t CompareObjects(uintptr_t, const void* a, const void* b) {
    const int64_t x = static_cast<const Obj*>(a)->key, y = static_cast<const Obj*>(b)->key;
    return x < y ? -1 : x > y;
}
int32_t CompareAddresses(uintptr_t, const void* a, const void* b) { return a < b ? -1 : a > b; }
int32_t CompareKey(uintptr_t, const void* key, const void* item) {
    const int64_t x = *static_cast<const int64_t*>(key), y = static_cast<const Obj*>(item)->key;
    return x < y ? -1 : x > y;
}

struct List {
    HQMLIST list = nullptr;
    List() { QmList_CreateExZ(&list, 0, -1, -1, 0, 0, 0, 0); }
    explicit List(const std::vector<Obj*>& items) : List() {
        QmList_InsertList(list, 0, items.data(), static_cast<int32_t>(items.size()));
    }
    ~List() { QmList_Destroy(list); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;
};

void add(const char* work, const char* size, size_t items, std::function<std::function<void()>()> setup) {
    peers::row(work, "ours", size, static_cast<double>(items), 0, std::move(setup));
}

void insertRow(const char* work, QMLISTSORTPROC compare, const std::vector<Obj*> Data::*order) {
    add(work, "10k", 10000, [=] {
        const auto* source = &(data(10000).*order);
        return [=] {
            const List l;
            for (Obj* o : *source)
                QmList_InsertList(l.list, QmList_FindSortedInsertIndexRange(l.list, o, 0, -1, compare), &o,
                                  1);
        };
    });
}

void findRow(const char* size, size_t n) {
    add("find_keyed", size, 4096, [=] {
        auto l = std::make_shared<List>(data(n).ascending);
        return [=] {
            size_t hits = 0;
            for (int64_t key : data(n).probes)
                hits += QmList_FindSortedItemRange(l->list, &key, 0, -1, CompareKey) >= 0;
            benchmark::DoNotOptimize(hits);
        };
    });
}

peers::AddRows rows([] {
    insertRow("insert_sorted_keyed_random", CompareObjects, &Data::random);
    insertRow("insert_sorted_ptr_random", CompareAddresses, &Data::random);
    insertRow("insert_sorted_keyed_ascending", CompareObjects, &Data::ascending);
    findRow("10k", 10000);
    findRow("1M", 1000000);
    add("append_no_reserve", "10k", 10000, [] {
        return [] {
            const List l;
            for (Obj* o : data(10000).random) QmList_InsertList(l.list, -1, &o, 1);
        };
    });
    add("erase_front_all", "10k", 10000, [] {
        return [] {
            const List l(data(10000).random);
            while (l.list->count) QmList_DeleteList(l.list, 0, 1, 0);
        };
    });
});
}  // namespace
