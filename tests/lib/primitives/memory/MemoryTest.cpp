// The allocator: blocks, counters, listings and throttle; the operators and the mixin, seen through its
// counters.
#include "primitives/memory/Memory.h"

#include "primitives/values/NVList.h"
#include "support/FailingMalloc.h"
#include "support/Prelude.h"

namespace {

// Allocated by a static object of a file whose order against the allocator's nobody knows.
const std::string early(100, 'x');
const int early_bytes = taq_mem.total_bytes();

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool OWN_OPERATORS = false; // theirs stand in for ours
#else
constexpr bool OWN_OPERATORS = true;
#endif
constexpr auto NOTHROW = std::nothrow;

// Memory that the sanitizers forbid: byte by byte, so that no checked memcpy() takes the place of the loop.
__attribute__((no_sanitize_address, no_sanitize_thread, noinline)) void
raw_copy(volatile char* to, const volatile char* from, size_t n) {
    for (size_t i = 0; i < n; ++i) to[i] = from[i];
}
std::string raw_bytes(const void* p, size_t n) {
    static char bytes[1024]; // the string may get the very memory that is looked at
    raw_copy(bytes, static_cast<const char*>(p), n);
    return {bytes, n};
}

// The C allocator uses the first bytes of what it gets back, in front of the payload.
TEST(Memory, BlocksAreGuardedFilledAndAligned) {
    Memory memory;
    for (const int mode : {0, 1, 2}) // 0: no fill; 1: switched on; 2: kept on by the environment
        for (const uint32_t size : {0u, 1u, 7u, 8u, 31u, 33u, 65u, 128u, 129u, 500u}) {
            mode == 2 ? setenv("ZORQ_MEMORY_CLOBBER", "", 1) : unsetenv("ZORQ_MEMORY_CLOBBER");
            Memory::set_fill(mode == 1);
            char* p = static_cast<char*>(memory.get(8, size, MEM_LOG));
            const std::string block = raw_bytes(p - 8, size + 16);
            EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(p) % 16);
            EXPECT_EQ("BOK\0"s + std::string(reinterpret_cast<const char*>(&size), 4), block.substr(0, 8));
            EXPECT_TRUE(mode == 0 || block.substr(8, size) == std::string(size, '\xFD'));
            EXPECT_EQ("EOKEOKE\0"s, block.substr(8 + size));
            std::memset(p, 'x', size);
            memory.release(p, MEM_LOG);
            const std::string freed = raw_bytes(p, size + 8); // before another string gets this memory
            EXPECT_EQ(std::string(size, mode == 0 ? 'x' : '\xFE') + "BADBADB\0"s, freed);
        }
    unsetenv("ZORQ_MEMORY_CLOBBER");
    Memory::set_fill(true);
}

TEST(Memory, ListingsFollowTheBlocks) {
    Memory memory;
    const std::string blocks = std::to_string(Memory::blocks());
    void* kept[] = {memory.get(0, 1234, MEM_LDF_READER), memory.get(8, 17, MEM_LDF_READER)};
    Memory::set_fill(false); // touches no page: 2 GiB released in all, and all blocks but one taken again
    for (int i = 0; i < 32; ++i) memory.release(memory.get(0, 1 << 26, MEM_ARC), MEM_TASK);
    std::vector<void*> empty;
    while (memory.count(MEM_TASK) < -1) empty.push_back(memory.get(0, 0, MEM_TASK));
    Memory::set_fill(true);

    testing::internal::CaptureStdout();
    memory.print();
    EXPECT_EQ("_total_bytes      = 1251\n_overage          = 528\n_total_bytes_high = 67110115\n"
              "_overage_high     = 528\n_blocks           = " +
                  blocks +
                  "\n\nARC                 \t 32\t-2147483648\nLDF_READER          \t  2\t1251\n"
                  "TASK                \t -1\t-2147483648\n",
              testing::internal::GetCapturedStdout());
    const std::unique_ptr<NVList> used(memory.dist(false)), all(memory.dist(true));
    EXPECT_STREQ("      32\t-67108864\t-2147483648", used->inquire(5)->getstr());
    EXPECT_STREQ("      -1\t2147483648\t-2147483648", used->tail()->getstr());
    EXPECT_EQ(5 + MEMORY_MAX_TYPES, all->count());
    for (void* p : kept) memory.release(p, MEM_LDF_READER);
    for (void* p : empty) memory.release(p, MEM_TASK);
}

TEST(Memory, CountersAgreeAfterManyThreads) {
    Memory memory;
    std::latch start(4); // together, or each would be done before the next begins
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (size_t i = 0; i < 300'000; ++i) memory.release(memory.get(0, i % 64, MEM_FFDC), MEM_FFDC);
        });
    threads.clear();
    EXPECT_EQ(0, memory.total_bytes() + memory.overage());
    EXPECT_LE(memory.overage_high(), 4 * 16);
}

TEST(MemoryDeathTest, DamageAndRefusedRequestsEndTheProcess) {
    const std::tuple<ptrdiff_t, std::string, const char*> damages[] = {// where, from a payload of 10 bytes
                                                                       {17, "x", "^Unknown trailer$"},
                                                                       {10, "BADBADB\0"s, "^BAD trailer$"},
                                                                       {-5, "x", "^Unknown header$"},
                                                                       {-8, "BAD\0"s, "^BAD header$"}};
    for (const auto& [at, bytes, report] : damages) {
        const auto damage_and_release = [&, at = at, &bytes = bytes] {
            dup2(STDERR_FILENO, STDOUT_FILENO); // where the report goes
            char* p = static_cast<char*>(taq_mem.get(0, 10, MEM_MISC));
            raw_copy(p + at, bytes.data(), bytes.size());
            taq_mem.release(p, MEM_MISC);
        };
        EXPECT_EXIT(damage_and_release(), testing::KilledBySignal(SIGABRT), report) << at;
    }
    EXPECT_EQ(nullptr, taq_mem.try_get(16, 10, MEM_MISC));
    EXPECT_EQ(nullptr, taq_mem.try_get(0, 4294967280u, MEM_MISC));
    for (const int type : {-1, 67})
        EXPECT_DEATH((void)taq_mem.try_get(0, 1, type), "expression \\(\\(type < MEMORY_MAX_TYPES\\)\\)");
}

std::vector<int> pauses;

TEST(Memory, ThrottleCallsBackAboveTheThresholdAndNotFromWithin) {
    const std::tuple<const char*, const char*, int, std::vector<int>> cases[] = {
        // threshold, time, calls of release, and the pauses
        {"3", "7", 12, {7, 7, 7}},
        {"4294967297", "7", 9, {}},
        {"1", "", 2, {400}},
        {"1", "5", 6, {5, 5, 5, 5, 5}}};
    static Memory memory;
    pauses.reserve(64); // so that noting one allocates nothing
    for (const auto& [threshold, time, calls, expected] : cases) {
        setenv("QEN_BLOCK_THRESHOLD", "0", 1); // use up the count that is left over
        Memory::block([](int) {}), memory.release(nullptr, MEM_MISC);
        setenv("QEN_BLOCK_THRESHOLD", threshold, 1);
        *time != '\0' ? setenv("QEN_BLOCK_TIME", time, 1) : unsetenv("QEN_BLOCK_TIME");
        pauses.clear();
        Memory::block([](int pause) {
            pauses.push_back(pause);
            if (pause == 5) memory.release(memory.get(0, 8, MEM_MISC), MEM_MISC);
        });
        for (int n = 0; n < calls; ++n) memory.release(nullptr, MEM_MISC);
        Memory::block(nullptr);
        EXPECT_EQ(expected, pauses) << threshold << " " << calls;
    }
}

struct Small : Pooled<MEM_SWITCHOUT> {
    virtual ~Small() = default;
    char bytes[40];
};
struct Derived : Small {
    char more[100];
};
struct Throwing : Pooled<MEM_SWITCHOUT> {
    Throwing() { throw 1; }
};
void* volatile kept; // keeps the compiler from leaving out a pair of new and delete

TEST(Operators, EachFormCountsUnderItsType) {
    const auto counts = [] {
        return std::tuple(taq_mem.count(MEM_SWITCHOUT), taq_mem.type_bytes(MEM_SWITCHOUT),
                          OWN_OPERATORS ? taq_mem.type_bytes(MEM_MISC) : 0);
    };
    const auto [blocks, bytes, misc] = counts();
    Small *one = new (NOTHROW) Derived, *three = new Small[3];
    kept = ::operator new[](33);
    constexpr int BYTES = sizeof(Derived) + 3 * sizeof(Small) + sizeof(size_t);
    EXPECT_EQ(counts(), std::tuple(blocks + 2, bytes + BYTES, OWN_OPERATORS ? misc + 33 : 0));
    delete one;
    delete[] three;
    ::operator delete[](kept, size_t{33});
    EXPECT_ANY_THROW(kept = new Throwing);
    EXPECT_EQ(counts(), std::tuple(blocks, bytes, misc));
    EXPECT_TRUE(!OWN_OPERATORS || early_bytes > 100);
}

TEST(OperatorsDeathTest, WithoutMemoryPlainFormsEndTheProcessAndNothrowFormsGiveNull) {
    const int bytes = taq_mem.total_bytes();
    void* given[4] = {this, this};
    {
        const FailingMalloc limit(0);
        given[0] = new (NOTHROW) Small, given[1] = new (NOTHROW) Small[3];
        if (OWN_OPERATORS) given[2] = ::operator new(1, NOTHROW), given[3] = ::operator new[](1, NOTHROW);
    }
    EXPECT_EQ(bytes, taq_mem.total_bytes());
    for (const void* p : given) EXPECT_EQ(nullptr, p);
    const auto exhaust = [](bool of_class) {
        const FailingMalloc limit(0);
        kept = of_class ? new Small : ::operator new(1);
    };
    for (const bool of_class : {true, !OWN_OPERATORS})
        EXPECT_DEATH(exhaust(of_class), "expression \\(retp != NULL\\)");
}

} // namespace
