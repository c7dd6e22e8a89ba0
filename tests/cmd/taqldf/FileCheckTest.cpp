// Each check of a file broken singly: the verdict names the place and what can be saved.
#include "FileCheck.h"

#include <cstring>
#include <gtest/gtest.h>

#include "support/LdfBuilder.h"

namespace {

constexpr int64_t NOW = 1794900000;
constexpr int64_t RECORD = 33, FIRST = 117; // bytes of a record, offset of the first

LdfMemoryBytes memory(const std::string& bytes) {
    return LdfMemoryBytes({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
}
FileVerdict check(const std::string& bytes) {
    LdfMemoryBytes file = memory(bytes);
    return check_file(file, NOW);
}

// Five records; the third differs.
LdfBuilder with(const LdfTestRecord& third, int behind = 2) {
    return LdfBuilder().records(2).record(third).records(behind);
}
LdfTestRecord with_text(std::string text) {
    LdfTestRecord record;
    record.text = std::move(text);
    return record;
}

TEST(FileCheckTest, NamesTheFirstFault) {
    const int64_t third = FIRST + 2 * RECORD;
    const struct {
        const char* reason;
        LdfBuilder file;
        int64_t offset, record, recoverable;
    } cases[] = {
        {"no log data file (signature 22901)", with({}).signature(22901), 0, -1, 5},
        {"116 bytes are too short for a log data file", with({}).truncate(116), 0, -1, 0},
        {"the host is no printable name", with({}).system("node\x01"), 12, -1, 5},
        {"the host is no printable name", with({}).system(std::string(33, 'n')), 12, -1, 5},
        {"the host is no printable name", with({}).system(std::string("a\0b", 3)), 12, -1, 5},
        {"platform 8", with({}).put32(45, 8), 45, -1, 5},
        {"created at -1", with({}).created(-1), 49, -1, 5},
        {"the header counts -1 records", with({}).total_msgs(-1), 57, -1, 5},
        {"the severities sum to 6 of 5 records", with({}).put32(61, 1), 61, -1, 5},
        {"the severities sum to 4 of 5 records", with({}).put32(61, 0xFFFFFFFF), 61, -1, 5},
        {"the object types sum to 6 of 5 records", with({}).put32(81, 1), 81, -1, 5},
        {"flags 2", with({}).flags(2), 109, -1, 5},
        {"the records end at 116, in the header", with({}).offset_end(116), 113, -1, 5},
        {"the header ends at 283, the file at 282", with({}).offset_end(283), 113, -1, 5},
        {"data_size 0", with({.data_size = 0}), third, 2, 2},
        {"data_size 4097 exceeds 4096", with({.data_size = 4097}), third, 2, 2},
        {"record version 2", with({.version = 2}), third, 2, 2},
        {"severity 58", with({.sev = 58}), third, 2, 2},
        {"object type 7", with({.obj = 7}).put32(105, 5), third, 2, 2},
        {"the text has no NUL at its end", with(with_text("f\xffg\xff")), third, 2, 2},
        {"the text holds a NUL", with(with_text(std::string("f\xff\0g\xff", 5) + '\0')), third, 2, 2},
        {"the text is not made of 2 to 8 pieces", with(with_text(std::string("f\xff\0", 3))), third, 2, 2},
        {"the text is not made of 2 to 8 pieces", with(with_text(std::string("f\xff\xffg\xff\0", 6))), third,
         2, 2},
        {"the text is not made of 2 to 8 pieces", with(with_text(std::string("f\xffg\0", 4))), third, 2, 2},
        {"the text is not made of 2 to 8 pieces",
         with(with_text(std::string("\xff"
                                    "f\xffg\0",
                                    5))),
         third, 2, 2},
        {"the text is not made of 2 to 8 pieces", with({.args = {"1", "2", "3", "4", "5", "6", "7"}}), third,
         2, 2},
        {"the source position is not printable", with({.func = "g\x7f"}), third, 2, 2},
        {"the source position is not printable", with({.file = "12345678\x1f"}), third, 2, 2},
        {"the source position is not printable", with({.file = "\x80g"}), third, 2, 2},
        {"the header counts 4 informations, there are 5", with({}).put32(77, 4), 77, -1, 5},
        {"the header counts 1 type RES, there are 0", with({}).put32(81, 1).put32(105, 4), 81, -1, 5},
        {"the records end here, for the header at 0xf5",
         with({}).total_msgs(3).put32(77, 3).put32(105, 3).offset_end(245), FIRST + 3 * RECORD, 3, 2},
        {"the file ends here, the header counts 6 records", with({}).total_msgs(6).put32(105, 6),
         FIRST + 5 * RECORD, 5, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason);
        const FileVerdict verdict = check(c.file.bytes());
        EXPECT_EQ(FileVerdict::DAMAGED, verdict.kind);
        EXPECT_EQ(c.reason, verdict.reason);
        EXPECT_EQ(c.offset, verdict.damage_offset);
        EXPECT_EQ(c.record, verdict.damage_record);
        EXPECT_EQ(c.recoverable, verdict.recoverable);
        EXPECT_FALSE(verdict.is_live);
    }
    EXPECT_EQ(FileVerdict::UNREADABLE, check(with({}).version(3, 1).bytes()).kind);
}

TEST(FileCheckTest, PassesWhatWritersMake) {
    LdfBuilder file;
    for (const uint8_t sev : {uint8_t{0}, uint8_t{5}, uint8_t{57}})
        for (const uint8_t obj : {uint8_t{0}, uint8_t{6}})
            file.record({.sev = sev, .obj = obj, .args = {"\xC3\xA4", "2", "3", "4", "5", "6"}});
    file.record(with_text(std::string(1, '\0'))).record({.file = "größe.cpp", .func = "~"});
    file.record({.time = 1794854290 - 86401}).record({.time = 1794854299 + 86401}).record({.seq = 7});
    file.record({.seq = 7}).record({.seq = 8, .args = {"\xC3"}});
    file.record(
        with_text("f\xffg\xff" + std::string(4090, 'x') + "\xff" + std::string(1, '\0'))); // the longest
    const std::string record = LdfBuilder::record_bytes({});
    const FileVerdict verdict = check(file.append(record + record.substr(2)).bytes());
    EXPECT_EQ(FileVerdict::WHOLE, verdict.kind) << verdict.reason;
    EXPECT_EQ(14, verdict.records);
    EXPECT_EQ(static_cast<int64_t>(2 * record.size() - 2), verdict.tail_size);
    EXPECT_EQ(1, verdict.tail_records);
    EXPECT_EQ(1, verdict.notes.not_utf8);
    EXPECT_EQ(2, verdict.notes.outside_times);
    EXPECT_EQ(2, verdict.notes.steps_back);
    EXPECT_EQ(1, verdict.notes.seq_not_rising);
}

TEST(FileCheckTest, TakesNoClockForADamage) {
    for (const auto& [modified, note] :
         {std::pair(1794854289, 1), {1794854290, 0}, {int32_t{NOW} + 86400, 0}, {int32_t{NOW} + 86401, 1}}) {
        const FileVerdict verdict = check(with({}).modified(modified).bytes());
        EXPECT_EQ(FileVerdict::WHOLE, verdict.kind) << verdict.reason;
        EXPECT_EQ(note, verdict.notes.header_times) << modified;
    }
}

// A writer that adds a record whenever the file is read; every third header is a mixture that adds up.
class LiveBytes : public LdfBytes {
public:
    int64_t read(void* buffer, size_t n, int64_t offset) override {
        if (offset == 0) {
            LdfBuilder file;
            file.records(++_records);
            if (_records % 3 == 0) file.offset_end(0x70);
            _bytes = file.bytes() + LdfBuilder::record_bytes({}); // the header will count it
        }
        return memory(_bytes).read(buffer, n, offset);
    }
    int64_t size() override { return static_cast<int64_t>(_bytes.size()); }

private:
    int _records = 1;
    std::string _bytes;
};

TEST(FileCheckTest, AFileThatIsWrittenMeanwhileIsWhole) {
    LiveBytes bytes;
    for (int i = 0; i < 20; ++i) {
        const FileVerdict verdict = check_file(bytes, NOW);
        EXPECT_EQ(FileVerdict::WHOLE, verdict.kind) << verdict.reason;
        EXPECT_TRUE(verdict.is_live);
        EXPECT_EQ(0, verdict.tail_size);
    }
}

} // namespace
