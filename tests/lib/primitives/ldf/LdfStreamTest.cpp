#include <random>

#include "LdfFixture.h"
#include "primitives/ldf/LdfStream.h"

using LdfStreamTest = LdfFixture;

namespace {

// A file that gives a few bytes at a time, and its header as a list of states, one for each reading.
class SlowBytes : public LdfBytes {
public:
    std::string bytes;
    std::vector<std::string> headers; // before the one in `bytes`
    size_t step = 1000;
    int64_t told_size = 0; // -1: a pipe
    int header_reads = 0;

    int64_t read(void* buffer, size_t n, int64_t offset) override {
        if (offset == 0 && static_cast<size_t>(header_reads++) < headers.size())
            return static_cast<int64_t>(
                headers[static_cast<size_t>(header_reads) - 1].copy(static_cast<char*>(buffer), n));
        EXPECT_TRUE(told_size >= 0 || offset == _next) << "a pipe is read once";
        const auto at = std::min(static_cast<size_t>(offset), bytes.size());
        const size_t got = bytes.copy(static_cast<char*>(buffer), std::min(n, step), at);
        _next = offset + static_cast<int64_t>(got);
        return static_cast<int64_t>(got);
    }
    int64_t size() override { return told_size < 0 ? -1 : static_cast<int64_t>(bytes.size()); }

private:
    int64_t _next = 0;
};

// Each record as number, offset and its own bytes.
std::string records_of(LdfStream& stream) {
    std::string all;
    for (LdfRun run; stream.next(run);) {
        size_t at = 0;
        for (int32_t i = 0; i < run.count; ++i) {
            const size_t size = ldf_record_size(run.bytes + at);
            all += std::to_string(run.first + i) + "@" +
                   std::to_string(run.offset + static_cast<int64_t>(at)) + ":" +
                   std::string(reinterpret_cast<const char*>(run.bytes) + at, size);
            at += size;
        }
        EXPECT_EQ(run.size, at);
    }
    return all;
}

} // namespace

// Stream and reader give every record before a damage; the stream names it.
TEST_F(LdfStreamTest, EveryFileGivesAListedResult) {
    const LdfBuilder one = LdfBuilder().record({.args = {"a"}}), two = LdfBuilder(one).record(one.last());
    const auto text_of = [](size_t size) { return "f\xFFg\xFF"s + std::string(size - 6, 'a') + "\xFF\0"s; };
    const size_t first = LdfBuilder::record_bytes(two.last()).size(), second = 117 + first;
    const std::string cut = "offset 0x98, record 1: the file ends here, the header counts 2 records";
    const struct {
        const char* name;
        LdfBuilder file;
        int opened;
        size_t records;
        std::string damage;
        int end = LDF_EEND,
            tail = LDF_OK; // results of the reader: of its opening or last reading, and of tail(20)
    } cases[] = {
        {"sound", two, LDF_OK, 2, ""},
        {"no NUL in the host name", LdfBuilder().system(std::string(33, 'h')), LDF_OK, 0, ""},
        {"longest text", LdfBuilder().record({.text = text_of(4096)}), LDF_OK, 1, ""},
        {"length 0", LdfBuilder().record({.text = ""}).record(), LDF_OK, 2, ""},
        {"records behind the counted ones", LdfBuilder(two).total_msgs(1), LDF_OK, 1, ""},
        {"end before a record", LdfBuilder(one).offset_end(116), LDF_OK, 1, ""},
        {"end beyond", LdfBuilder(two).offset_end(9999), LDF_OK, 2,
         "offset 0xbb, record 2: the file ends here, the header ends at 9999", LDF_EFAIL},
        {"header cut", LdfBuilder().truncate(116), LDF_EFAIL, 0,
         "116 bytes are too short for a log data file"},
        {"signature", LdfBuilder().signature(7), LDF_EFAIL, 0, "no log data file (signature 7)"},
        {"version", LdfBuilder().version(4, 0), LDF_EVERSION, 0, "written by another version (4)"},
        {"negative total", LdfBuilder(two).total_msgs(-1), LDF_OK, 0, "the header counts -1 records"},
        {"largest total", LdfBuilder(two).total_msgs(INT32_MAX), LDF_OK, 2,
         "offset 0xbb, record 2: the file ends here, the header counts 2147483647 records", LDF_EEND,
         LDF_EFAIL},
        {"text too long", LdfBuilder(one).record({.text = text_of(4097)}).records(30), LDF_OK, 1,
         "offset 0x98, record 1: data_size 4097 exceeds 4096", LDF_EFAIL, LDF_EFAIL},
        {"hostile length", LdfBuilder().record({.data_size = ~22u}).records(30), LDF_OK, 0,
         "offset 0x75, record 0: data_size 4294967273 exceeds 4096", LDF_EFAIL, LDF_EFAIL},
        {"record version", LdfBuilder(two).flip(second + 4), LDF_OK, 1,
         "offset 0x98, record 1: record version 254", LDF_EVERSION},
        {"record version, and length", LdfBuilder(one).record({.version = 2, .data_size = 5000}), LDF_OK, 1,
         "offset 0x98, record 1: data_size 5000 exceeds 4096", LDF_EVERSION},
        {"cut in the text", LdfBuilder(two).cut(1), LDF_OK, 1, cut, LDF_EFAIL},
        {"cut in the fixed part", LdfBuilder(two).truncate(second + 22), LDF_OK, 1, cut, LDF_EFAIL},
        {"cut between records", LdfBuilder(two).truncate(second), LDF_OK, 1, cut, LDF_EFAIL},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SlowBytes bytes;
        bytes.bytes = c.file.bytes();
        LdfStream stream;
        EXPECT_EQ(c.opened, stream.open(bytes));
        std::string expected;
        for (size_t i = 0, at = 117; i < c.records; ++i) {
            const size_t size = LDF_RECORD_HEADER_SIZE + from_be(bytes.bytes.substr(at, 4));
            expected += std::to_string(i) + "@" + std::to_string(at) + ":" + bytes.bytes.substr(at, size);
            at += size;
        }
        EXPECT_EQ(expected, records_of(stream));
        EXPECT_EQ(c.damage, stream.damage().text());

        LdfReader reader;
        c.file.write(path("f"));
        if (const int opened = reader.open(nullptr, "f"); opened != LDF_OK) {
            EXPECT_EQ(c.opened != LDF_OK ? c.opened : c.end, opened);
            continue;
        }
        EXPECT_TRUE(LdfReader_obj("F") == &reader && reader.get_header()->system[32] == 0);
        int end = 0;
        EXPECT_EQ(c.records, read_all(reader, {}, &end).size());
        EXPECT_EQ(c.end, end);
        EXPECT_EQ(c.tail, reader.tail(20));
    }
}

TEST_F(LdfStreamTest, GivesTheSameFromFilesMemoryAndPipesHoweverTheyArrive) {
    std::mt19937 random(3);
    for (int round = 0; round < 40; ++round) {
        LdfBuilder file;
        std::string expected;
        size_t offset = 117;
        for (int i = 0, n = static_cast<int>(random() % 60); i < n; ++i) {
            file.record({.args = {std::string(random() % 4000, 'a'), std::to_string(i)}});
            const std::string record = LdfBuilder::record_bytes(file.last());
            expected += std::to_string(i) + "@" + std::to_string(offset) + ":" + record;
            offset += record.size();
        }
        const std::string bytes = file.bytes();
        file.write(path("f"));
        LdfStream stream(2 * LDF_RECORD_MAX);

        FILE* const fp = std::fopen(path("f").c_str(), "r");
        LdfFileBytes from_file(fileno(fp));
        EXPECT_EQ(LDF_OK, stream.open(from_file));
        EXPECT_EQ(expected, records_of(stream));
        std::fclose(fp);
        LdfMemoryBytes from_memory({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
        EXPECT_EQ(LDF_OK, stream.open(from_memory));
        EXPECT_EQ(expected, records_of(stream));
        SlowBytes from_pipe;
        from_pipe.bytes = bytes;
        from_pipe.told_size = -1;
        from_pipe.step = 1 + random() % 5000;
        EXPECT_EQ(LDF_OK, stream.open(from_pipe));
        EXPECT_EQ(expected, records_of(stream));
        EXPECT_FALSE(stream.damage()) << stream.damage().text();
    }
}

TEST_F(LdfStreamTest, ReadsAMixedHeaderAgainAndGoesOnWhereItWas) {
    LdfBuilder file;
    file.records(3, {.args = {"a"}});
    SlowBytes bytes;
    bytes.bytes = file.bytes();
    const std::string mixed = LdfBuilder(file).total_msgs(2).bytes().substr(0, 117);
    const auto opens = [&](size_t times) {
        bytes.headers.assign(times, mixed);
        bytes.header_reads = 0;
        LdfStream stream;
        EXPECT_EQ(LDF_OK, stream.open(bytes));
        return stream.header().total_msgs;
    };
    EXPECT_EQ(3, opens(1));
    EXPECT_EQ(3, opens(5));
    EXPECT_EQ(2, opens(6)) << "taken as it is in the end";
    EXPECT_EQ(6, bytes.header_reads);

    bytes.headers.clear();
    LdfStream stream;
    bytes.bytes = LdfBuilder(file).append("not yet a record").bytes();
    EXPECT_EQ(LDF_OK, stream.open(bytes));
    EXPECT_FALSE(records_of(stream).empty());
    bytes.bytes = file.record({.args = {"later"}}).bytes();
    EXPECT_EQ(LDF_OK, stream.refresh());
    EXPECT_NE(records_of(stream).find("later"), std::string::npos);
    EXPECT_EQ("", records_of(stream));
    bytes.bytes.resize(100);
    EXPECT_EQ(LDF_EFAIL, stream.refresh());
    EXPECT_EQ(4, stream.header().total_msgs);
    EXPECT_EQ("", records_of(stream));
}
