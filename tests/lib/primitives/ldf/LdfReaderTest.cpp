#include "LdfFixture.h"
#include "primitives/values/HashTable.h"
#include "primitives/values/VList.h"
#include "support/FailingMalloc.h"

using LdfReaderTest = LdfFixture;

// A text part of exactly `size` bytes.
static std::string text_of(size_t size) {
    return "f\xFFg\xFF"s + std::string(size - 6, 'a') + "\xFF\0"s;
}

TEST_F(LdfReaderTest, CutAndFlippedFiles) {
    const LdfBuilder one = LdfBuilder().record({.args = {"a", "bc"}}), good = LdfBuilder(one).record();
    const size_t size = good.bytes().size(), second = one.bytes().size();
    for (size_t cut = 117; cut <= size; ++cut) {
        LdfReader reader;
        open(reader, LdfBuilder(good).offset_end(117).truncate(cut));
        int end = 0;
        ASSERT_EQ(size_t{cut >= second} + size_t{cut == size}, read_all(reader, {}, &end).size()) << cut;
        ASSERT_EQ(LDF_EEND, end) << cut;
        EXPECT_EQ(LDF_OK, reader.rewind()); // a jump over a record needs its length word only
        EXPECT_EQ(cut >= 117 + 4 ? LDF_OK : LDF_EFAIL, reader.jumpto(1)) << cut;
    }
    for (size_t at = 0; at < size; ++at)
        for (const int mask : {0x01, 0x10, 0x80, 0xFF}) {
            LdfBuilder(good).flip(at, static_cast<uint8_t>(mask)).write(path("f"));
            LdfReader reader;
            (void)reader.open(nullptr, "f");
            ASSERT_LE(read_all(reader).size(), 2u) << at;
        }
}

TEST_F(LdfReaderTest, JumpsAndTailsToTheRightRecord) {
    constexpr int N = 700; // sizes of one byte to the longest, many windows long
    LdfBuilder file;
    for (unsigned i = 0; i < N; ++i) file.record({.seq = i, .text = text_of(6 + i * 37 % 4091)});
    LdfReader reader;
    open(reader, file);
    LdfRecordView view;
    std::mt19937 random(1);
    for (int step = 0, at = 0; step < 1000; ++step) { // at: the record that comes next
        const int places[] = {
            INT32_MIN, -7, 0,     1,        at - 2, at - 1, at, at + 1, static_cast<int>(random() % N),
            N - 1,     N,  N + 1, INT32_MAX};
        const int n = places[random() % std::size(places)];
        const bool tail = random() % 2 == 0, good = tail ? n > 0 : n < N;
        ASSERT_EQ(good ? LDF_OK : LDF_EFAIL, tail ? reader.tail(n) : reader.jumpto(n)) << n;
        if (good) at = tail ? N - std::min(n, N) : std::max(n, 0); // a refused jump changes nothing
        for (auto reads = random() % 4; reads > 0 && at < N; --reads, ++at) {
            ASSERT_EQ(LDF_OK, reader.next_record({}, view)) << at;
            ASSERT_EQ(at, static_cast<int>(view.header.seq));
        }
        ASSERT_TRUE(at < N || reader.next_record({}, view) == LDF_EEND);
    }
}

TEST_F(LdfReaderTest, FileThatChangesMeanwhile) {
    const LdfBuilder mixed = LdfBuilder().record().total_msgs(0), grown = LdfBuilder().records(2);
    const std::tuple<int, int, int> cases[] = {// before which read it grows, records in the header, reads
                                               {1, 2, 1},  // the size is asked after the header was read
                                               {2, 2, 2},  // a header that does not add up is read again
                                               {0, 0, 6}}; // five times at most
    for (const auto& [growth, total, expected] : cases) {
        mixed.write(path("f"));
        int reads = 0;
        system_call_plan = [&, at = growth](const SystemCall& call) {
            if (call.name == "pread" && ++reads == at) grown.write(path("f"));
            return PASS;
        };
        EXPECT_EQ(total, header_of("f").total_msgs);
        EXPECT_EQ(expected, reads);
    }
    system_call_plan = nullptr;

    LdfReader reader; // and while it is open
    open(reader, LdfBuilder().records(5000));
    LdfRecordView view;
    EXPECT_EQ(LDF_OK, reader.next_record({}, view));
    LdfBuilder().record({.seq = 9}).write(path("f"));
    EXPECT_EQ(LDF_OK, reader.rewind());
    EXPECT_EQ(Seqs{9}, read_all(reader)) << "asks the file again";
}

TEST_F(LdfReaderTest, Filters) {
    const std::vector<std::string> seven = {"1", "2", "3", "4", "5", "6", "res2"};
    // Six records that differ in one respect each; seq tells them apart.
    LdfBuilder()
        .record({.sev = 1, .obj = 3, .cat = 25, .num = 100, .seq = 0, .args = {"res1", "ONLINE"}})
        .record({.sev = 3, .obj = 3, .cat = 25, .num = 200, .seq = 1, .args = {"sys1:res1", "x"}})
        .record({.sev = 1, .obj = 6, .cat = 26, .num = 100, .seq = 2, .args = {}})
        .record({.sev = 4, .obj = 0, .cat = 10000, .num = 0, .seq = 3, .args = {"RES1"}})
        .record({.sev = 4, .obj = 6, .cat = 65535, .num = 65535, .seq = 4, .args = seven})
        .record({.sev = 200, .obj = 200, .cat = 25, .num = 300, .seq = 5, .args = {"a::b:", ":"}})
        .write(path("f"));
    const std::tuple<LdfFilter, std::vector<const char*>, Seqs> cases[] = {
        {LdfFilter{.flags = LDF_MATCH_ANY}, {}, {0, 1, 2, 3, 4, 5}},
        {LdfFilter{.sev = 1, .flags = ~(LDF_MATCH_ANY | LDF_MATCH_PIECES)}, {}, {0, 2}},
        {LdfFilter{.catid = 65535}, {}, {4}},
        {LdfFilter{.catid = 65536 + 25}, {}, {}},
        {LdfFilter{.catid = 25, .msgid = 100, .sev = 1, .otype = 3}, {}, {0}},
        {LdfFilter{.msgid = 200, .sev = 1, .flags = LDF_MATCH_ANY}, {}, {0, 1, 2}},
        {LdfFilter{.catid = 10000, .msgid = 200, .sev = 200, .otype = 6, .flags = LDF_MATCH_ANY},
         {},
         {1, 2, 3, 4, 5}},
        {LdfFilter{}, {"Res1"}, {0, 3}},
        {LdfFilter{}, {"RES2"}, {4}},
        {LdfFilter{}, {"Log", "open"}, {}}, // file and function are no arguments
        {LdfFilter{.flags = LDF_MATCH_PIECES}, {"res1"}, {0, 1, 3}},
        {LdfFilter{.flags = LDF_MATCH_PIECES}, {"", "res", "B"}, {5}},
        {LdfFilter{.sev = 200, .flags = LDF_MATCH_ANY | LDF_MATCH_PIECES}, {"res1"}, {0, 1, 3, 5}},
    };
    LdfReader reader;
    ASSERT_EQ(LDF_OK, reader.open(nullptr, "f"));
    for (auto [filter, words, expect] : cases) {
        HashTable names;
        names.init(32, ht_func);
        for (const char* word : words) names.append(word);
        const LdfNameHints hints(names);
        if (!words.empty()) filter.onames = &names;
        for (const LdfNameHints* with : {static_cast<const LdfNameHints*>(nullptr), &hints}) {
            filter.hints = with;
            EXPECT_EQ(LDF_OK, reader.rewind());
            EXPECT_EQ(expect, read_all(reader, filter)) << filter.catid << testing::PrintToString(words);
        }
    }
}

TEST_F(LdfReaderTest, GetNextCopies) {
    const LdfTestRecord full = {.sev = 255, .cat = 65535, .num = 0, .time = -1, .args = {"a", "b", "c"}};
    LdfReader reader;
    open(reader, LdfBuilder().record().record(full).record({.cat = 65535, .text = std::string(4096, 'n')}));
    ldf_msg_header_t header;
    auto dbg = std::make_unique<ldf_dbg_info_t>();
    VList* list = nullptr;
    const auto next = [&] {
        return reader.get_next(65535, -1, '\xFF', '\xFF', nullptr, &header, dbg.get(), &list, 0);
    };
    ASSERT_EQ(LDF_OK, next());
    const std::unique_ptr<VList> args(list);
    EXPECT_TRUE(header.sev == -1 && header.msgcat_id == 0xFFFF0000u && header.timestamp == -1);
    EXPECT_TRUE(dbg->line_no == 42 && dbg->seq == 0xFFFFFFFF && dbg->filename == "Log"s);
    EXPECT_TRUE(args->count() == 3 && args->tail()->getstr() == "c"s);
    ASSERT_EQ(LDF_OK, next());
    const std::unique_ptr<VList> none(list);
    EXPECT_EQ(0, none->count());
    EXPECT_EQ(std::string(4095, 'n'), dbg->filename) << "cut to its room";
    EXPECT_STREQ("open", dbg->function) << "missing: left as it was";
    EXPECT_EQ(LDF_EEND, next());
}

TEST_F(LdfReaderTest, NamesAreOfTheDataRootOrOfTheGivenFolder) {
    LdfBuilder().write(temp.make("sub") + "/f.ldf");
    LdfReader reader;
    EXPECT_TRUE(reader.rewind() == LDF_EFAIL && reader.tail(1) == LDF_EFAIL);
    EXPECT_EQ(LDF_OK, reader.open(nullptr, "../sub/f"));
    EXPECT_EQ(LDF_EFAIL, reader.open(nullptr, std::string(5000, 'n').c_str()));
    setenv("TAQ_LDF", (root + "/none").c_str(), 1);
    EXPECT_EQ(LDF_EROOT, reader.open(nullptr, "f"));
    EXPECT_FALSE(reader.is_opened());
    EXPECT_EQ(LDF_OK, reader.open((root + "/sub").c_str(), "f"));
}

TEST_F(LdfReaderTest, WithoutMemoryTheNameIsFreeAgain) {
    LdfBuilder().record().write(path("f"));
    const auto name_is_free = [] { EXPECT_EQ(nullptr, LdfReader_obj("f")); };
    const auto read = [] {
        LdfReader reader;
        LdfRecordView view;
        int rc = reader.open(nullptr, "f");
        if (rc == LDF_OK) rc = reader.next_record({}, view);
        EXPECT_TRUE(rc == LDF_OK || rc == LDF_ENOMEM) << rc;
        return rc == LDF_OK;
    };
    EXPECT_GE(until_memory_suffices(read, name_is_free), 1);
}

TEST_F(LdfReaderTest, JumpsOverASizeAcrossTheEndOfAWindow) {
    constexpr size_t SIXTEENTH = LDF_WINDOW_MAX / 16 - LDF_RECORD_HEADER_SIZE;
    for (size_t inside = 0; inside <= 4; ++inside) {
        LdfBuilder file;
        for (unsigned i = 0; i < 19; ++i)
            file.record({.seq = i, .text = text_of(SIXTEENTH - (i == 15 ? inside : 0))});
        LdfReader reader;
        open(reader, file);
        LdfRecordView view;
        ASSERT_TRUE(reader.jumpto(18) == LDF_OK && reader.next_record({}, view) == LDF_OK) << inside;
        EXPECT_EQ(18u, view.header.seq) << inside;
    }
}
