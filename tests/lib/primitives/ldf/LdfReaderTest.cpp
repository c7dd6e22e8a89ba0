#include <fcntl.h>
#include <unistd.h>

#include "LdfFixture.h"
#include "primitives/values/VList.h"

using namespace std::string_literals;

namespace {

// A text part of exactly `size` bytes.
std::string text_of(size_t size) {
    return "f\xFFg\xFF"s + std::string(size - 6, 'a') + "\xFF\0"s;
}

} // namespace

using LdfReaderTest = LdfFixture;

TEST_F(LdfReaderTest, EndsWhereTheRecordsDo) {
    const LdfBuilder two = LdfBuilder().records(2, {.args = {"a"}});
    const struct {
        const char* name;
        LdfBuilder file;
        size_t records;
        int expect;
    } cases[] = {
        {"no records", LdfBuilder(), 0, LDF_EEND},
        {"record behind the counted ones", LdfBuilder(two).total_msgs(1), 1, LDF_EEND},
        {"largest count", LdfBuilder(two).total_msgs(INT32_MAX), 2, LDF_EEND},
        {"negative count", LdfBuilder(two).total_msgs(-5), 0, LDF_EEND},
        {"record version 2", LdfBuilder().record().record({.version = 2}), 1, LDF_EVERSION},
        {"version 0, then cut", LdfBuilder().record({.version = 0}).offset_end(117).truncate(122), 0,
         LDF_EVERSION},
        {"version before length", LdfBuilder().record({.version = 2, .data_size = 5000}), 0, LDF_EVERSION},
        {"longest text", LdfBuilder().record({.text = text_of(4096)}), 1, LDF_EEND},
        {"text a byte too long", LdfBuilder().record().record({.text = text_of(4097)}), 1, LDF_EFAIL},
        {"length word of all ones", LdfBuilder().record({.data_size = 0xFFFFFFFF}), 0, LDF_EFAIL},
        {"hostile length, then cut", LdfBuilder().record({.data_size = 5000}).offset_end(117).truncate(121),
         0, LDF_EFAIL},
        {"length beyond the file", LdfBuilder().record({.data_size = 4096}), 0, LDF_EEND},
        {"length 0", LdfBuilder().record({.text = ""}).record(), 2, LDF_EEND},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LdfReader reader;
        open(reader, c.file);
        int end = 0;
        EXPECT_EQ(c.records, read_all(reader, {}, &end).size());
        EXPECT_EQ(c.expect, end);
        LdfRecordView view;
        EXPECT_EQ(c.expect, reader.next_record({}, view)); // and stays there
    }
}

TEST_F(LdfReaderTest, EveryPrefixGivesItsWholeRecords) {
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
        // A jump over records needs their length words only.
        const size_t lengths[] = {117 + 4, ends[0] + 4};
        for (int n = 1; n < 3; ++n) {
            EXPECT_EQ(LDF_OK, reader.rewind());
            EXPECT_EQ(lengths[n - 1] <= size ? LDF_OK : LDF_EFAIL, reader.jumpto(n)) << size;
        }
    }
}

TEST_F(LdfReaderTest, EveryFlippedByteGivesAListedResult) {
    const LdfBuilder good = LdfBuilder().records(3, {.args = {"a", "bc"}});
    const auto listed = [](int rc) { return rc == LDF_EFAIL || rc == LDF_EVERSION; };
    for (size_t pos = 0; pos < good.bytes().size(); ++pos) {
        for (uint8_t mask : std::initializer_list<uint8_t>{0x01, 0x10, 0x80, 0xFF}) {
            LdfBuilder(good).flip(pos, mask).write(path("f"));
            LdfReader reader;
            const int rc = reader.open(nullptr, "f");
            ASSERT_TRUE(rc == LDF_OK || listed(rc)) << pos;
            int end = 0;
            ASSERT_LE(read_all(reader, {}, &end).size(), 3u) << pos;
            ASSERT_TRUE(end == LDF_EEND || listed(end)) << pos;
        }
    }
}

TEST_F(LdfReaderTest, JumpsAndTailsToTheRightRecord) {
    // Sizes of one byte to the longest, many windows long.
    LdfBuilder file;
    constexpr int N = 700;
    for (int i = 0; i < N; ++i)
        file.record(
            {.seq = static_cast<uint32_t>(i), .text = text_of(6 + static_cast<size_t>(i * 37 % 4091))});
    LdfReader reader;
    open(reader, file);
    LdfRecordView view;
    ASSERT_EQ(LDF_OK, reader.next_record({}, view));
    for (int n : {2, 0, 3, 5, 3, 699, 350, 1, -7, 698, INT32_MIN}) { // 5: one back
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

TEST_F(LdfReaderTest, TailOfFilesWithoutRecordsOrWithWrongCounts) {
    const struct {
        const char* name;
        LdfBuilder file;
        int rc, next; // results of tail and of reading from there
    } cases[] = {{"empty", LdfBuilder(), LDF_OK, LDF_EEND},
                 {"negative count", LdfBuilder().record().total_msgs(INT32_MIN), LDF_OK, LDF_EEND},
                 {"more counted than there are", LdfBuilder().record().total_msgs(1000), LDF_EFAIL, LDF_EEND},
                 {"hostile length", LdfBuilder().record().record({.data_size = 0xFFFFFFE9}).records(30),
                  LDF_EFAIL, LDF_EFAIL},
                 {"length just too large", LdfBuilder().record().record({.text = text_of(4097)}).records(30),
                  LDF_EFAIL, LDF_EFAIL}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        LdfReader reader;
        open(reader, c.file);
        EXPECT_EQ(c.rc, reader.tail(20));
        LdfRecordView view;
        EXPECT_EQ(c.next, reader.next_record({}, view)); // a failed jump stops before the bad record
        if (c.rc == LDF_OK) continue;
        EXPECT_EQ(LDF_OK, reader.rewind());
        EXPECT_EQ(LDF_OK, reader.next_record({}, view));
    }
}

TEST_F(LdfReaderTest, SparseFileBeyond2GiBEndsInAResult) {
    // Records cannot be followed past the largest offset; nothing may wrap or be deleted as too short.
    LdfBuilder().record().total_msgs(INT32_MAX).write(path("f"));
    ASSERT_EQ(0, truncate(path("f").c_str(), 5ll << 30));
    LdfReader reader;
    ASSERT_EQ(LDF_OK, reader.open(nullptr, "f"));
    int end = 0;
    EXPECT_EQ(1u, read_all(reader, {}, &end).size());
    EXPECT_EQ(LDF_EVERSION, end); // the hole reads as version 0
    EXPECT_TRUE(exists(path("f")));
}

TEST_F(LdfReaderTest, FileThatChangesWhileOpen) {
    LdfReader reader;
    open(reader, LdfBuilder().record({.seq = 1}).records(5000, {.seq = 2}));
    LdfRecordView view;
    ASSERT_EQ(LDF_OK, reader.next_record({}, view));
    const int fd = ::open(path("f").c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(4, pwrite(fd, "\0\0\0\x9", 4, 117 + 19));
    close(fd);
    EXPECT_EQ(LDF_OK, reader.rewind()); // asks the file again
    ASSERT_EQ(LDF_OK, reader.next_record({}, view));
    EXPECT_EQ(9u, view.header.seq);

    ASSERT_EQ(0, truncate(path("f").c_str(), 117));
    int end = 0;
    EXPECT_LT(read_all(reader, {}, &end).size(), 5000u);
    EXPECT_EQ(LDF_EEND, end);
}

TEST_F(LdfReaderTest, GetNextCopies) {
    LdfReader reader;
    LdfTestRecord full = {.sev = 255, .obj = 3, .cat = 65535, .num = 0, .time = -1, .line = 0xFFFFFFFF};
    full.seq = 5;
    full.args = {"a", "b", "c", "d", "e", "f", "g", "h"};
    const LdfTestRecord longest = {.text = std::string(4096, 'n')};
    open(reader, LdfBuilder().record(full).record({.text = "only-file\xFF\0"s}).record(longest));
    ldf_msg_header_t header;
    auto dbg = std::make_unique<ldf_dbg_info_t>();
    VList* args = nullptr;
    auto next = [&] {
        delete args;
        args = nullptr;
        return reader.get_next(-1, -1, '\xFF', '\xFF', nullptr, &header, dbg.get(), &args, 0);
    };
    ASSERT_EQ(LDF_OK, next());
    EXPECT_EQ(-1, header.sev); // one byte, signed in memory
    EXPECT_EQ(3, header.obj_type);
    EXPECT_EQ(0xFFFF0000u, header.msgcat_id);
    EXPECT_EQ(-1, header.timestamp);
    EXPECT_EQ(0xFFFFFFFFu, dbg->line_no);
    EXPECT_EQ(5u, dbg->seq);
    EXPECT_STREQ("Log", dbg->filename);
    EXPECT_STREQ("open", dbg->function);
    ASSERT_EQ(8, args->count());
    EXPECT_STREQ("a", args->inquire(0)->getstr());
    EXPECT_STREQ("h", args->inquire(7)->getstr());

    ASSERT_EQ(LDF_OK, next());
    EXPECT_STREQ("only-file", dbg->filename);
    EXPECT_STREQ("open", dbg->function); // missing: left as it was
    ASSERT_NE(nullptr, args);
    EXPECT_EQ(0, args->count());

    ASSERT_EQ(LDF_OK, next());
    EXPECT_EQ(std::string(4095, 'n'), dbg->filename); // cut to its room
    EXPECT_EQ(LDF_EEND, next());
    EXPECT_EQ(nullptr, args);
    EXPECT_EQ(LDF_OK, reader.rewind());
    EXPECT_EQ(LDF_OK, reader.get_next(-1, -1, '\xFF', '\xFF', nullptr, nullptr, nullptr, nullptr, 0));
}
