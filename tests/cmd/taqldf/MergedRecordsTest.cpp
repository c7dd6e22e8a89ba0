#include <deque>
#include <map>
#include <random>

#include "LogSource.h"
#include "MergedRecords.h"
#include "support/LdfBuilder.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace {

using Given = std::tuple<size_t, uint32_t, int32_t, int>; // log, line that counts its records, time, severity

// A generation of a log, which is written.
LogFile written(const TempDir& dir, const std::string& log, char generation, const LdfBuilder& built) {
    LogFile file{dir.path(log + "_" + generation + ".ldf"), generation, {}};
    built.write(file.path);
    EXPECT_TRUE(QENStateOfPath(file.path.c_str(), file.state));
    return file;
}

// All records of the logs in the order of the merge, or those of one severity.
std::vector<Given> merged(const std::vector<LogInput>& inputs, int severity = -1) {
    Problems problems;
    Progress progress(true);
    FilterOptions options;
    if (severity >= 0) {
        options.clauses.push_back({FilterClause::SEVERITY, false, {}, {}, {}, {}, {}});
        options.clauses.back().codes.set(static_cast<size_t>(severity));
    }
    RecordFilter filter(options);
    std::deque<LogSource> sources;
    std::vector<LogSource*> pointers;
    for (const LogInput& input : inputs)
        pointers.push_back(&sources.emplace_back(input, filter, 2 * LDF_RECORD_MAX, progress, problems));
    MergedRecords records(pointers);
    std::vector<Given> given;
    for (FoundRecord record; records.next(record);) {
        LdfRecordView view;
        ldf_view_record(record.bytes, view);
        given.emplace_back(std::stoul(record.file->log), view.header.line_no, view.header.timestamp,
                           ldf_record_severity(record.bytes));
    }
    EXPECT_EQ(TAQLDF_FOUND, problems.status(true));
    return given;
}

} // namespace

TEST(MergedRecords, KeepTheOrderOfEachLogAndRiseOtherwise) {
    std::mt19937 random(5);
    for (int round = 0; round < 30; ++round) {
        const TempDir dir;
        std::vector<LogInput> inputs(1 + random() % 40);
        std::vector<uint32_t> counts(inputs.size());
        for (size_t log = 0; log < inputs.size(); ++log) {
            inputs[log].log = std::to_string(log);
            int32_t time = 100;
            for (const char generation : std::string("CBA").substr(random() % 3)) {
                LdfBuilder file;
                for (size_t n = random() % 20; n > 0; --n) {
                    time += static_cast<int32_t>(random() % 4);
                    if (random() % 9 == 0) time -= 6; // a clock is set back
                    file.record(
                        {.sev = static_cast<uint8_t>(random() % 3), .time = time, .line = counts[log]++});
                }
                inputs[log].files.push_back(written(dir, inputs[log].log, generation, file));
            }
        }
        std::vector<Given> all = merged(inputs);
        std::vector<uint32_t> seen(inputs.size());
        std::map<size_t, int32_t> latest;
        std::pair<int32_t, size_t> last = {INT32_MIN, 0};
        for (const auto& [log, line, time, severity] : all) {
            ASSERT_EQ(seen[log]++, line) << "the log's own order";
            latest[log] = std::max(latest[log], time);
            const std::pair key = {latest[log], log};
            ASSERT_GE(key, last);
            last = key;
        }
        EXPECT_EQ(counts, seen);
        std::erase_if(all, [](const Given& given) { return std::get<3>(given) != 1; });
        EXPECT_EQ(all, merged(inputs, 1)) << "a filter leaves the order as it is";
    }
}

// A rotation between the listing and the opening moves files on.
TEST(MergedRecords, FollowAFileThatWasRotatedAndTellOfOneThatIsGone) {
    const TempDir dir;
    LogInput input{"", "n", {}};
    for (const std::string letter : {"B", "A"})
        input.files.push_back(written(dir, "n", letter[0], LdfBuilder().record({.args = {letter}})));
    const auto letters = [&] {
        Problems problems;
        Progress progress(true);
        RecordFilter filter{FilterOptions()};
        LogSource source(input, filter, LDF_WINDOW_MAX, progress, problems);
        std::string found;
        while (source.next()) {
            const FoundRecord record = source.record();
            LdfRecordView view;
            ldf_view_record(record.bytes, view);
            found += std::string(view.argv()[0]) + record.file->generation + " ";
        }
        return found + std::to_string(problems.status(true) == TAQLDF_FAILED);
    };
    EXPECT_EQ("BB AA 0", letters());
    std::filesystem::rename(dir.path("n_B.ldf"), dir.path("n_C.ldf"));
    std::filesystem::rename(dir.path("n_A.ldf"), dir.path("n_B.ldf"));
    LdfBuilder().record({.args = {"new"}}).write(dir.path("n_A.ldf"));
    EXPECT_EQ("BC AB 0", letters());
    std::filesystem::remove(dir.path("n_C.ldf"));
    EXPECT_EQ("AB 1", letters());
}
