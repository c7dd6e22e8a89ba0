// The global operators and the mixin, seen through taq_mem's counters.
#include "RawBytes.h"
#include "primitives/memory/Memory.h"
#include "primitives/memory/Pooled.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <string>

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

struct Change {
    int blocks, bytes;
};

Change change_of(int type, const std::function<void()>& action) {
    const Change before = {taq_mem.count(type), taq_mem.type_bytes(type)};
    action();
    return {taq_mem.count(type) - before.blocks, taq_mem.type_bytes(type) - before.bytes};
}

void* volatile kept; // keeps the compiler from leaving out a pair of new and delete

// The sanitizers' own operators stand in for ours.
class GlobalOperators : public testing::Test {
    void SetUp() override {
        if (ADDRESS_SANITIZER || THREAD_SANITIZER) GTEST_SKIP();
    }
};

TEST_F(GlobalOperators, StaticObjectsAreServed) {
    EXPECT_GE(early.live_bytes, 100);
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(early.text) % 16);
}

TEST_F(GlobalOperators, EveryFormCountsAsMisc) {
    const struct {
        const char* name;
        std::function<void()> allocate, free;
        int bytes;
    } cases[] = {
        {"scalar", [] { kept = ::operator new(33); }, [] { ::operator delete(kept); }, 33},
        {"array", [] { kept = ::operator new[](33); }, [] { ::operator delete[](kept); }, 33},
        {"sized", [] { kept = ::operator new(33); }, [] { ::operator delete (kept, size_t{33}); }, 33},
        {"sized array", [] { kept = ::operator new[](33); }, [] { ::operator delete[](kept, size_t{33}); },
         33},
        {"nothrow", [] { kept = ::operator new(33, std::nothrow); },
         [] { ::operator delete(kept, std::nothrow); }, 33},
        {"nothrow array", [] { kept = ::operator new[](33, std::nothrow); },
         [] { ::operator delete[](kept, std::nothrow); }, 33},
        {"of the C++ library's own code", [] { kept = new std::string(99, 'x'); },
         [] { delete static_cast<std::string*>(kept); }, static_cast<int>(sizeof(std::string)) + 100},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const int blocks = c.bytes == 33 ? 1 : 2;
        const Change got = change_of(MEM_MISC, c.allocate);
        EXPECT_EQ(blocks, got.blocks);
        EXPECT_EQ(c.bytes, got.bytes);
        const Change freed = change_of(MEM_MISC, c.free);
        EXPECT_EQ(-blocks, freed.blocks);
        EXPECT_EQ(-c.bytes, freed.bytes);
    }
    ::operator delete(nullptr);
}

TEST_F(GlobalOperators, OverAlignedFormsStayWithTheLibrary) {
    const Change got = change_of(MEM_MISC, [] {
        kept = ::operator new (64, std::align_val_t{64});
        ::operator delete (kept, std::align_val_t{64});
        kept = ::operator new[](64, std::align_val_t{64});
        ::operator delete[](kept, size_t{64}, std::align_val_t{64});
    });
    EXPECT_EQ(0, got.blocks);
    EXPECT_EQ(0, got.bytes);
}

TEST(Pooled, ObjectsCountUnderTheirType) {
    constexpr int SMALL = sizeof(Small), DERIVED = sizeof(Derived);
    Small* object = nullptr;
    alignas(Small) char place[sizeof(Small)];
    const struct {
        const char* name;
        std::function<void()> action;
        int blocks, bytes;
    } cases[] = {
        {"new", [&] { object = new Small; }, 1, SMALL},
        {"delete", [&] { delete object; }, -1, -SMALL},
        {"new nothrow", [&] { object = new (std::nothrow) Derived; }, 1, DERIVED},
        {"delete through the base", [&] { delete object; }, -1, -DERIVED},
        {"array", [&] { object = new Small[3]; }, 1, 3 * SMALL + static_cast<int>(sizeof(size_t))},
        {"delete array", [&] { delete[] object; }, -1, -(3 * SMALL + static_cast<int>(sizeof(size_t)))},
        {"placement", [&] { (new (place) Small)->~Small(); }, 0, 0},
        {"throwing constructor", [&] { EXPECT_ANY_THROW(kept = new Throwing); }, 0, 0},
    };
    for (const auto& c : cases) {
        const Change got = change_of(MEM_SWITCHOUT, c.action);
        EXPECT_EQ(c.blocks, got.blocks) << c.name;
        EXPECT_EQ(c.bytes, got.bytes) << c.name;
    }
    EXPECT_TRUE(std::is_empty_v<Pooled<MEM_LOG>>);
}

} // namespace
