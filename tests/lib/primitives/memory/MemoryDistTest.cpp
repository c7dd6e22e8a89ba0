#include "primitives/memory/Memory.h"
#include "primitives/values/NVList.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

TEST(MemoryDist, ListsTotalsAndTypes) {
    Memory memory;
    void* a = memory.get(0, 10, MEM_LOG);
    void* b = memory.get(0, 15, MEM_LOG);
    void* c = memory.get(0, 100'000'000, MEM_ARC);
    memory.release(c, MEM_ARC);

    const std::unique_ptr<NVList> used(memory.dist(false));
    const struct {
        const char* name;
        int value;
    } totals[] = {{"_total_bytes", 25},
                  {"_overage", 32},
                  {"_total_bytes_high", 100'000'025},
                  {"_overage_high", 48},
                  {"_blocks", Memory::blocks()}};
    const NVElem* elem = used->head();
    for (const auto& total : totals) {
        ASSERT_NE(nullptr, elem);
        EXPECT_STREQ(total.name, elem->name());
        EXPECT_EQ(VTYPE_S32, elem->value()->vtype());
        EXPECT_EQ(total.value, elem->value()->gets32());
        elem = elem->next();
    }
    ASSERT_NE(nullptr, elem);
    EXPECT_STREQ("LOG", elem->name());
    EXPECT_STREQ("       2\t      12\t      25", elem->value()->getstr());
    EXPECT_EQ(nullptr, elem->next());

    const std::unique_ptr<NVList> all(memory.dist(true));
    EXPECT_EQ(5 + MEMORY_MAX_TYPES, all->count());
    EXPECT_STREQ("       0\t       0\t       0", all->inquire("ARC")->value()->getstr());
    memory.release(a, MEM_LOG);
    memory.release(b, MEM_LOG);
}

TEST(MemoryDist, OfTheProcessDoesNotCountItself) {
    const int bytes = taq_mem.total_bytes();
    const std::unique_ptr<NVList> list(Mem_dist(false));
    EXPECT_EQ(bytes, list->inquire("_total_bytes")->value()->gets32());
}

} // namespace
