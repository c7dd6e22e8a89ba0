// The allocator's counters in a process with several threads.
#include "primitives/memory/ThreadCounters.h"

#include "support/ChildProcess.h"
#include "support/FailingMalloc.h"
#include "support/Prelude.h"

#include <barrier>

namespace {

void* get(int size) {
    return taq_mem.get(0, static_cast<size_t>(size), MEM_FFDC);
}
void release(void* p) {
    taq_mem.release(p, MEM_FFDC);
}

using Counts = std::array<int, 6>;
Counts counts() {
    return {taq_mem.count(MEM_FFDC), taq_mem.type_bytes(MEM_FFDC),
            taq_mem.count(MEM_MISC), taq_mem.type_bytes(MEM_MISC),
            taq_mem.overage(),       taq_mem.total_bytes()};
}
Counts with(const Counts& c, int blocks, int bytes) {
    return {c[0] + blocks, c[1] + bytes, c[2], c[3], c[4] + 16 * blocks, c[5] + bytes};
}

int parts() {
    int count = 0;
    for (auto* part = ThreadCounters::newest(); part != nullptr; part = part->older()) ++count;
    return count;
}

TEST(ThreadCounters, PublishAtTheirBounds) {
    const std::tuple<uint32_t, int> cases[] = {{0, 64},  {63, 64},  {65, 64},
                                               {66, 63}, {4095, 2}, {UINT32_MAX - 16, 1}};
    for (const auto& c : cases)
        for (const bool freed : {false, true}) {
            const auto [size, expected] = c;
            ThreadCounters part;
            uint32_t calls = 1;
            while (!(freed ? part.add<true>(size, MEM_LOG) : part.add<false>(size, MEM_LOG))) ++calls;
            EXPECT_NEAR(expected, calls, freed) << size;
            const ThreadCounters::Net net = part.take_unpublished();
            const uint32_t n = freed ? 0 - calls : calls;
            EXPECT_TRUE(net.blocks() == n && net.bytes() == n * size && part.unpublished().sum == 0) << size;
        }
}

// Each thread frees most blocks of its neighbour, and the main thread the rest.
TEST(ThreadCounters, AreExactAtRestAndNearAtThePeak) {
    constexpr int THREADS = 4, BLOCKS = 2000, SIZES = 1000;
    std::array<std::array<void*, BLOCKS>, THREADS> blocks;
    for (int round = 0; round < 20; ++round) {
        std::vector<std::thread> threads(THREADS);
        const Counts before = counts();
        const Counts peak = with(before, THREADS * BLOCKS, THREADS * BLOCKS * (SIZES - 1) / 2);
        std::barrier together(THREADS);
        const auto run = [&](size_t t) {
            for (int i = 0; void*& p : blocks[t]) p = get(i++ % SIZES);
            together.arrive_and_wait();
            const auto in_the_child = [&] {
                const Counts all = counts();
                release(blocks[1][10]);
                return all[0] != peak[0] || all[1] != peak[1] || counts() != with(all, -1, -10);
            };
            if (t == 0) {
                EXPECT_EQ(0, in_child(in_the_child));
            }
            together.arrive_and_wait();
            for (size_t i = 500; i < BLOCKS; ++i)
                release(std::exchange(blocks[(t + 1) % THREADS][i], nullptr));
        };
        for (size_t t = 0; t < THREADS; ++t) threads[t] = std::thread(run, t);
        for (auto& thread : threads) thread.join();
        for (auto& row : blocks) std::for_each(row.begin(), row.end(), release);
        EXPECT_EQ(before, counts());
        EXPECT_NEAR(peak[4], taq_mem.overage_high(), 5 * 64 * 16);
        EXPECT_NEAR(peak[5], taq_mem.total_bytes_high(), 5 * 4096);
    }
    EXPECT_LE(parts(), THREADS + 1);
}

struct Late { // constructed without an allocation: the destructor runs after the part was given back
    void* p = nullptr;
    ~Late() { release(p), left = get(10); }
    static inline void* left = nullptr;
};
thread_local Late late;

TEST(ThreadCounters, AreUsedAgainByTheNextThread) {
    for (int i = 0; i < 2; ++i) { // this thread has its part afterwards, and another one is idle
        std::thread([] { release(get(1)); }).join();
        release(get(1));
    }
    const Counts before = counts();
    const int parts_before = parts();
    for (int i = 0; i < 10'000; ++i) {
        std::thread([] { late.p = nullptr, late.p = get(100); }).join();
        release(Late::left);
    }
    EXPECT_EQ(parts_before, parts());
    EXPECT_EQ(before, counts());
}

// What an ended thread had not published would be missing for ever. Where no memory is left for a part, the
// thread counts without.
TEST(ThreadCounters, OfEndedThreadsAndThreadsWithoutMemory) {
    constexpr int DEPTH = 10, BIG = 20'000'000; // more than the idle parts of other tests
    std::vector<void*> kept;
    const std::function<void()> nest = [&] {
        const bool is_last = kept.size() == DEPTH;
        {
            const FailingMalloc limit(is_last ? 1 : INT_MAX);
            kept.push_back(get(4000));
        }
        EXPECT_NE(is_last, ThreadCounters::mine() != nullptr);
        release(get(1));
        EXPECT_TRUE(ThreadCounters::mine() != nullptr);
        if (!is_last) std::thread(nest).join();
    };
    kept.reserve(DEPTH + 1);
    const Counts before = counts();
    std::thread(nest).join();
    EXPECT_EQ(counts(), with(before, DEPTH + 1, (DEPTH + 1) * 4000));
    void* const peak[] = {get(BIG), get(1)};
    EXPECT_LE(taq_mem.total_bytes(), taq_mem.total_bytes_high());
    std::for_each(std::begin(peak), std::end(peak), release);
    EXPECT_NEAR(BIG + taq_mem.total_bytes(), taq_mem.total_bytes_high(), 4096);
    std::for_each(kept.begin(), kept.end(), release);
}

} // namespace
