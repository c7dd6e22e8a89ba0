#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "LdfFixture.h"
#include "primitives/values/HashTable.h"
#include "primitives/values/VList.h"
#include "support/FailingMalloc.h"
#include "support/SystemCalls.h"

using namespace std::string_literals;
namespace fs = std::filesystem;
using LdfReaderTest = LdfFixture;

namespace {

// A text part of exactly `size` bytes.
std::string text_of(size_t size) {
    return "f\xFFg\xFF"s + std::string(size - 6, 'a') + "\xFF\0"s;
}

} // namespace

TEST_F(LdfReaderTest, EveryFileGivesAListedResult) {
    const LdfBuilder two = LdfBuilder().records(2, {.args = {"a"}});
    const LdfBuilder hostile = LdfBuilder().record().record({.data_size = 0xFFFFFFE9}).records(30);
    const struct {
        const char* name;
        LdfBuilder file;
        int open, records = 0, end = 0; // result of open, number of records and result of reading on
        int tail = LDF_OK;              // of 20 records
    } cases[] = {
        {"bytes behind the last record", LdfBuilder(two).append("junk"), LDF_OK, 2, LDF_EEND},
        {"host name without NUL", LdfBuilder().system(std::string(33, 'h')), LDF_OK, 0, LDF_EEND},
        {"bad signature and version", LdfBuilder().signature(0).version(4, 0), LDF_EFAIL},
        {"major version 4", LdfBuilder().version(4, 0), LDF_EVERSION},
        {"minor version 1", LdfBuilder().version(3, 1), LDF_EVERSION},
        {"end at the file's end", LdfBuilder().append("x").offset_end(118), LDF_OK, 0, LDF_EEND},
        {"end beyond the file", LdfBuilder().offset_end(118), LDF_EFAIL},
        {"end with the sign bit", LdfBuilder().offset_end(0x80000000u), LDF_EFAIL},
        {"end within the header", LdfBuilder().offset_end(0), LDF_OK, 0, LDF_EEND},
        {"one byte short", LdfBuilder().truncate(116), LDF_EFAIL},
        {"record behind the counted ones", LdfBuilder(two).total_msgs(1), LDF_OK, 1, LDF_EEND},
        {"largest count", LdfBuilder(two).total_msgs(INT32_MAX), LDF_OK, 2, LDF_EEND, LDF_EFAIL},
        {"smallest count", LdfBuilder(two).total_msgs(INT32_MIN), LDF_OK, 0, LDF_EEND},
        {"record version 2", LdfBuilder().record().record({.version = 2}), LDF_OK, 1, LDF_EVERSION},
        {"version before length", LdfBuilder().record({.version = 2, .data_size = 5000}), LDF_OK, 0,
         LDF_EVERSION},
        {"version 0, cut", LdfBuilder().record({.version = 0}).offset_end(117).truncate(122), LDF_OK, 0,
         LDF_EVERSION},
        {"longest text", LdfBuilder().record({.text = text_of(4096)}), LDF_OK, 1, LDF_EEND},
        {"text a byte too long", LdfBuilder().record().record({.text = text_of(4097)}).records(30), LDF_OK, 1,
         LDF_EFAIL, LDF_EFAIL},
        {"hostile length", hostile, LDF_OK, 1, LDF_EFAIL, LDF_EFAIL},
        {"hostile, cut", LdfBuilder().record({.data_size = 5000}).offset_end(117).truncate(121), LDF_OK, 0,
         LDF_EFAIL},
        {"length beyond the file", LdfBuilder().record({.data_size = 4096}), LDF_OK, 0, LDF_EEND},
        {"length 0", LdfBuilder().record({.text = ""}).record(), LDF_OK, 2, LDF_EEND},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        c.file.write(path("f"));
        LdfReader reader;
        EXPECT_EQ(c.open, reader.open(nullptr, "f"));
        EXPECT_EQ(c.open == LDF_OK, LdfReader_obj("F") == &reader);
        EXPECT_EQ(0, reader.get_header()->system[32]);
        EXPECT_EQ(c.file.bytes().size() >= 117, exists(path("f"))) << "a file without room for a header goes";
        if (c.open != LDF_OK) continue;
        int end = 0;
        EXPECT_EQ(static_cast<size_t>(c.records), read_all(reader, {}, &end).size());
        EXPECT_EQ(c.end, end);
        LdfRecordView view;
        EXPECT_EQ(c.end, reader.next_record({}, view)) << "and stays there";
        EXPECT_EQ(c.tail, reader.tail(20));
    }
}

TEST_F(LdfReaderTest, CutAndFlippedFiles) {
    const LdfBuilder good =
        LdfBuilder().record({.args = {"a", "bc"}}).record({.args = {}}).record({.args = {"d"}});
    const std::string bytes = good.bytes();
    std::vector<size_t> ends;
    for (size_t pos = 117; pos < bytes.size();)
        ends.push_back(pos += 23 + static_cast<unsigned char>(bytes[pos + 3]));
    for (size_t size = 117; size <= bytes.size(); ++size) {
        LdfReader reader;
        open(reader, LdfBuilder(good).offset_end(117).truncate(size));
        const auto whole = std::count_if(ends.begin(), ends.end(), [=](size_t end) { return end <= size; });
        int end = 0;
        ASSERT_EQ(static_cast<size_t>(whole), read_all(reader, {}, &end).size()) << size;
        ASSERT_EQ(LDF_EEND, end) << size;
        for (int n = 1; n < 3; ++n) { // a jump over records needs their length words only
            EXPECT_EQ(LDF_OK, reader.rewind());
            const size_t length_word = (n == 1 ? 117 : ends[0]) + 4;
            EXPECT_EQ(length_word <= size ? LDF_OK : LDF_EFAIL, reader.jumpto(n)) << size;
        }
    }
    const auto listed = [](int rc, int good_end) {
        return rc == good_end || rc == LDF_EFAIL || rc == LDF_EVERSION;
    };
    for (size_t pos = 0; pos < bytes.size(); ++pos) {
        for (const int mask : {0x01, 0x10, 0x80, 0xFF}) {
            LdfBuilder(good).flip(pos, static_cast<uint8_t>(mask)).write(path("f"));
            LdfReader reader;
            ASSERT_TRUE(listed(reader.open(nullptr, "f"), LDF_OK)) << pos;
            int end = 0;
            ASSERT_LE(read_all(reader, {}, &end).size(), 3u) << pos;
            ASSERT_TRUE(listed(end, LDF_EEND)) << pos;
        }
    }
}

TEST_F(LdfReaderTest, JumpsAndTailsToTheRightRecord) {
    constexpr int N = 700; // sizes of one byte to the longest, many windows long
    LdfBuilder file;
    for (unsigned i = 0; i < N; ++i) file.record({.seq = i, .text = text_of(6 + i * 37 % 4091)});
    LdfReader reader;
    open(reader, file);
    LdfRecordView view;
    ASSERT_EQ(LDF_OK, reader.next_record({}, view));
    for (int n : {2, 0, 3, 5, 3, N - 1, 350, 1, -7, N - 2, INT32_MIN}) { // 5: one back
        ASSERT_EQ(LDF_OK, reader.jumpto(n)) << n;
        for (int k = std::max(n, 0); k < std::min(std::max(n, 0) + 3, N); ++k) {
            ASSERT_EQ(LDF_OK, reader.next_record({}, view)) << n;
            ASSERT_EQ(static_cast<uint32_t>(k), view.header.seq);
        }
    }
    for (int n : {N, N + 1, INT32_MAX}) EXPECT_EQ(LDF_EFAIL, reader.jumpto(n)) << n;
    ASSERT_EQ(LDF_OK, reader.next_record({}, view)); // a refused jump changes nothing
    EXPECT_EQ(3u, view.header.seq);
    for (int n : {1, 20, N - 1, N, N + 1, INT32_MAX}) {
        EXPECT_EQ(LDF_OK, reader.tail(n)) << n;
        EXPECT_EQ(static_cast<size_t>(std::min(n, N)), read_all(reader).size()) << n;
    }
    for (int n : {0, INT32_MIN}) EXPECT_EQ(LDF_EFAIL, reader.tail(n)) << n;
}

TEST_F(LdfReaderTest, FileThatChangesMeanwhile) {
    const LdfBuilder mixed = LdfBuilder().record().total_msgs(0), grown = LdfBuilder().records(2);
    mixed.write(path("f"));
    int reads = 0;
    system_call_plan = [&](const SystemCall&) {
        if (++reads == 2) grown.write(path("f"));
        return PASS;
    };
    EXPECT_EQ(2u, seqs_in("f").size()) << "a header that does not add up is read again";
    reads = 2;
    mixed.write(path("f"));
    EXPECT_EQ(0, header_of("f").total_msgs);
    EXPECT_EQ(2 + 6, reads) << "five times at most";
    system_call_plan = [&](const SystemCall&) {
        if (++reads == 1) grown.write(path("f"));
        return PASS;
    };
    reads = 0;
    EXPECT_EQ(2, header_of("f").total_msgs);
    EXPECT_EQ(1, reads) << "the size is asked after the header was read";
    system_call_plan = nullptr;

    LdfReader reader; // and while it is open
    open(reader, LdfBuilder().record({.seq = 1}).records(5000));
    LdfRecordView view;
    EXPECT_EQ(LDF_OK, reader.next_record({}, view));
    LdfBuilder().record({.seq = 9}).write(path("f"));
    EXPECT_EQ(LDF_OK, reader.rewind());
    int end = 0;
    EXPECT_EQ(Seqs{9}, seqs(read_all(reader, {}, &end))) << "asks the file again";
    EXPECT_EQ(LDF_EEND, end);

    LdfBuilder().record().total_msgs(INT32_MAX).write(path("huge"));
    ASSERT_EQ(0, truncate(path("huge").c_str(), 5ll << 30)); // nothing wraps or is deleted as too short
    LdfReader huge;
    ASSERT_EQ(LDF_OK, huge.open(nullptr, "huge"));
    EXPECT_EQ(1u, read_all(huge, {}, &end).size());
    EXPECT_EQ(LDF_EVERSION, end) << "the hole reads as version 0";
}

TEST_F(LdfReaderTest, Filters) {
    constexpr int ANY = LDF_ANY_CODE;
    // Six records that differ in one respect each; seq tells them apart.
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
    const struct {
        const char* name;
        int catid, msgid, sev, otype;
        std::vector<const char*> names;
        int flags;
        Seqs expect;
    } cases[] = {
        {"none, match any", -1, -1, ANY, ANY, {}, LDF_MATCH_ANY, {0, 1, 2, 3, 4, 5}},
        {"severity; other flags are ignored", -1, -1, 1, ANY, {}, 2 | 4 | 8 | 32, {0, 2}},
        {"severity beyond the signed bytes", -1, -1, 200, ANY, {}, 0, {5}},
        {"highest catalog", 65535, -1, ANY, ANY, {}, 0, {4}},
        {"catalog out of range", 65536 + 25, -1, ANY, ANY, {}, 0, {}},
        {"number 0", -1, 0, ANY, ANY, {}, 0, {3}},
        {"all four", 25, 100, 1, 3, {}, 0, {0}},
        {"one of four wrong", 25, 100, 1, 6, {}, 0, {}},
        {"any of two", -1, 200, 1, ANY, {}, LDF_MATCH_ANY, {0, 1, 2}},
        {"any of four", 10000, 200, 200, 6, {}, LDF_MATCH_ANY, {1, 2, 3, 4, 5}},
        {"name, any case", -1, -1, ANY, ANY, {"Res1"}, 0, {0, 3}},
        {"name or piece", -1, -1, ANY, ANY, {"res1"}, LDF_MATCH_PIECES, {0, 1, 3}},
        {"whole argument with colon", -1, -1, ANY, ANY, {"SYS1:RES1"}, LDF_MATCH_PIECES, {1}},
        {"piece between", -1, -1, ANY, ANY, {"b"}, LDF_MATCH_PIECES, {5}},
        {"empty piece or part is no name", -1, -1, ANY, ANY, {"", "res"}, LDF_MATCH_PIECES, {}},
        {"seventh argument", -1, -1, ANY, ANY, {"RES2"}, 0, {4}},
        {"file and function are no arguments", -1, -1, ANY, ANY, {"Log", "open"}, 0, {}},
        {"severity and name", -1, -1, 1, ANY, {"res1"}, 0, {0}},
        {"severity or piece", -1, -1, 200, ANY, {"res1"}, LDF_MATCH_ANY | LDF_MATCH_PIECES, {0, 1, 3, 5}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HashTable names;
        names.init(32, ht_func);
        for (const char* name : c.names) names.append(name);
        HashTable* const given = c.names.empty() ? nullptr : &names;
        const LdfNameHints hints(names);
        LdfReader reader;
        ASSERT_EQ(LDF_OK, reader.open(nullptr, "f"));
        for (const LdfNameHints* with : {static_cast<const LdfNameHints*>(nullptr), &hints}) {
            EXPECT_EQ(LDF_OK, reader.rewind());
            EXPECT_EQ(c.expect,
                      seqs(read_all(reader, {c.catid, c.msgid, c.sev, c.otype, given, c.flags, with})));
        }
        EXPECT_EQ(LDF_OK, reader.rewind());
        Seqs copied;
        ldf_msg_header_t header;
        while (reader.get_next(c.catid, c.msgid, static_cast<char>(c.sev), static_cast<char>(c.otype), given,
                               &header, nullptr, nullptr, c.flags) == LDF_OK)
            copied.push_back(header.seq);
        EXPECT_EQ(c.expect, copied);
    }
}

TEST_F(LdfReaderTest, GetNextCopies) {
    LdfReader reader;
    LdfTestRecord full = {
        .sev = 255, .obj = 3, .cat = 65535, .num = 0, .time = -1, .line = 0xFFFFFFFF, .seq = 5};
    full.args = {"a", "b", "c", "d", "e", "f", "g", "h"};
    const LdfTestRecord longest = {.text = std::string(4096, 'n')};
    open(reader, LdfBuilder().record(full).record({.text = "only-file\xFF\0"s}).record(longest));
    ldf_msg_header_t header;
    auto dbg = std::make_unique<ldf_dbg_info_t>();
    std::unique_ptr<VList> args;
    const auto next = [&] {
        VList* list = nullptr;
        const int rc = reader.get_next(-1, -1, '\xFF', '\xFF', nullptr, &header, dbg.get(), &list, 0);
        args.reset(list);
        return rc;
    };
    ASSERT_EQ(LDF_OK, next());
    EXPECT_EQ(-1, header.sev) << "one byte, signed in memory";
    EXPECT_EQ(3, header.obj_type);
    EXPECT_EQ(0xFFFF0000u, header.msgcat_id);
    EXPECT_EQ(-1, header.timestamp);
    EXPECT_EQ(0xFFFFFFFFu, dbg->line_no);
    EXPECT_EQ(5u, dbg->seq);
    EXPECT_STREQ("open", dbg->function);
    ASSERT_EQ(8, args->count());
    EXPECT_STREQ("h", args->inquire(7)->getstr());
    ASSERT_EQ(LDF_OK, next());
    EXPECT_STREQ("only-file", dbg->filename);
    EXPECT_STREQ("open", dbg->function) << "missing: left as it was";
    EXPECT_EQ(0, args->count());
    ASSERT_EQ(LDF_OK, next());
    EXPECT_EQ(std::string(4095, 'n'), dbg->filename) << "cut to its room";
    EXPECT_EQ(LDF_EEND, next());
    EXPECT_EQ(nullptr, args);
}

TEST_F(LdfReaderTest, OneReaderPerName) {
    LdfReader::destroy();
    LdfReader first, second;
    EXPECT_EQ(LDF_ENOINIT, first.open(nullptr, "f"));
    LdfReader::init();
    LdfBuilder().write(path("f"));
    LdfBuilder().record().write(path("g"));
    LdfRecordView view;
    for (int rc : {first.rewind(), first.jumpto(0), first.tail(1), first.next_record({}, view)})
        EXPECT_EQ(LDF_EFAIL, rc);
    EXPECT_EQ(LDF_ENONAME, first.open(nullptr, nullptr));
    EXPECT_EQ(LDF_OK, first.open(nullptr, "f"));
    EXPECT_EQ(LDF_EREGISTERED, second.open(nullptr, "F"));
    EXPECT_EQ(nullptr, second.pathp());
    EXPECT_EQ(LDF_EFAIL, second.open(nullptr, "missing"));
    EXPECT_EQ(nullptr, LdfReader_obj("missing"));
    EXPECT_EQ(LDF_OK, first.open(nullptr, "g")); // moves on to another file
    EXPECT_EQ(1u, read_all(first).size());
    EXPECT_EQ(&first, LdfReader_obj("G"));
    LdfReader::destroy();
    LdfReader::init();
    EXPECT_EQ(LDF_OK, second.open(nullptr, "g"));
    EXPECT_EQ(LDF_OK, first.open(nullptr, "f")); // gives up a name that by now is another's
    EXPECT_EQ(&second, LdfReader_obj("g"));
}

TEST_F(LdfReaderTest, FindsRegularFilesOnly) {
    LdfBuilder().write(temp.make("sub") + "/f.ldf");
    LdfBuilder().truncate(10).write(root + "/short");
    ASSERT_EQ(0, mkfifo(path("fifo").c_str(), 0600)); // must not wait for a writer
    fs::create_directory(path("dir"));
    fs::create_symlink(root + "/short", path("link"));
    fs::create_symlink("/dev/null", path("device"));
    const struct {
        std::string env, dir, file;
        int expect;
    } cases[] = {
        {root + "/none", root + "/sub", "f", LDF_OK},
        {root, root + "/none", "f", LDF_EFAIL},
        {root, root + "/sub/f.ldf", "f", LDF_EFAIL},
        {root, "", "../sub/f", LDF_OK},
        {root + "/none", "", "f", LDF_EROOT},
        {root + "/sub", "", "f", LDF_EFAIL},
        {root, "", "missing", LDF_EFAIL},
        {root, "", std::string(5000, 'n'), LDF_EFAIL},
        {"/" + std::string(9000, 'r'), "", "f", LDF_EROOT},
        {root, "", "fifo", LDF_EFAIL},
        {root, "", "dir", LDF_EFAIL},
        {root, "", "link", LDF_EFAIL},
        {root, "", "device", LDF_EFAIL},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.env.substr(0, 50) + " " + c.dir + " " + c.file.substr(0, 50));
        setenv("TAQ_LDF", c.env.c_str(), 1);
        LdfReader reader;
        EXPECT_EQ(c.expect, reader.open(c.dir.empty() ? nullptr : c.dir.c_str(), c.file.c_str()));
        EXPECT_EQ(c.expect == LDF_OK, reader.is_opened());
    }
    for (const char* left : {"/ldf/fifo.ldf", "/ldf/dir.ldf", "/ldf/link.ldf", "/short"})
        EXPECT_TRUE(exists(root + left));
}

TEST_F(LdfReaderTest, WithoutMemoryTheNameIsFreeAgain) {
    LdfBuilder().record().write(path("f"));
    const auto names_are_free = [] {
        EXPECT_EQ(nullptr, LdfReader_obj("f"));
        EXPECT_EQ(nullptr, Ldf_obj("log"));
    };
    const auto read = [] {
        LdfReader reader;
        LdfRecordView view;
        int rc = reader.open(nullptr, "f");
        if (rc == LDF_OK) rc = reader.next_record({}, view);
        EXPECT_TRUE(rc == LDF_OK || rc == LDF_ENOMEM) << rc;
        return rc == LDF_OK;
    };
    EXPECT_GE(until_memory_suffices(read, names_are_free), 1);
    names_are_free();
}
