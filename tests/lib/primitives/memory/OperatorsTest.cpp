// The global operators and the mixin, seen through taq_mem's counters.
#include "RawBytes.h"
#include "primitives/memory/Memory.h"
#include "primitives/memory/Pooled.h"
#include "support/FailingMalloc.h"

#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <string>

namespace {

// Allocated by a static object of a file whose order against the allocator's nobody knows.
const std::string early(100, 'x');
const int early_bytes = taq_mem.total_bytes();

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
constexpr auto NOTHROW = std::nothrow;

TEST(Operators, EveryFormCountsUnderItsType) {
    constexpr int SMALL = sizeof(Small), DERIVED = sizeof(Derived), ARRAY = 3 * SMALL + int{sizeof(size_t)};
    constexpr int STRING = sizeof(std::string);
    constexpr std::align_val_t WIDE{64};
    static Small* object;
    alignas(Small) static char place[sizeof(Small)];
    const struct {
        int type, blocks, bytes; // how the counters change
        std::function<void()> action;
    } steps[] = {
        {MEM_MISC, 1, 33, [] { kept = ::operator new(33); }},
        {MEM_MISC, -1, -33, [] { ::operator delete (kept, size_t{33}); }},
        {MEM_MISC, 1, 33, [] { kept = ::operator new[](33); }},
        {MEM_MISC, -1, -33, [] { ::operator delete[](kept, size_t{33}); }},
        {MEM_MISC, 1, 33, [] { kept = ::operator new(33, NOTHROW); }},
        {MEM_MISC, -1, -33, [] { ::operator delete(kept, NOTHROW); }},
        {MEM_MISC, 1, 33, [] { kept = ::operator new[](33, NOTHROW); }},
        {MEM_MISC, -1, -33, [] { ::operator delete[](kept, NOTHROW); }},
        {MEM_MISC, 2, STRING + 100, [] { kept = new std::string(99, 'x'); }}, // within the C++ library too
        {MEM_MISC, -2, -STRING - 100, [] { delete static_cast<std::string*>(kept); }},
        {MEM_MISC, 0, 0, [] { kept = ::operator new(64, WIDE); }},
        {MEM_MISC, 0, 0, [] { ::operator delete(kept, WIDE); }},
        {MEM_SWITCHOUT, 1, SMALL, [] { object = new Small; }},
        {MEM_SWITCHOUT, -1, -SMALL, [] { delete object; }},
        {MEM_SWITCHOUT, 1, DERIVED, [] { object = new (NOTHROW) Derived; }},
        {MEM_SWITCHOUT, -1, -DERIVED, [] { delete object; }},
        {MEM_SWITCHOUT, 1, ARRAY, [] { object = new (NOTHROW) Small[3]; }},
        {MEM_SWITCHOUT, -1, -ARRAY, [] { delete[] object; }},
        {MEM_SWITCHOUT, 0, 0, [] { (new (place) Small)->~Small(); }},
        {MEM_SWITCHOUT, 0, 0, [] { EXPECT_ANY_THROW(kept = new Throwing); }},
    };
    EXPECT_TRUE(ADDRESS_SANITIZER || THREAD_SANITIZER || early_bytes > 100);
    for (const auto& s : steps) {
        if (s.type == MEM_MISC && (ADDRESS_SANITIZER || THREAD_SANITIZER))
            continue; // theirs stand in for ours
        const int blocks = taq_mem.count(s.type), bytes = taq_mem.type_bytes(s.type);
        s.action();
        EXPECT_EQ(s.blocks, taq_mem.count(s.type) - blocks) << &s - steps;
        EXPECT_EQ(s.bytes, taq_mem.type_bytes(s.type) - bytes) << &s - steps;
    }
}

TEST(OperatorsDeathTest, WithoutMemoryPlainFormsEndTheProcessAndNothrowFormsGiveNull) {
    const int bytes = taq_mem.total_bytes();
    void* given[] = {this, this, this, this};
    {
        const FailingMalloc limit(0);
        given[0] = new (NOTHROW) Small, given[1] = new (NOTHROW) Small[3];
        if (!ADDRESS_SANITIZER && !THREAD_SANITIZER)
            given[2] = ::operator new(1, NOTHROW), given[3] = ::operator new[](1, NOTHROW);
    }
    EXPECT_EQ(bytes, taq_mem.total_bytes());
    for (void* p : given) EXPECT_TRUE(p == nullptr || ((ADDRESS_SANITIZER || THREAD_SANITIZER) && p == this));
    const auto exhaust = [] {
        const FailingMalloc limit(0);
        kept = new Small;
    };
    EXPECT_DEATH(exhaust(), "expression \\(retp != NULL\\)");
}

} // namespace
