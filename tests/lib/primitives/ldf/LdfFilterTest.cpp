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
    // Reads the file once with next_record and once with get_next.
    void expect_pass(const Seqs& expect, const LdfFilter& f) {
        LdfReader reader;
        ASSERT_EQ(LDF_OK, reader.open(nullptr, "f"));
        int end = 0;
        EXPECT_EQ(expect, seqs(read_all(reader, f, &end)));
        EXPECT_EQ(LDF_EEND, end);

        EXPECT_EQ(LDF_OK, reader.rewind());
        Seqs copied;
        ldf_msg_header_t header;
        VList* args = nullptr;
        while (reader.get_next(f.catid, f.msgid, static_cast<char>(f.sev), static_cast<char>(f.otype),
                               f.onames, &header, nullptr, &args, f.flags) == LDF_OK) {
            copied.push_back(header.seq);
            delete args;
        }
        EXPECT_EQ(expect, copied);
    }
};

TEST_F(LdfFilterTest, Combinations) {
    const struct {
        const char* name;
        int catid, msgid, sev, otype;
        std::vector<const char*> names;
        int flags;
        Seqs expect;
    } cases[] = {
        {"none", -1, -1, ANY, ANY, {}, 0, {0, 1, 2, 3, 4, 5}},
        {"none, match any", -1, -1, ANY, ANY, {}, LDF_MATCH_ANY, {0, 1, 2, 3, 4, 5}},
        {"severity; other flags are ignored", -1, -1, 1, ANY, {}, 2 | 4 | 8 | 32, {0, 2}},
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
        {"severity and name", -1, -1, 1, ANY, {"res1"}, 0, {0}},
        {"severity or name", -1, -1, 1, ANY, {"res1"}, LDF_MATCH_ANY, {0, 2, 3}},
        {"severity or piece", -1, -1, 200, ANY, {"res1"}, LDF_MATCH_ANY | LDF_MATCH_PIECES, {0, 1, 3, 5}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HashTable names;
        names.init(32, ht_func);
        for (const char* name : c.names) names.append(name);
        HashTable* const given = c.names.empty() ? nullptr : &names;
        expect_pass(c.expect, {c.catid, c.msgid, c.sev, c.otype, given, c.flags});
    }
    HashTable empty;
    empty.init(32, ht_func);
    expect_pass({}, {.onames = &empty});
}

TEST_F(LdfFilterTest, SkippedRecordIsStillChecked) {
    LdfReader reader;
    LdfBuilder().record().record({.version = 9}).record({.sev = 1}).write(path("g"));
    ASSERT_EQ(LDF_OK, reader.open(nullptr, "g"));
    int end = 0;
    EXPECT_TRUE(read_all(reader, {.sev = 1}, &end).empty());
    EXPECT_EQ(LDF_EVERSION, end);
}
