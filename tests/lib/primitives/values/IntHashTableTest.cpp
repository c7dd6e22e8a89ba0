#include "primitives/values/IntHashTable.h"

#include <atomic>
#include <latch>
#include <map>
#include <thread>

#include "ValuesSupport.h"

namespace {

void* pointer(uintptr_t n) {
    return reinterpret_cast<void*>(n);
}

TEST(IntHashTable, HashMixesWithSignedShifts) {
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
        if (dice(3) == 0) {
            ASSERT_EQ(table.insert(key, pointer(step)), present ? IHT_EEXISTS : IHT_OK);
            model.emplace(key, pointer(step));
        } else if (dice(2)) {
            ASSERT_EQ(table.remove(key), model.erase(key) ? IHT_OK : IHT_EABSENT);
        } else {
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
    std::atomic<int> faults{0}, wins{0};
    std::latch start(THREADS);
    std::vector<std::jthread> threads;
    for (uint32_t t = 0; t < THREADS; ++t)
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            wins += table.insert(SHARED, nullptr) == IHT_OK;
            for (uint32_t key = t * KEYS; key < (t + 1) * KEYS; ++key) {
                void* value = nullptr;
                faults += table.insert(key, pointer(key + 1)) != IHT_OK;
                faults += table.inquire(key, &value) != IHT_OK || value != pointer(key + 1);
                faults += table.remove(key) != IHT_OK;
            }
        });
    threads.clear();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(wins, 1);
    EXPECT_EQ(table.remove(SHARED), IHT_OK);
}

} // namespace
