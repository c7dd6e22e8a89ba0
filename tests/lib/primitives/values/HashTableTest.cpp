#include "primitives/values/HashTable.h"

#include "ValuesSupport.h"

TEST(HashTable, HashFunctionsPlaceKnownKeys) {
    EXPECT_EQ(ht_func(1023, "Web1"), 360);
    EXPECT_EQ(ht_func_cs(1023, "Web1"), 200);
    EXPECT_EQ(ht_func(1000, "\xff"), 31) << "counts as -1, folded -1 + 32";
    EXPECT_EQ(ht_func_cs(1000, "\xff"), 0x0FFFFF0F % 1000);
}

static int32_t first_letter(int32_t size, const char* key) {
    return (static_cast<unsigned char>(*key) | 0x20) % size;
}

TEST(HashTable, BehavesLikeAMapUnderRandomOperations) {
    for (const hf_t hashf : {hf_t{ht_func}, hf_t{first_letter}}) {
        HashTable table;
        ASSERT_EQ(table.init(7, hashf), MSG_SOK);
        Map model(Order{false});
        const auto add = [&](bool front, auto... entry) {
            return (front ? table.insert(entry...) : table.append(entry...)) == MSG_SOK;
        };
        walk_as_map(table, model, MSG_SOK, add, [](auto&&...) {});
        int32_t total = 0;
        const std::unique_ptr<VList> dist(table.dist());
        for (const VElem* e = dist->head(); e != nullptr; e = e->next()) total += e->gets32();
        EXPECT_EQ(total, static_cast<int32_t>(model.size()));
        EXPECT_EQ(table.bucket(7), nullptr);
    }
}

TEST(HashTable, RegistryFollowsTheTables) {
    HashTable::init();
    auto first = std::make_unique<HashTable>();
    HashTable second, namesake;
    EXPECT_EQ(first->init("t", 4, ht_func), MSG_SOK);
    EXPECT_EQ(second.init("T", 4, ht_func), MSG_EEXISTS);
    EXPECT_EQ(second.bucket(0), nullptr) << "a refused table stays empty";
    EXPECT_EQ(HashTable_inquire("T"), first.get());
    first.reset();
    EXPECT_EQ(second.init("t", 4, ht_func), MSG_SOK); // the name and the table are good again
    EXPECT_EQ(second.init(second.name(), 8, ht_func), MSG_EEXISTS) << "taken, also by the table itself";
    EXPECT_EQ(second.init("t", 8, ht_func), MSG_SOK);

    // Tables outlive the registry, and do not take a namesake out of the next one.
    HashTable::destroy();
    HashTable::init();
    EXPECT_EQ(namesake.init("t", 4, ht_func), MSG_SOK);
    EXPECT_EQ(second.init(4, ht_func), MSG_SOK); // gives up its old name
    EXPECT_EQ(HashTable_inquire("t"), &namesake);
    HashTable::destroy();

    HashTable astray;
    astray.init(2, [](int32_t size, const char*) { return size; });
    EXPECT_DEATH(astray.inquire("x"), "bucket >= 0 && bucket < _size");
}
