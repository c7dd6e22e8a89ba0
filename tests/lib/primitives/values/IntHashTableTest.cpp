#include "primitives/values/IntHashTable.h"

#include <latch>
#include <map>
#include <thread>

#include "ValuesSupport.h"

namespace {

void* pointer(uintptr_t n) {
    return reinterpret_cast<void*>(n);
}

TEST(IntHashTable, HashMixesWithSignedShifts) {
    EXPECT_EQ(iht_func(1023, 0), 0u);
    EXPECT_EQ(iht_func(1023, 1), 731u);
    EXPECT_EQ(iht_func(1023, INT32_MIN), 1002u);
    EXPECT_DEATH(iht_func(0, 1), "size > 0");
}

TEST(IntHashTable, BehavesLikeAMapUnderRandomOperations) {
    Dice dice(3);
    IntHashTable table("small", 5, iht_func);
    std::map<uint32_t, void*> model;
    for (uintptr_t step = 1; step < 4000; ++step) {
        const uint32_t key = dice(2) ? dice(16) : 0xFFFFFFF0u + dice(16);
        const bool present = model.count(key) != 0;
        void* value = &value;
        switch (dice(3)) {
        case 0:
            ASSERT_EQ(table.insert(key, pointer(step)), present ? IHT_EEXISTS : IHT_OK);
            model.emplace(key, pointer(step));
            break;
        case 1: ASSERT_EQ(table.remove(key), model.erase(key) ? IHT_OK : IHT_EABSENT); break;
        case 2:
            ASSERT_EQ(table.inquire(key, &value), present ? IHT_OK : IHT_EABSENT);
            ASSERT_EQ(value, present ? model[key] : nullptr);
        }
    }
    for (const auto& [key, value] : model) EXPECT_EQ(table.remove(key), IHT_OK);
    EXPECT_EQ(IntHashTable().size(), 1023u);
}

// Each thread owns a range of keys and all fight for one more; few buckets make them share chains.
TEST(IntHashTable, ThreadsKeepTheirOwnEntriesAndOneWinsTheShared) {
    constexpr uint32_t THREADS = 4, KEYS = 200, SHARED = 0xFFFFFFFFu;
    IntHashTable table("threads", 3, iht_func);
    int wins[THREADS] = {}, faults[THREADS] = {};
    std::latch start(THREADS);
    std::vector<std::thread> threads;
    for (uint32_t t = 0; t < THREADS; ++t)
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            wins[t] = table.insert(SHARED, pointer(t + 1)) == IHT_OK;
            for (uint32_t key = t * KEYS; key < (t + 1) * KEYS; ++key) {
                void* value = nullptr;
                faults[t] += table.insert(key, pointer(key + 1)) != IHT_OK;
                faults[t] += table.inquire(key, &value) != IHT_OK || value != pointer(key + 1);
                if (key % 2) faults[t] += table.remove(key) != IHT_OK;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wins[0] + wins[1] + wins[2] + wins[3], 1);
    for (const int n : faults) EXPECT_EQ(n, 0);
    for (uint32_t key = 0; key < THREADS * KEYS; ++key)
        EXPECT_EQ(table.remove(key), key % 2 ? IHT_EABSENT : IHT_OK);
    EXPECT_EQ(table.remove(SHARED), IHT_OK);
}

} // namespace
