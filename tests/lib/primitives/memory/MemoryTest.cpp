// The allocator: its blocks, counters, listings and throttle.
#include "primitives/memory/Memory.h"

#include "RawBytes.h"
#include "primitives/values/NVList.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::string_literals;

namespace {

// The C allocator uses the first bytes of what it gets back, in front of the payload.
TEST(Memory, BlocksAreGuardedFilledAndAligned) {
    Memory memory;
    const struct {
        uint32_t size;
        bool fill, variable; // fill switched on; ZORQ_MEMORY_CLOBBER present
    } cases[] = {
        {0, true, false}, {1, true, false}, {500, true, false}, {500, false, true}, {500, false, false}};
    for (const auto& c : cases)
        for (const unsigned align : {0u, 4u, 8u}) {
            c.variable ? setenv("ZORQ_MEMORY_CLOBBER", "", 1) : unsetenv("ZORQ_MEMORY_CLOBBER");
            Memory::set_fill(c.fill);
            char* p = static_cast<char*>(memory.get(align, c.size, MEM_LOG));
            const std::string block = raw_bytes(p - 8, c.size + 16);
            uint32_t stored;
            std::memcpy(&stored, block.data() + 4, sizeof stored);
            EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(p) % 16);
            EXPECT_EQ("BOK\0"s, block.substr(0, 4));
            EXPECT_EQ(c.size, stored);
            EXPECT_EQ(c.fill || c.variable, block.substr(8, c.size) == std::string(c.size, '\xFD'));
            EXPECT_EQ("EOKEOKE\0"s, block.substr(8 + c.size));
            std::memset(p, 'x', c.size);
            memory.release(p, MEM_LOG);
            const std::string freed = raw_bytes(p, c.size + 8);
            if (c.size < 64) continue;
            EXPECT_EQ(c.fill || c.variable, freed.substr(0, c.size) == std::string(c.size, '\xFE'));
            EXPECT_EQ("BADBADB\0"s, freed.substr(c.size));
        }
    Memory::set_fill(true);
}

TEST(Memory, ListingsFollowTheBlocks) {
    Memory memory;
    const std::string blocks = std::to_string(Memory::blocks());
    void* a = memory.get(0, 1234, MEM_LDF_READER);
    memory.release(memory.get(0, 100'000'000, MEM_ARC), MEM_LOG); // the type given here counts
    memory.release(nullptr, MEM_HASH);
    void* b = memory.get(8, 17, MEM_HASH);
    void* c = memory.get(8, 0, MEM_HASH);
    testing::internal::CaptureStdout();
    memory.print();
    EXPECT_EQ("_total_bytes      = 1251\n_overage          = 48\n_total_bytes_high = 100001234\n"
              "_overage_high     = 48\n_blocks           = " +
                  blocks +
                  "\n\nARC                 \t  1\t100000000\nHASH                \t  2\t 17\n"
                  "LDF_READER          \t  1\t1234\nLOG                 \t -1\t-100000000\n",
              testing::internal::GetCapturedStdout());

    memory.release(memory.get(0, 100'000'000, MEM_LOG), MEM_ARC);
    const std::unique_ptr<NVList> used(memory.dist(false)), all(memory.dist(true));
    std::string shown;
    for (const NVElem* e = used->head(); e != nullptr; e = e->next())
        shown +=
            e->name() + "="s + (e->vtype() == VTYPE_S32 ? std::to_string(e->gets32()) : e->getstr()) + "\n";
    EXPECT_EQ("_total_bytes=1251\n_overage=48\n_total_bytes_high=100001251\n_overage_high=64\n_blocks=" +
                  blocks + "\nHASH=       2\t       8\t      17\nLDF_READER=       1\t    1234\t    1234\n",
              shown);
    EXPECT_EQ(5 + MEMORY_MAX_TYPES, all->count());
    EXPECT_STREQ("       0\t       0\t       0", all->inquire("VTYPE")->getstr());
    memory.release(a, MEM_LDF_READER), memory.release(b, MEM_HASH), memory.release(c, MEM_HASH);

    Memory::set_fill(false); // touches no page
    for (int i = 0; i < 32; ++i) memory.release(memory.get(0, 1 << 26, MEM_MISC), MEM_TASK);
    std::vector<void*> empty;
    while (memory.count(MEM_TASK) < -1) empty.push_back(memory.get(0, 0, MEM_TASK));
    const std::unique_ptr<NVList> least(memory.dist(false));
    EXPECT_STREQ("      -1\t2147483648\t-2147483648", least->inquire("TASK")->getstr());
    for (void* p : empty) memory.release(p, MEM_TASK);
    Memory::set_fill(true);

    const int bytes = taq_mem.total_bytes(); // the listing of the process does not count itself
    EXPECT_EQ(bytes, std::unique_ptr<NVList>(Mem_dist(false))->inquire("_total_bytes")->gets32());
}

TEST(Memory, CountersAgreeAfterManyThreads) {
    Memory memory;
    void* kept = memory.get(0, 32, MEM_FFDC);
    std::latch start(4); // together, or each would be done before the next begins
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (size_t i = 0; i < 300'000; ++i) memory.release(memory.get(0, i % 64, MEM_FFDC), MEM_FFDC);
        });
    threads.clear();
    EXPECT_EQ(32, memory.total_bytes());
    EXPECT_EQ(16, memory.overage());
    EXPECT_LE(memory.overage_high(), 5 * 16);
    memory.release(kept, MEM_FFDC);
}

TEST(MemoryDeathTest, DamagedBlocksAreNamedAndEndTheProcess) {
    const struct {
        ptrdiff_t at; // where, from the payload of 10 bytes
        std::string bytes;
        const char* report;
    } cases[] = {{10, "x", "^Unknown trailer$"},
                 {17, "x", "^Unknown trailer$"},
                 {10, "BADBADB\0"s, "^BAD trailer$"},
                 {-5, "x", "^Unknown header$"},
                 {-8, "BAD\0"s, "^BAD header$"}};
    for (const auto& c : cases) {
        const auto damage_and_release = [&] {
            dup2(STDERR_FILENO, STDOUT_FILENO); // where the report goes
            char* p = static_cast<char*>(taq_mem.get(0, 10, MEM_MISC));
            raw_copy(p + c.at, c.bytes.data(), c.bytes.size());
            taq_mem.release(p, MEM_MISC);
        };
        EXPECT_EXIT(damage_and_release(), testing::KilledBySignal(SIGABRT), c.report) << c.at;
    }
    for (const ptrdiff_t at : {10, 17, -1, -16}) { // caught where it happens
        volatile char* p = static_cast<char*>(taq_mem.get(0, 10, MEM_MISC));
        if (ADDRESS_SANITIZER) {
            EXPECT_DEATH(p[at] = 'x', "use-after-poison") << at;
        }
        taq_mem.release(const_cast<char*>(p), MEM_MISC);
    }
}

TEST(MemoryDeathTest, RefusedRequestsEndTheProcessOrGiveNull) {
    constexpr size_t TOO_LARGE = 4294967280u;
    EXPECT_EQ(nullptr, taq_mem.try_get(16, 10, MEM_MISC));
    EXPECT_EQ(nullptr, taq_mem.try_get(0, TOO_LARGE, MEM_MISC));
    EXPECT_DEATH((void)taq_mem.get(0, TOO_LARGE, MEM_MISC), "expression \\(retp != NULL\\)");
    for (const int type : {-1, 67})
        EXPECT_DEATH((void)taq_mem.try_get(0, 1, type), "expression \\(\\(type < MEMORY_MAX_TYPES\\)\\)");
}

std::vector<int> pauses;

TEST(Memory, ThrottleCallsBackAboveTheThresholdAndNotFromWithin) {
    const struct {
        const char *threshold, *time;
        int calls; // of get and release
        size_t pauses;
        int pause;
    } cases[] = {{"3", "7", 3, 0, 7},       {"3", "7", 12, 3, 7}, {"4294967297", "7", 9, 0, 7},
                 {"1", nullptr, 2, 1, 400}, {"3", "5", 6, 2, 5},  {"1", "5", 6, 5, 5}};
    static Memory memory;
    pauses.reserve(64); // so that noting one allocates nothing
    for (const auto& c : cases) {
        setenv("QEN_BLOCK_THRESHOLD", c.threshold, 1);
        c.time != nullptr ? setenv("QEN_BLOCK_TIME", c.time, 1) : unsetenv("QEN_BLOCK_TIME");
        pauses.clear();
        const int before = Memory::blocks();
        Memory::block([](int time) {
            pauses.push_back(time);
            if (time == 5) memory.release(memory.get(0, 8, MEM_MISC), MEM_MISC);
        });
        for (int n = 0; n < c.calls; ++n) memory.release(nullptr, MEM_MISC);
        Memory::block(nullptr);
        memory.release(nullptr, MEM_MISC);
        EXPECT_EQ(std::vector<int>(c.pauses, c.pause), pauses) << c.threshold << " " << c.calls;
        EXPECT_EQ(static_cast<int>(c.pauses), Memory::blocks() - before);
        setenv("QEN_BLOCK_THRESHOLD", "0", 1); // use up the count that is left over
        Memory::block([](int) {});
        memory.release(nullptr, MEM_MISC);
        Memory::block(nullptr);
    }
}

} // namespace
