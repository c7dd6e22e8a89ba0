#include "primitives/values/HashTable.h"

#include <map>

#include "ValuesSupport.h"

namespace {

using testing::ElementsAre;

TEST(HashTable, HashFunctionsPlaceKnownKeys) {
    const struct {
        const char* key;
        int32_t size, any_case, with_case;
    } cases[] = {
        {"abc", 1023, 924, 924},  {"ABC", 1023, 924, 372}, {"Web1", 1023, 360, 200},
        {"WEB1", 1023, 360, 703}, {"", 1023, 0, 0},        {"_", 1000, 127, 95},
        {"`", 1000, 128, 96},     {"a", 1000, 97, 97},     {"", 1, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key);
        EXPECT_EQ(ht_func(c.size, c.key), c.any_case);
        EXPECT_EQ(ht_func_cs(c.size, c.key), c.with_case);
    }
    EXPECT_EQ(ht_func(32, "Web1"), 17);
    // Bytes from 0x80 on count as negative: -1, folded -1 + 32, worked out by hand.
    EXPECT_EQ(ht_func_cs(1000, "\xff"), 0x0FFFFF0F % 1000);
    EXPECT_EQ(ht_func(1000, "\xff"), 31);
    EXPECT_DEATH(ht_func(0, "x"), "size > 0");
    EXPECT_DEATH(ht_func_cs(1, nullptr), "cp != NULL");
}

int32_t first_letter(int32_t size, const char* key) {
    return (*key | 0x20) % size;
}

int32_t out_of_table(int32_t size, const char*) {
    return size;
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
            NVElem* out = nullptr;
            switch (dice(3)) {
            case 0:
                ASSERT_EQ(dice(2) ? table.append(key.c_str(), step, &out)
                                  : table.insert(key.c_str(), step, &out),
                          present ? MSG_EEXISTS : MSG_SOK);
                ASSERT_EQ(out->gets32(), model.emplace(key, step).first->second);
                break;
            case 1: ASSERT_EQ(table.remove(key.c_str()), model.erase(key) ? MSG_SOK : MSG_EFAIL); break;
            case 2: {
                const std::string padded = key + "x";
                NVElem* e = table.inquire(key.c_str());
                ASSERT_EQ(e != nullptr, present);
                ASSERT_EQ(table.inquire(std::string_view(padded.data(), key.size())), e);
                if (present) {
                    ASSERT_EQ(e->gets32(), model.at(key));
                }
            }
            }
        }
        int32_t total = 0;
        const std::unique_ptr<VList> dist(table.dist());
        for (const VElem* e = dist->head(); e != nullptr; e = e->next()) total += e->gets32();
        EXPECT_EQ(total, static_cast<int32_t>(model.size()));
        EXPECT_EQ(dist->count(), 7);
    }
}

TEST(HashTable, BucketsKeepTheirOrder) {
    HashTable table;
    table.init(3, first_letter);
    table.append("a1", 1), table.append("a2", "x", 1), table.insert("a0"), table.append("c", 1);
    EXPECT_THAT(names_of(*table.bucket('a' % 3)), ElementsAre("a0", "a1", "a2"));
    EXPECT_EQ(table.bucket(3), nullptr);
    EXPECT_DEATH(table.bucket(-1), "index >= 0");
    const std::unique_ptr<VList> dist(table.dist());
    EXPECT_EQ(dist->inquire('a' % 3)->gets32(), 3);
    EXPECT_EQ(dist->inquire('b' % 3)->gets32(), 0);
    EXPECT_EQ(dist->inquire('c' % 3)->gets32(), 1);
}

TEST(HashTable, ViewsWithNulMatchNothing) {
    HashTable table;
    table.init(5, ht_func);
    table.append("ab", 1);
    EXPECT_NE(table.inquire(std::string_view("ABC", 2)), nullptr);
    EXPECT_EQ(table.inquire(std::string_view("ab\0", 3)), nullptr);
    EXPECT_EQ(table.inquire(std::string_view("a", 1)), nullptr);
    EXPECT_EQ(table.inquire(std::string_view()), nullptr);
    EXPECT_EQ(table.inquire(static_cast<const char*>(nullptr)), nullptr);
    // A table that tells case apart by its hash looks views up in the same bucket.
    HashTable strict;
    strict.init(1023, ht_func_cs);
    strict.append("abc", 1), strict.append("ABC", 2);
    EXPECT_EQ(strict.inquire(std::string_view("ABCD", 3))->gets32(), 2);
}

TEST(HashTable, RegistryFollowsTheTables) {
    HashTable::init();
    HashTable::init();
    EXPECT_EQ(HashTable_inquire("HASH_hashtable"), _Hash_hashtablep);
    auto first = std::make_unique<HashTable>();
    HashTable second;
    EXPECT_EQ(first->init("t", 4, ht_func), MSG_SOK);
    EXPECT_EQ(second.init("T", 4, ht_func), MSG_EEXISTS);
    EXPECT_EQ(second.name(), nullptr);
    EXPECT_EQ(second.bucket(0), nullptr);
    EXPECT_EQ(HashTable_inquire("T"), first.get());
    first.reset();
    EXPECT_EQ(HashTable_inquire("t"), nullptr);
    EXPECT_EQ(second.init("t", 4, ht_func), MSG_SOK); // the name and the table are good again
    EXPECT_EQ(second.init(second.name(), 8, ht_func), MSG_SOK);
    EXPECT_EQ(second.size(), 8);

    // Tables outlive the registry, and do not take a namesake out of the next one.
    HashTable::destroy();
    EXPECT_EQ(HashTable_inquire("t"), nullptr);
    EXPECT_EQ(second.append("k", 1), MSG_SOK);
    HashTable::init();
    HashTable namesake;
    EXPECT_EQ(namesake.init("t", 4, ht_func), MSG_SOK);
    EXPECT_EQ(second.init(4, ht_func), MSG_SOK); // gives up its old name
    EXPECT_EQ(HashTable_inquire("t"), &namesake);
    HashTable::destroy();
    HashTable::destroy();
}

TEST(HashTableDeath, MisuseNamesTheBrokenRule) {
    HashTable unset, table, astray;
    table.init(2, ht_func);
    astray.init(2, out_of_table);
    EXPECT_DEATH(table.append(nullptr, 1), "namep != NULL");
    EXPECT_DEATH(table.remove(nullptr), "namep != NULL");
    EXPECT_DEATH(table.init(0, ht_func), "size > 0");
    EXPECT_DEATH(table.init(1, nullptr), "hashf != NULL");
    EXPECT_DEATH(unset.init("x", 1, ht_func), "_Hash_hashtablep != NULL");
    EXPECT_DEATH(unset.inquire("x"), "_bucketsp != NULL");
    EXPECT_DEATH(astray.inquire("x"), "bucket >= 0 && bucket < _size");
}

} // namespace
