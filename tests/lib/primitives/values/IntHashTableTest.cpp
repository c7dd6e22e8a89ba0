#include "primitives/values/IntHashTable.h"

#include "ValuesSupport.h"

TEST(IntHashTable, HashMixesWithSignedShifts) {
    EXPECT_EQ(iht_func(1023, 1), 731u);
    EXPECT_EQ(iht_func(1023, INT32_MIN), 1002u);
}

static std::atomic<int> inside{0}, overlaps{0};

// Runs within the table's lock: two threads never meet here.
static uint32_t slow_hash(uint32_t size, int32_t key) {
    overlaps += inside.fetch_add(1) != 0;
    std::this_thread::yield();
    --inside;
    return iht_func(size, key);
}

// Each thread owns a range of keys and all fight for one more; few buckets make them share chains.
TEST(IntHashTable, ThreadsKeepTheirOwnEntriesAndOneWinsTheShared) {
    constexpr uint32_t THREADS = 4, KEYS = 200, SHARED = 0xFFFFFFFFu;
    IntHashTable table("threads", 3, slow_hash);
    std::atomic<int> faults{0}, wins{0};
    std::latch start(THREADS);
    std::vector<std::jthread> threads;
    for (uint32_t t = 0; t < THREADS; ++t)
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            wins += table.insert(SHARED, nullptr) == IHT_OK;
            const uint32_t first = t * KEYS, end = first + KEYS;
            void* found = &table;
            for (uint32_t key = first; key < end; ++key) {
                faults += table.inquire(key, &found) != IHT_EABSENT || found != nullptr;
                faults +=
                    table.insert(key, &faults + key) != IHT_OK || table.insert(key, nullptr) != IHT_EEXISTS;
            }
            for (uint32_t key = first; key < end; ++key) {
                faults += table.inquire(key, &found) != IHT_OK || found != &faults + key;
                faults += table.remove(key) != IHT_OK || table.remove(key) != IHT_EABSENT;
            }
        });
    threads.clear();
    EXPECT_EQ(faults + overlaps, 0);
    EXPECT_TRUE(wins == 1 && table.remove(SHARED) == IHT_OK);
}
