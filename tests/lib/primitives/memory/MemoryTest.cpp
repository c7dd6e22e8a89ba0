#include "primitives/memory/Memory.h"

#include "RawBytes.h"
#include "primitives/values/NVList.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::string_literals;

namespace {

TEST(Memory, TypeCodesHaveTheirNames) {
    const std::pair<int, const char*> cases[] = {
        {0, "ARC"}, {18, "LDF_READER"}, {44, "VALUEELEM"}, {66, "VTYPE"}};
    for (const auto& [code, name] : cases) EXPECT_STREQ(name, Mem_names[code]);
}

TEST(Memory, FreshBlockIsGuardedFilledAndAligned) {
    Memory memory;
    for (const uint32_t size : {0u, 1u, 8u, 10u, 200'000u})
        for (const unsigned align : {0u, 4u, 8u}) {
            char* p = static_cast<char*>(memory.get(align, size, MEM_LOG));
            SCOPED_TRACE(size);
            EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(p) % 16);
            const std::string block = raw_bytes(p - 8, size + 16);
            uint32_t stored;
            std::memcpy(&stored, block.data() + 4, sizeof stored);
            EXPECT_EQ("BOK\0"s, block.substr(0, 4));
            EXPECT_EQ(size, stored);
            EXPECT_EQ(std::string(size, '\xFD'), block.substr(8, size));
            EXPECT_EQ("EOKEOKE\0"s, block.substr(8 + size));
            memory.release(p, MEM_LOG);
        }
}

// The C allocator uses the first bytes of what it gets back, in front of the payload.
TEST(Memory, FreedBlockIsFilledAndMarked) {
    Memory memory;
    const struct {
        bool fill, variable;
        char freed;
    } cases[] = {{true, false, '\xFE'}, {false, true, '\xFE'}, {false, false, 'x'}};
    for (const auto& c : cases) {
        c.variable ? setenv("ZORQ_MEMORY_CLOBBER", "", 1) : unsetenv("ZORQ_MEMORY_CLOBBER");
        Memory::set_fill(c.fill);
        char* p = static_cast<char*>(memory.get(0, 500, MEM_LOG));
        EXPECT_EQ(c.fill || c.variable, *p == '\xFD');
        std::memset(p, 'x', 500);
        memory.release(p, MEM_LOG);
        EXPECT_EQ(std::string(500, c.freed) + "BADBADB\0"s, raw_bytes(p, 508));
    }
    Memory::set_fill(true);
}

TEST(Memory, ListingsFollowTheBlocks) {
    Memory memory;
    const std::string blocks = std::to_string(Memory::blocks());
    void* a = memory.get(0, 1234, MEM_LDF_READER);
    void* b = memory.get(8, 6, MEM_HASH);
    void* c = memory.get(0, 100'000'000, MEM_ARC);
    memory.release(c, MEM_LOG); // the type given here counts
    memory.release(nullptr, MEM_HASH);
    memory.release(memory.get(0, 20, MEM_HASH), MEM_HASH); // below the peak

    testing::internal::CaptureStdout();
    memory.print();
    EXPECT_EQ("_total_bytes      = 1240\n_overage          = 32\n_total_bytes_high = 100001240\n"
              "_overage_high     = 48\n_blocks           = " +
                  blocks +
                  "\n\nARC                 \t  1\t100000000\nHASH                \t  1\t  6\n"
                  "LDF_READER          \t  1\t1234\nLOG                 \t -1\t-100000000\n",
              testing::internal::GetCapturedStdout());

    memory.release(memory.get(0, 100'000'000, MEM_LOG), MEM_ARC);
    void* d = memory.get(0, 11, MEM_HASH);
    const std::unique_ptr<NVList> used(memory.dist(false)), all(memory.dist(true));
    std::string shown;
    for (const NVElem* e = used->head(); e != nullptr; e = e->next())
        shown += std::string(e->name()) + "=" +
                 (e->vtype() == VTYPE_S32 ? std::to_string(e->gets32()) : e->getstr()) + "\n";
    EXPECT_EQ("_total_bytes=1251\n_overage=48\n_total_bytes_high=100001240\n_overage_high=48\n_blocks=" +
                  blocks + "\nHASH=       2\t       8\t      17\nLDF_READER=       1\t    1234\t    1234\n",
              shown);
    EXPECT_EQ(5 + MEMORY_MAX_TYPES, all->count());
    EXPECT_STREQ("       0\t       0\t       0", all->inquire("ARC")->getstr());
    memory.release(a, MEM_LDF_READER), memory.release(b, MEM_HASH), memory.release(d, MEM_HASH);
    EXPECT_EQ(0, memory.total_bytes());

    const int bytes = taq_mem.total_bytes(); // the listing of the process does not count itself
    const std::unique_ptr<NVList> process(Mem_dist(false));
    EXPECT_EQ(bytes, process->inquire("_total_bytes")->gets32());
}

TEST(Memory, CountersAgreeAfterManyThreads) {
    Memory memory;
    void* kept = memory.get(0, 32, MEM_FFDC);
    std::latch start(4); // together, or each would be done before the next begins
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (size_t i = 0; i < 300'000; ++i) memory.release(memory.get(0, i % 64, MEM_FFDC), MEM_FFDC);
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(32, memory.total_bytes());
    EXPECT_EQ(16, memory.overage());
    EXPECT_LE(memory.overage_high(), 5 * 16);
    memory.release(kept, MEM_FFDC);
}

TEST(MemoryDeathTest, DamagedBlocksAreNamedAndEndTheProcess) {
    const struct {
        const char* name;
        ptrdiff_t at; // where, from the payload of 10 bytes
        std::string bytes;
        const char* report;
    } cases[] = {
        {"one byte too many", 10, "x", "^Unknown trailer$"},
        {"last byte of the trailer", 17, "x", "^Unknown trailer$"},
        {"trailer of a freed block", 10, "BADBADB\0"s, "^BAD trailer$"},
        {"NUL of the header mark", -5, "x", "^Unknown header$"},
        {"header of a freed block", -8, "BAD\0"s, "^BAD header$"},
    };
    for (const auto& c : cases) {
        const auto damage_and_release = [&] {
            dup2(STDERR_FILENO, STDOUT_FILENO); // where the report goes
            char* p = static_cast<char*>(taq_mem.get(0, 10, MEM_MISC));
            raw_copy(p + c.at, c.bytes.data(), c.bytes.size());
            taq_mem.release(p, MEM_MISC);
        };
        EXPECT_EXIT(damage_and_release(), testing::KilledBySignal(SIGABRT), c.report) << c.name;
    }
}

TEST(MemoryDeathTest, OverrunIsCaughtWhereItHappens) {
    if (!ADDRESS_SANITIZER) GTEST_SKIP() << "needs the address sanitizer";
    for (const ptrdiff_t at : {ptrdiff_t{10}, ptrdiff_t{17}, ptrdiff_t{-1}, ptrdiff_t{-16}}) {
        volatile char* p = static_cast<char*>(taq_mem.get(0, 10, MEM_MISC));
        EXPECT_DEATH(p[at] = 'x', "use-after-poison") << at;
        taq_mem.release(const_cast<char*>(p), MEM_MISC);
    }
}

TEST(MemoryDeathTest, RefusedRequestsEndTheProcess) {
    const struct {
        unsigned align;
        size_t size;
        int type;
        const char* report;
    } cases[] = {{16, 10, MEM_MISC, "expression \\(retp != NULL\\)"},
                 {0, 4294967280u, MEM_MISC, "expression \\(retp != NULL\\)"},
                 {0, 10, 67, "expression \\(\\(type < MEMORY_MAX_TYPES\\)\\)"},
                 {0, 10, -1, "expression \\(\\(type < MEMORY_MAX_TYPES\\)\\)"}};
    for (const auto& c : cases)
        EXPECT_DEATH((void)taq_mem.get(c.align, c.size, c.type), c.report) << c.align << " " << c.size;
}

std::vector<int> pauses;

TEST(Memory, ThrottleCallsBackAboveTheThreshold) {
    const struct {
        const char *threshold, *time;
        int calls; // of get and release
        size_t pauses;
        int pause;
    } cases[] = {{"3", "7", 3, 0, 7},
                 {"3", "7", 12, 3, 7},
                 {"4294967297", "7", 9, 0, 7},
                 {"3", "5", 6, 2, 5},
                 {"1", nullptr, 2, 1, 400}};
    static Memory memory;
    pauses.reserve(64); // so that noting one allocates nothing
    const auto pause = [](int time) {
        pauses.push_back(time);
        if (time == 5) memory.release(memory.get(0, 8, MEM_MISC), MEM_MISC); // must not call back in turn
    };
    for (const auto& c : cases) {
        setenv("QEN_BLOCK_THRESHOLD", c.threshold, 1);
        c.time != nullptr ? setenv("QEN_BLOCK_TIME", c.time, 1) : unsetenv("QEN_BLOCK_TIME");
        pauses.clear();
        const int before = Memory::blocks();
        Memory::block(pause);
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
