#include "primitives/memory/Memory.h"

#include "RawBytes.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <latch>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::string_literals;

namespace {

TEST(Memory, TypeCodesHaveTheirNames) {
    const struct {
        int code;
        const char* name;
    } cases[] = {{0, "ARC"},           {3, "CLIST"},   {9, "FFDC"},           {18, "LDF_READER"},
                 {19, "LDF_WRITER"},   {20, "LOG"},    {21, "MISC"},          {24, "MSGSTRUCT"},
                 {29, "NVELEM"},       {30, "NVLIST"}, {36, "SERVICE_GROUP"}, {44, "VALUEELEM"},
                 {55, "TAQMSGSTRUCT"}, {61, "VELEM"},  {65, "VLIST"},         {66, "VTYPE"}};
    for (const auto& c : cases) EXPECT_STREQ(c.name, Mem_names[c.code]);
}

TEST(Memory, FreshBlockIsGuardedFilledAndAligned) {
    Memory memory;
    for (const uint32_t size : {0u, 1u, 7u, 8u, 10u, 24u, 4096u, 200'000u})
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
    for (const bool filled : {true, false}) {
        Memory::set_fill(filled);
        char* p = static_cast<char*>(memory.get(0, 500, MEM_LOG));
        std::memset(p, 'x', 500);
        memory.release(p, MEM_LOG);
        EXPECT_EQ(std::string(500, filled ? '\xFE' : 'x') + "BADBADB\0"s, raw_bytes(p, 508));
    }
    setenv("ZORQ_MEMORY_CLOBBER", "", 1);
    Memory::set_fill(false);
    void* p = memory.get(0, 1, MEM_LOG);
    EXPECT_EQ('\xFD', *static_cast<char*>(p)) << "the variable keeps the fill on";
    memory.release(p, MEM_LOG);
    unsetenv("ZORQ_MEMORY_CLOBBER");
    Memory::set_fill(true);
}

TEST(Memory, CountersFollowTheBlocks) {
    Memory memory;
    void* a = memory.get(0, 10, MEM_MISC);
    void* b = memory.get(0, 100, MEM_MISC);
    void* c = memory.get(8, 5, MEM_LOG);
    EXPECT_EQ(115, memory.total_bytes());
    EXPECT_EQ(48, memory.overage());
    EXPECT_EQ(2, memory.count(MEM_MISC));
    EXPECT_EQ(110, memory.type_bytes(MEM_MISC));
    EXPECT_EQ(1, memory.count(MEM_LOG));
    EXPECT_EQ(5, memory.type_bytes(MEM_LOG));

    memory.release(b, MEM_MISC);
    memory.release(nullptr, MEM_MISC);
    memory.release(memory.get(0, 20, MEM_MISC), MEM_MISC); // below the peak
    EXPECT_EQ(15, memory.total_bytes());
    EXPECT_EQ(115, memory.total_bytes_high());
    EXPECT_EQ(48, memory.overage_high());

    memory.release(a, MEM_LOG); // the type given here counts
    memory.release(c, MEM_LOG);
    EXPECT_EQ(0, memory.total_bytes());
    EXPECT_EQ(0, memory.overage());
    EXPECT_EQ(1, memory.count(MEM_MISC));
    EXPECT_EQ(10, memory.type_bytes(MEM_MISC));
    EXPECT_EQ(-1, memory.count(MEM_LOG));
    EXPECT_EQ(-10, memory.type_bytes(MEM_LOG));
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
    EXPECT_EQ(1, memory.count(MEM_FFDC));
    EXPECT_GE(memory.total_bytes_high(), 32 + 63);
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
        {"one byte too few", -8, "x", "^Unknown header$"},
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
                 {1, 10, MEM_MISC, "expression \\(retp != NULL\\)"},
                 {0, 4294967280u, MEM_MISC, "expression \\(retp != NULL\\)"},
                 {0, 4294967296u + 10, MEM_MISC, "expression \\(retp != NULL\\)"},
                 {0, SIZE_MAX, MEM_MISC, "expression \\(retp != NULL\\)"},
                 {0, 10, 67, "expression \\(\\(type < MEMORY_MAX_TYPES\\)\\)"},
                 {0, 10, -1, "expression \\(\\(type < MEMORY_MAX_TYPES\\)\\)"}};
    for (const auto& c : cases)
        EXPECT_DEATH((void)taq_mem.get(c.align, c.size, c.type), c.report) << c.align << " " << c.size;
    EXPECT_DEATH(taq_mem.release(nullptr, 67), "expression \\(\\(type < MEMORY_MAX_TYPES\\)\\)");
}

std::vector<int> pauses;

TEST(Memory, ThrottleCallsBackAboveTheThreshold) {
    const struct {
        const char *threshold, *time;
        int calls; // of get and release
        size_t pauses;
        int pause;
    } cases[] = {{"3", "7", 3, 0, 7},  {"3", "7", 4, 1, 7},           {"3", "7", 11, 2, 7},
                 {"3", "7", 12, 3, 7}, {"99999999999", "5", 9, 0, 5}, {"1", nullptr, 2, 1, 400}};
    Memory memory;
    pauses.reserve(64); // so that noting one allocates nothing
    for (const auto& c : cases) {
        setenv("QEN_BLOCK_THRESHOLD", c.threshold, 1);
        c.time != nullptr ? setenv("QEN_BLOCK_TIME", c.time, 1) : unsetenv("QEN_BLOCK_TIME");
        pauses.clear();
        const int before = Memory::blocks();
        Memory::block([](int time) { pauses.push_back(time); });
        for (int i = 0; i < c.calls; ++i) memory.release(nullptr, MEM_MISC);
        Memory::block(nullptr);
        memory.release(nullptr, MEM_MISC);
        EXPECT_EQ(c.pauses, pauses.size()) << c.threshold << " " << c.calls;
        EXPECT_EQ(static_cast<int>(c.pauses), Memory::blocks() - before);
        for (const int pause : pauses) EXPECT_EQ(c.pause, pause);
        // Use up the count that is left over, so that each case starts at 0.
        setenv("QEN_BLOCK_THRESHOLD", "0", 1);
        Memory::block([](int) {});
        memory.release(nullptr, MEM_MISC);
        Memory::block(nullptr);
    }
}

TEST(Memory, ThrottleCallbackMayAllocate) {
    setenv("QEN_BLOCK_THRESHOLD", "10", 1);
    static Memory memory;
    static int depth, deepest;
    Memory::block([](int) {
        deepest = std::max(deepest, ++depth);
        memory.release(memory.get(0, 8, MEM_MISC), MEM_MISC);
        --depth;
    });
    for (int i = 0; i < 100; ++i) memory.release(nullptr, MEM_MISC);
    Memory::block(nullptr);
    unsetenv("QEN_BLOCK_THRESHOLD");
    EXPECT_EQ(1, deepest);
}

TEST(Memory, PrintShowsTotalsAndTypesInUse) {
    Memory memory;
    void* a = memory.get(0, 1234, MEM_LDF_READER);
    void* b = memory.get(0, 6, MEM_HASH);
    memory.release(memory.get(0, 100, MEM_LOG), MEM_LOG);
    testing::internal::CaptureStdout();
    memory.print();
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ("_total_bytes      = 1240\n"
              "_overage          = 32\n"
              "_total_bytes_high = 1340\n"
              "_overage_high     = 48\n"
              "_blocks           = " +
                  std::to_string(Memory::blocks()) +
                  "\n\n"
                  "HASH                \t  1\t  6\n"
                  "LDF_READER          \t  1\t1234\n",
              printed);
    memory.release(a, MEM_LDF_READER);
    memory.release(b, MEM_HASH);
}

} // namespace
