#include "primitives/values/IntHashTable.h"

#include <atomic>
#include <latch>
#include <thread>

#include "ValuesSupport.h"

namespace {

TEST(IntHashTable, HashMixesWithSignedShifts) {
    EXPECT_EQ(iht_func(1023, 1), 731u);
    EXPECT_EQ(iht_func(1023, INT32_MIN), 1002u);
}

// Each thread owns a range of keys and all fight for one more; few buckets make them share chains.
TEST(IntHashTable, ThreadsKeepTheirOwnEntriesAndOneWinsTheShared) {
    constexpr uint32_t THREADS = 4, KEYS = 1000, SHARED = 0xFFFFFFFFu;
    IntHashTable table("threads", 3, iht_func);
    std::atomic<int> faults{0}, wins{0};
    std::latch start(THREADS);
    std::vector<std::jthread> threads;
    for (uint32_t t = 0; t < THREADS; ++t)
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            wins += table.insert(SHARED, nullptr) == IHT_OK;
            const auto each_key = [&](auto check) {
                for (uint32_t key = t * KEYS; key < (t + 1) * KEYS; ++key)
                    faults += !check(key, reinterpret_cast<void*>(uintptr_t{key} + 1));
            };
            void* found = &found;
            each_key(
                [&](uint32_t key, void*) { return table.inquire(key, &found) == IHT_EABSENT && !found; });
            each_key([&](uint32_t key, void* value) { return table.insert(key, value) == IHT_OK; });
            each_key([&](uint32_t key, void*) { return table.insert(key, nullptr) == IHT_EEXISTS; });
            each_key([&](uint32_t key, void* value) {
                return table.inquire(key, &found) == IHT_OK && found == value;
            });
            each_key([&](uint32_t key, void*) { return table.remove(key) == IHT_OK; });
            each_key([&](uint32_t key, void*) { return table.remove(key) == IHT_EABSENT; });
        });
    threads.clear();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(wins, 1);
    EXPECT_EQ(table.remove(SHARED), IHT_OK);
}

} // namespace
