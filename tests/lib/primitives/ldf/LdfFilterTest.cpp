#include "LdfFixture.h"
#include "primitives/values/HashTable.h"
#include "primitives/values/VList.h"

namespace {
constexpr int ANY = LDF_ANY_CODE;
}

class LdfFilterTest : public LdfFixture {
protected:
    // Six records that differ in one respect each; seq tells them apart.
    LdfFilterTest() {
        LdfBuilder()
            .record({.sev = 1, .obj = 3, .cat = 25, .num = 100, .seq = 0, .args = {"res1", "ONLINE"}})
            .record({.sev = 3, .obj = 3, .cat = 25, .num = 200, .seq = 1, .args = {"sys1:res1", "x"}})
            .record({.sev = 1, .obj = 6, .cat = 26, .num = 100, .seq = 2, .args = {}})
            .record({.sev = 4, .obj = 0, .cat = 10000, .num = 0, .seq = 3, .args = {"RES1"}})
            .record({.sev = 4,
                     .obj = 6,
                     .cat = 65535,
                     .num = 65535,
                     .seq = 4,
                     .args = {"1", "2", "3", "4", "5", "6", "res2"}})
            .record({.sev = 200, .obj = 200, .cat = 25, .num = 300, .seq = 5, .args = {"a::b:", ":"}})
            .write(path("f"));
    }
    std::vector<unsigned> pass(const LdfFilter& filter) {
        LdfReader reader;
        EXPECT_EQ(LDF_OK, reader.open(nullptr, "f"));
        int end = 0;
        auto got = seqs(read_all(reader, filter, &end));
        EXPECT_EQ(LDF_EEND, end);
        return got;
    }
};

TEST_F(LdfFilterTest, Combinations) {
    using V = std::vector<unsigned>;
    const struct {
        const char* name;
        int catid, msgid, sev, otype;
        std::vector<const char*> names;
        int flags;
        V expect;
    } cases[] = {
        {"none", -1, -1, ANY, ANY, {}, 0, {0, 1, 2, 3, 4, 5}},
        {"none, match any", -1, -1, ANY, ANY, {}, LDF_MATCH_ANY, {0, 1, 2, 3, 4, 5}},
        {"other flags are ignored", -1, -1, 1, ANY, {}, 2 | 4 | 8 | 32, {0, 2}},
        {"severity", -1, -1, 1, ANY, {}, 0, {0, 2}},
        {"severity beyond the signed bytes", -1, -1, 200, ANY, {}, 0, {5}},
        {"catalog", 25, -1, ANY, ANY, {}, 0, {0, 1, 5}},
        {"highest catalog", 65535, -1, ANY, ANY, {}, 0, {4}},
        {"catalog out of range", 65536 + 25, -1, ANY, ANY, {}, 0, {}},
        {"number", -1, 100, ANY, ANY, {}, 0, {0, 2}},
        {"number 0", -1, 0, ANY, ANY, {}, 0, {3}},
        {"number out of range", -1, -2, ANY, ANY, {}, 0, {}},
        {"object type", -1, -1, ANY, 6, {}, 0, {2, 4}},
        {"all four", 25, 100, 1, 3, {}, 0, {0}},
        {"one of four wrong", 25, 100, 1, 6, {}, 0, {}},
        {"any of two", -1, 200, 1, ANY, {}, LDF_MATCH_ANY, {0, 1, 2}},
        {"any of four", 10000, 200, 200, 6, {}, LDF_MATCH_ANY, {1, 2, 3, 4, 5}},
        {"name, any case", -1, -1, ANY, ANY, {"Res1"}, 0, {0, 3}},
        {"name or piece", -1, -1, ANY, ANY, {"res1"}, LDF_MATCH_PIECES, {0, 1, 3}},
        {"whole argument with colon", -1, -1, ANY, ANY, {"SYS1:RES1"}, LDF_MATCH_PIECES, {1}},
        {"last piece and piece between", -1, -1, ANY, ANY, {"b"}, LDF_MATCH_PIECES, {5}},
        {"empty piece is no name", -1, -1, ANY, ANY, {""}, LDF_MATCH_PIECES, {}},
        {"part of an argument is no name", -1, -1, ANY, ANY, {"res"}, LDF_MATCH_PIECES, {}},
        {"seventh argument", -1, -1, ANY, ANY, {"RES2"}, 0, {4}},
        {"file and function are no arguments", -1, -1, ANY, ANY, {"Log", "open"}, 0, {}},
        {"no names in the table", -1, -1, ANY, ANY, {nullptr}, 0, {}},
        {"severity and name", -1, -1, 1, ANY, {"res1"}, 0, {0}},
        {"severity or name", -1, -1, 1, ANY, {"res1"}, LDF_MATCH_ANY, {0, 2, 3}},
        {"severity or piece", -1, -1, 200, ANY, {"res1"}, LDF_MATCH_ANY | LDF_MATCH_PIECES, {0, 1, 3, 5}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HashTable names;
        names.init(32, ht_func);
        for (const char* name : c.names)
            if (name) names.append(name);
        EXPECT_EQ(c.expect,
                  pass({c.catid, c.msgid, c.sev, c.otype, c.names.empty() ? nullptr : &names, c.flags}));
    }
}

TEST_F(LdfFilterTest, GetNextFiltersAlike) {
    LdfReader reader;
    ASSERT_EQ(LDF_OK, reader.open(nullptr, "f"));
    ldf_msg_header_t header;
    VList* args = nullptr;
    ASSERT_EQ(LDF_OK, reader.get_next(25, 300, static_cast<char>(200), static_cast<char>(200), nullptr,
                                      &header, nullptr, &args, 0));
    EXPECT_EQ(5u, header.seq);
    delete args;
    EXPECT_EQ(LDF_EEND, reader.get_next(-1, -1, 1, '\xFF', nullptr, &header, nullptr, &args, 0));
}

TEST_F(LdfFilterTest, SkippedRecordIsStillChecked) {
    for (bool names_given : {false, true}) {
        LdfBuilder().record().record({.version = 9}).record({.sev = 1}).write(path("f"));
        HashTable names;
        names.init(32, ht_func);
        LdfReader reader;
        ASSERT_EQ(LDF_OK, reader.open(nullptr, "f"));
        int end = 0;
        EXPECT_TRUE(read_all(reader, {.sev = 1, .onames = names_given ? &names : nullptr}, &end).empty());
        EXPECT_EQ(LDF_EVERSION, end);
    }
}
