// Damage of many kinds: every record that was left untouched comes back, in order, and the new file is whole.
#include "Recovery.h"
#include "InputBytes.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

#include "FileCheck.h"
#include "platform/unix/QENDescriptors.h"
#include "support/LdfBuilder.h"
#include "support/TempDir.h"

namespace {

constexpr int64_t NOW = 1794900000;
constexpr size_t HEADER = 117;

LdfMemoryBytes memory(const std::string& bytes) {
    return LdfMemoryBytes({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
}

struct Recovered {
    RecoveryResult result;
    std::vector<RecoveredRange> ranges;
    std::string bytes; // of the new file; "": no record

    int64_t records(RecoveredRange::Kind kind) const {
        int64_t count = 0;
        for (const RecoveredRange& range : ranges) count += range.kind == kind ? range.count : 0;
        return count;
    }
    std::vector<std::string> texts() const { // whole records
        std::vector<std::string> found;
        for (size_t at = HEADER; at < bytes.size(); at += found.back().size())
            found.push_back(bytes.substr(at, 23 + from_be(bytes.substr(at, 4))));
        return found;
    }
};

// Recovers, and checks what holds for any input.
Recovered recover(const std::string& bytes, bool keep_repeats = false) {
    static const TempDir dir;
    Recovered out;
    const int fd = QENOpenOrCreateFile(dir.write("new", "").c_str(), QENAccess::UPDATE);
    LdfMemoryBytes input = memory(bytes);
    RecoveredFile file(fd);
    const RecoverySettings settings{NOW, "", keep_repeats};
    out.result =
        Recovery(input, settings, file, [&](const RecoveredRange& r) { out.ranges.push_back(r); }).run();
    EXPECT_EQ(0, out.result.error);
    int64_t end = 0;
    for (const RecoveredRange& range : out.ranges) {
        EXPECT_EQ(end, range.from);
        EXPECT_LT(range.from, range.to);
        end = range.to;
    }
    EXPECT_EQ(static_cast<int64_t>(bytes.size()), end) << "the ranges tile the file";
    EXPECT_EQ(out.result.records, out.records(RecoveredRange::RECORDS));
    EXPECT_EQ(out.result.repeats, out.records(RecoveredRange::REPEAT));
    if (out.result.records > 0) {
        LdfFileBytes written(fd);
        const FileVerdict verdict = check_file(written, NOW);
        EXPECT_EQ(FileVerdict::WHOLE, verdict.kind) << verdict.reason;
        EXPECT_EQ(out.result.records, verdict.records);
        EXPECT_EQ(0, verdict.tail_size);
        out.bytes = dir.read("new");
    }
    QENCloseDescriptor(fd);
    return out;
}

// Records with any bytes that a text may hold, and with imitations of headers.
LdfTestRecord random_record(std::mt19937& chance) {
    LdfTestRecord record;
    record.sev = static_cast<uint8_t>(chance() % 6);
    record.obj = static_cast<uint8_t>(chance() % 7);
    record.time += static_cast<int32_t>(chance() % 9);
    record.line = static_cast<uint32_t>(chance() % 2000);
    record.num = static_cast<uint16_t>(chance());
    for (size_t args = chance() % 7; args-- > 0;) {
        std::string arg(1 + chance() % 40, 'x');
        for (char& c : arg) c = static_cast<char>(1 + chance() % (chance() % 2 != 0 ? 254 : 3));
        if (chance() % 30 == 0) arg.resize(600, 'y');
        record.args.push_back(arg);
    }
    if (chance() % 40 == 0) record.text = std::string(1, '\0');
    return record;
}

// Bytes, each with the place it came from: -1 for one that was changed.
struct Damaged {
    std::string bytes;
    std::vector<int> from;

    void insert(size_t at, const std::string& more) {
        bytes.insert(at, more);
        from.insert(from.begin() + static_cast<std::ptrdiff_t>(at), more.size(), -1);
    }
    void erase(size_t at, size_t size) {
        bytes.erase(at, size);
        const auto first = from.begin() + static_cast<std::ptrdiff_t>(at);
        from.erase(first, first + static_cast<std::ptrdiff_t>(std::min(size, from.size() - at)));
    }
    void put(size_t at, const std::string& other) {
        erase(at, other.size());
        insert(at, other);
    }
};

constexpr size_t PAGE = 512;
constexpr const char* KINDS[] = {"bit",    "zeros",  "random", "cut out",    "inserted",
                                 "header", "all 1s", "moved",  "stale page", "text mode"};

void damage(size_t kind, std::mt19937& chance, Damaged& file) {
    const size_t at = chance() % file.bytes.size(),
                 size = std::min(1 + chance() % (3 * PAGE), file.bytes.size() - at);
    std::string noise(size, '\0');
    switch (kind) {
    case 0: file.put(at, std::string(1, static_cast<char>(file.bytes[at] ^ 1 << chance() % 8))); break;
    case 1:
        file.put(at / PAGE * PAGE, std::string(std::min(PAGE, file.bytes.size() - at / PAGE * PAGE), '\0'));
        break;
    case 2:
        for (char& c : noise) c = static_cast<char>(chance());
        file.put(at, noise);
        break;
    case 3: file.erase(at, size); break;
    case 4:
        for (char& c : noise) c = static_cast<char>(chance() % 3);
        file.insert(at, noise);
        break;
    case 5: file.put(0, std::string(1 + chance() % HEADER, '\0')); break;
    case 6: file.put(at, std::string(size, '\xFF')); break;
    case 7: file.insert(0, file.bytes.substr(at, size)); break;
    case 8: {
        const size_t pages = file.bytes.size() / PAGE, later = chance() % pages;
        file.put(later * PAGE, file.bytes.substr(chance() % (later + 1) * PAGE, PAGE));
        break;
    }
    default:
        for (size_t i = 0; i < file.bytes.size(); ++i)
            if (file.bytes[i] == '\n') file.insert(i++, "\r");
    }
}

// Records whose bytes all stand side by side as they did, in the order of the damaged file.
std::vector<std::string> untouched(const Damaged& file, const std::map<int, std::string>& records) {
    std::vector<std::string> found;
    for (size_t at = 0, end = HEADER; at < file.from.size();) {
        const auto record = records.find(file.from[at]);
        size_t same = 0;
        if (record != records.end())
            while (same < record->second.size() && at + same < file.from.size() &&
                   file.from[at + same] == record->first + static_cast<int>(same))
                ++same;
        if (record == records.end() || same < record->second.size()) {
            ++at;
            continue;
        }
        // A text that is only a NUL says too little to be found for sure behind bytes that were changed.
        const bool is_sure = same > 24 || at == end;
        if (is_sure) found.push_back(record->second);
        at += same;
        if (is_sure) end = at;
    }
    return found;
}

TEST(RecoveryTest, BringsBackEveryUntouchedRecord) {
    const char* const damages = std::getenv("RECOVERY_DAMAGES"); // of each kind; 1,000 take minutes
    std::mt19937 chance(1);
    long records = 0, extra = 0;
    for (int round = 0; round < (damages != nullptr ? std::atoi(damages) : 25); ++round) {
        LdfBuilder builder;
        for (int i = 0; i < (round % 10 == 9 ? 6000 : 120); ++i) builder.record(random_record(chance));
        const std::string sound = builder.bytes();
        std::map<int, std::string> all;
        for (size_t at = HEADER; at < sound.size();) {
            const std::string record = sound.substr(at, 23 + from_be(sound.substr(at, 4)));
            all[static_cast<int>(at)] = record;
            at += record.size();
        }
        for (size_t kind = 0; kind < std::size(KINDS); ++kind) {
            SCOPED_TRACE(testing::Message() << KINDS[kind] << " in round " << round);
            Damaged file{sound, std::vector<int>(sound.size())};
            for (size_t i = 0; i < sound.size(); ++i) file.from[i] = static_cast<int>(i);
            for (size_t times = 1 + chance() % 3; times-- > 0;) damage(kind, chance, file);
            const Recovered out = recover(file.bytes);
            const std::vector<std::string> expected = untouched(file, all), found = out.texts();
            size_t next = 0;
            for (const std::string& record : found)
                if (next < expected.size() && record == expected[next]) ++next;
            EXPECT_EQ(expected.size(), next)
                << "the first that is missing: "
                << testing::PrintToString(expected[std::min(next, expected.size() - 1)]);
            if (HasFailure()) return;
            records += static_cast<long>(next);
            if (kind != 7 && kind != 8) extra += static_cast<long>(found.size() - next);
        }
    }
    std::printf("%ld untouched records came back, %ld that were touched\n", records, extra);
    EXPECT_LT(extra, records / 100);
}

TEST(RecoveryTest, TellsWhatItLeavesOut) {
    const std::string record = LdfBuilder::record_bytes({.args = {"a"}}), zeros(4096, '\0');
    const auto three = [](const char* first) {
        std::string bytes;
        for (const char* second : {"1", "2", "3"})
            bytes += LdfBuilder::record_bytes({.num = 7, .args = {first, second}});
        return bytes;
    };
    const struct {
        const char* name;
        std::string body; // behind the header
        int64_t records, repeats;
        ScanPiece::Kind looks; // of the first gap
        bool is_complete;      // of a header that counts the records up to the first gap
    } cases[] = {
        {"no damage", record + record, 2, 0, ScanPiece::RECORDS, true},
        {"uncommitted tail", record + record.substr(1), 1, 0, ScanPiece::CUT_RECORD, true},
        {"zeros", record + zeros + record, 2, 0, ScanPiece::ZEROS, false},
        {"cut record", record + record.substr(0, 30) + record, 2, 0, ScanPiece::CUT_RECORD, false},
        {"noise", record + std::string(500, 'x') + record, 2, 0, ScanPiece::RANDOM, false},
        {"repeat", three("x") + zeros + three("x") + zeros + record, 4, 3, ScanPiece::ZEROS, false},
        {"similar", three("x") + zeros + three("y") + zeros + record, 7, 0, ScanPiece::ZEROS, false},
        {"one like an earlier one",
         three("x") + zeros + three("x").substr(0, three("x").size() / 3) +
             three("y").substr(three("y").size() / 3) + zeros + record,
         7, 0, ScanPiece::ZEROS, false},
        {"repeat at the end", three("x") + zeros + three("x"), 6, 0, ScanPiece::ZEROS, false},
        {"three equal ones", record + record + record + zeros + record + record + record + zeros, 6, 0,
         ScanPiece::ZEROS, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const size_t counted = c.is_complete ? static_cast<size_t>(c.records) : 3;
        LdfBuilder builder;
        builder.records(static_cast<int>(counted)).damage([&](std::string& b) { b.resize(HEADER); });
        builder.append(c.body).offset_end(
            static_cast<uint32_t>(HEADER + (c.is_complete ? counted * record.size() : c.body.size())));
        const Recovered out = recover(builder.bytes());
        EXPECT_EQ(c.records, out.result.records);
        EXPECT_EQ(c.repeats, out.result.repeats);
        EXPECT_EQ(c.is_complete, out.result.is_complete);
        EXPECT_EQ(static_cast<int64_t>(counted), out.result.promised);
        for (const RecoveredRange& range : out.ranges)
            if (range.kind == RecoveredRange::SKIPPED) {
                EXPECT_EQ(c.looks, range.looks);
                break;
            }
        EXPECT_EQ(c.records + c.repeats, recover(builder.bytes(), true).result.records);
    }
}

TEST(RecoveryTest, RebuildsTheHeader) {
    const LdfBuilder builder =
        LdfBuilder().record({.sev = 1, .obj = 6, .time = 1794850000, .seq = 5}).record({.sev = 9, .obj = 5});
    for (const bool has_platform : {true, false}) {
        LdfBuilder damaged = builder;
        has_platform ? damaged.flags(8).put32(57, 77) : damaged.put32(45, 99);
        const Recovered out = recover(damaged.bytes());
        LdfBuilder expected = builder;
        expected.flags(1);
        if (!has_platform) expected.created(1794850000).modified(builder.last().time);
        EXPECT_EQ(expected.bytes(), out.bytes);
    }
    EXPECT_EQ(
        2,
        recover(LdfBuilder(builder).damage([](std::string& b) { b.erase(70, 20); }).bytes()).result.records);
    const std::string body = builder.bytes().substr(HEADER);
    EXPECT_EQ("unknown", recover(body).bytes.substr(12, 7));
    const Recovered out = recover(builder.bytes().substr(3));
    EXPECT_EQ(2, out.result.records);
    EXPECT_EQ(-1, out.result.promised);
}

TEST(RecoveryTest, FindsNoRecordWhereNoneIs) {
    std::string noise(1 << 20, '\0');
    std::mt19937 chance(2);
    for (char& c : noise) c = static_cast<char>(chance());
    std::string symbols; // 24 bytes each, as records without text, and no end
    for (int i = 0; i < 999; ++i) symbols += be(1) + be(0x01040000) + std::string(16, '\0');
    symbols += "\x01";
    std::string inputs[] = {"", noise, symbols, std::string(1 << 20, '\0'), std::string(1 << 20, '\xFF')};
    for (const char* program : {"/proc/self/exe", "/bin/sh", "/usr/bin/python3"}) {
        std::ifstream in(program, std::ios::binary);
        recover({std::istreambuf_iterator<char>(in), {}}).result.records == 0
            ? (void)0
            : (void)(ADD_FAILURE() << program);
    }
    for (const std::string& input : inputs) EXPECT_EQ(0, recover(input).result.records) << input.size();
}

TEST(RecoveryTest, GoesOnBehindABlockThatCannotBeRead) {
    struct Disk : LdfBytes {
        std::string bytes = LdfBuilder().records(1000).bytes();
        int why = EIO;
        int64_t read(void* buffer, size_t n, int64_t offset) override {
            constexpr int64_t BAD = 8192;
            errno = why;
            if (offset >= BAD && offset < BAD + 4096) return -1;
            if (offset < BAD) n = std::min(n, static_cast<size_t>(BAD - offset));
            LdfMemoryBytes memory({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
            return memory.read(buffer, n, offset);
        }
        int64_t size() override { return static_cast<int64_t>(bytes.size()); }
    } disk;
    InputBytes input(disk);
    for (int i = 0; i < 2; ++i) // the second time counts no byte anew
        EXPECT_EQ(1000 - 125, count_records(input, 117, /*is_in_step=*/true));
    EXPECT_EQ(4096, input.unreadable());
    disk.why = EISDIR;
    char byte;
    EXPECT_EQ(-1, input.read(&byte, 1, 8192)) << "another failure is one";
}

} // namespace
