// The global operators and the mixin, seen through taq_mem's counters.
#include "RawBytes.h"
#include "primitives/memory/Memory.h"
#include "primitives/memory/Pooled.h"

#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <vector>

namespace {

// Allocated and freed by static objects of a file whose order against the allocator's nobody knows.
struct Early {
    Early() : text(new char[100]), live_bytes(taq_mem.total_bytes()) {}
    ~Early() { delete[] text; }
    char* text;
    int live_bytes;
} early;

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

// An action that changes the counters of a type by so many blocks and bytes.
struct Step {
    const char* name;
    std::function<void()> action;
    int blocks, bytes;
};

void expect_changes(int type, const std::vector<Step>& steps) {
    for (const Step& s : steps) {
        const int blocks = taq_mem.count(type), bytes = taq_mem.type_bytes(type);
        s.action();
        EXPECT_EQ(s.blocks, taq_mem.count(type) - blocks) << s.name;
        EXPECT_EQ(s.bytes, taq_mem.type_bytes(type) - bytes) << s.name;
    }
}

TEST(GlobalOperators, EveryFormCountsAsMisc) {
    if (ADDRESS_SANITIZER || THREAD_SANITIZER) GTEST_SKIP() << "their own operators stand in for ours";
    EXPECT_GE(early.live_bytes, 100);
    constexpr std::align_val_t WIDE{64};
    constexpr int STRING = sizeof(std::string);
    const std::vector<Step> steps = {
        {"new", [] { kept = ::operator new(33); }, 1, 33},
        {"sized delete", [] { ::operator delete (kept, size_t{33}); }, -1, -33},
        {"new[]", [] { kept = ::operator new[](33); }, 1, 33},
        {"sized delete[]", [] { ::operator delete[](kept, size_t{33}); }, -1, -33},
        {"nothrow", [] { kept = ::operator new(33, std::nothrow); }, 1, 33},
        {"nothrow delete", [] { ::operator delete(kept, std::nothrow); }, -1, -33},
        {"nothrow array", [] { kept = ::operator new[](33, std::nothrow); }, 1, 33},
        {"nothrow delete[]", [] { ::operator delete[](kept, std::nothrow); }, -1, -33},
        {"in the C++ library", [] { kept = new std::string(99, 'x'); }, 2, STRING + 100},
        {"by the C++ library", [] { delete static_cast<std::string*>(kept); }, -2, -STRING - 100},
        {"over-aligned new", [] { kept = ::operator new(64, WIDE); }, 0, 0},
        {"over-aligned delete", [] { ::operator delete(kept, WIDE); }, 0, 0},
    };
    expect_changes(MEM_MISC, steps);
}

TEST(Pooled, ObjectsCountUnderTheirType) {
    constexpr int SMALL = sizeof(Small), DERIVED = sizeof(Derived), ARRAY = 3 * SMALL + int{sizeof(size_t)};
    Small* object = nullptr;
    alignas(Small) char place[sizeof(Small)];
    const std::vector<Step> steps = {
        {"new", [&] { object = new Small; }, 1, SMALL},
        {"delete", [&] { delete object; }, -1, -SMALL},
        {"new nothrow", [&] { object = new (std::nothrow) Derived; }, 1, DERIVED},
        {"delete through the base", [&] { delete object; }, -1, -DERIVED},
        {"array", [&] { object = new Small[3]; }, 1, ARRAY},
        {"delete array", [&] { delete[] object; }, -1, -ARRAY},
        {"placement", [&] { (new (place) Small)->~Small(); }, 0, 0},
        {"throwing constructor", [&] { EXPECT_ANY_THROW(kept = new Throwing); }, 0, 0},
    };
    expect_changes(MEM_SWITCHOUT, steps);
}

} // namespace
