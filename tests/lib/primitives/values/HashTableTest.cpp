#include "primitives/values/HashTable.h"

#include <map>

#include "ValuesSupport.h"

namespace {

TEST(HashTable, HashFunctionsPlaceKnownKeys) {
    const struct {
        const char* key;
        int32_t size, any_case, with_case;
    } cases[] = {
        {"Web1", 1023, 360, 200},
        {"WEB1", 1023, 360, 703},
        {"", 1, 0, 0},
        {"_", 1000, 127, 95},
        {"`", 1000, 128, 96},
        {"a", 1000, 97, 97},
        {"\xff", 1000, 31, 0x0FFFFF0F % 1000}, // counts as -1, folded -1 + 32
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key);
        EXPECT_EQ(ht_func(c.size, c.key), c.any_case);
        EXPECT_EQ(ht_func_cs(c.size, c.key), c.with_case);
    }
}

int32_t first_letter(int32_t size, const char* key) {
    return (*key | 0x20) % size;
}

struct NoCase {
    bool operator()(const std::string& a, const std::string& b) const {
        return strcasecmp(a.c_str(), b.c_str()) < 0;
    }
};

TEST(HashTable, BehavesLikeAMapUnderRandomOperations) {
    for (const hf_t hashf : {hf_t{ht_func}, hf_t{first_letter}}) {
        Dice dice(7);
        HashTable table;
        ASSERT_EQ(table.init(7, hashf), MSG_SOK);
        std::map<std::string, int, NoCase> model;
        for (int step = 0; step < 3000; ++step) {
            std::string key;
            for (unsigned n = 1 + dice(3); n > 0; --n) key += "abcABC12"[dice(8)];
            const bool present = model.count(key) != 0;
            NVElem *found = table.inquire(key.c_str()), *out = nullptr;
            ASSERT_EQ(found != nullptr, present);
            ASSERT_EQ(table.inquire(std::string_view(key + "x").substr(0, key.size())), found);
            if (dice(2)) {
                ASSERT_EQ(table.remove(key.c_str()), model.erase(key) ? MSG_SOK : MSG_EFAIL);
                continue;
            }
            ASSERT_EQ(dice(2) ? table.append(key.c_str(), step, &out) : table.insert(key.c_str(), step, &out),
                      present ? MSG_EEXISTS : MSG_SOK);
            ASSERT_EQ(out->gets32(), model.emplace(key, step).first->second);
        }
        int32_t total = 0;
        const std::unique_ptr<VList> dist(table.dist());
        for (const VElem* e = dist->head(); e != nullptr; e = e->next()) total += e->gets32();
        EXPECT_EQ(total, static_cast<int32_t>(model.size()));
        EXPECT_EQ(dist->inquire(6)->gets32(), table.bucket(6)->count());
        EXPECT_EQ(table.bucket(7), nullptr);
    }
    HashTable strict; // tells case apart by its hash alone
    strict.init(1023, ht_func_cs);
    strict.append("abc", 1), strict.append("ABC", 2);
    EXPECT_EQ(strict.inquire(std::string_view("ABCD", 3))->gets32(), 2);
    EXPECT_EQ(strict.inquire(std::string_view("abc\0", 4)), nullptr);
    EXPECT_EQ(strict.inquire(std::string_view()), nullptr);
}

TEST(HashTable, RegistryFollowsTheTables) {
    HashTable::init();
    EXPECT_EQ(HashTable_inquire("HASH_hashtable"), _Hash_hashtablep);
    auto first = std::make_unique<HashTable>();
    HashTable second, namesake;
    EXPECT_EQ(first->init("t", 4, ht_func), MSG_SOK);
    EXPECT_EQ(second.init("T", 4, ht_func), MSG_EEXISTS);
    EXPECT_EQ(second.bucket(0), nullptr);
    EXPECT_EQ(HashTable_inquire("T"), first.get());
    first.reset();
    EXPECT_EQ(second.init("t", 4, ht_func), MSG_SOK); // the name and the table are good again
    EXPECT_EQ(second.init(second.name(), 8, ht_func), MSG_SOK);

    // Tables outlive the registry, and do not take a namesake out of the next one.
    HashTable::destroy();
    EXPECT_EQ(HashTable_inquire("t"), nullptr);
    HashTable::init();
    EXPECT_EQ(namesake.init("t", 4, ht_func), MSG_SOK);
    EXPECT_EQ(second.init(4, ht_func), MSG_SOK); // gives up its old name
    EXPECT_EQ(HashTable_inquire("t"), &namesake);
    HashTable::destroy();
}

TEST(HashTable, MisuseNamesTheBrokenRule) {
    HashTable unset, table, astray;
    table.init(2, ht_func);
    astray.init(2, [](int32_t size, const char*) { return size; });
    EXPECT_DEATH(table.append(nullptr, 1), "namep != NULL");
    EXPECT_DEATH(table.bucket(-1), "index >= 0");
    EXPECT_DEATH(table.init(0, ht_func), "size > 0");
    EXPECT_DEATH(unset.init("x", 1, ht_func), "_Hash_hashtablep != NULL");
    EXPECT_DEATH(unset.inquire("x"), "_bucketsp != NULL");
    EXPECT_DEATH(astray.inquire("x"), "bucket >= 0 && bucket < _size");
}

} // namespace
