#include <map>
#include <random>

#include "MergedRecords.h"
#include "support/LdfBuilder.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

TEST(MergedRecords, KeepTheOrderOfEachLogAndRiseOtherwise) {
    std::mt19937 random(5);
    for (int round = 0; round < 30; ++round) {
        const TempDir dir;
        const size_t logs = 1 + random() % 40;
        std::vector<std::vector<int32_t>> times(logs);
        std::vector<LogInput> inputs(logs);
        for (size_t log = 0; log < logs; ++log) {
            inputs[log].log = std::to_string(log);
            int32_t time = 100;
            for (const char generation : std::string("CBA").substr(random() % 3)) {
                LdfBuilder file;
                for (size_t n = random() % 20; n > 0; --n) {
                    time += static_cast<int32_t>(random() % 4) -
                            (random() % 9 == 0 ? 6 : 0); // a clock is set back
                    file.record({.time = time, .line = static_cast<uint32_t>(times[log].size())});
                    times[log].push_back(time);
                }
                LogFile found{dir.path(std::to_string(log) + "_" + generation + ".ldf"), generation, {}};
                file.write(found.path);
                ASSERT_TRUE(QENStateOfPath(found.path.c_str(), found.state));
                inputs[log].files.push_back(found);
            }
        }
        Problems problems;
        Progress progress(true);
        RecordFilter filter{FilterOptions()};
        std::vector<std::unique_ptr<LogSource>> sources;
        for (const LogInput& input : inputs)
            sources.push_back(
                std::make_unique<LogSource>(input, filter, 2 * LDF_RECORD_MAX, progress, problems));
        MergedRecords merged(std::move(sources));

        std::map<std::string, size_t> seen;
        std::map<std::string, int32_t> latest;
        std::pair<int32_t, int> last = {INT32_MIN, 0};
        size_t count = 0;
        for (FoundRecord record; merged.next(record); ++count) {
            LdfRecordView view;
            ldf_view_record(record.bytes, view);
            const std::string& log = record.file->log;
            ASSERT_EQ(seen[log]++, view.header.line_no) << "the log's own order";
            latest[log] = std::max(latest[log], view.header.timestamp);
            const std::pair<int32_t, int> key = {latest[log], std::stoi(log)};
            ASSERT_GE(key, last);
            last = key;
        }
        size_t expected = 0;
        for (const auto& of_log : times) expected += of_log.size();
        EXPECT_EQ(expected, count);
        EXPECT_EQ(TAQLDF_FOUND, problems.status(true));
        EXPECT_EQ(static_cast<int64_t>(count), progress.counts.records);
    }
}

// A rotation between the listing and the opening moves files on.
TEST(MergedRecords, FollowAFileThatWasRotatedAndTellOfOneThatIsGone) {
    const TempDir dir;
    LogInput input{"", "n", {}};
    for (const char generation : {'B', 'A'}) {
        LogFile file{dir.path(std::string("n_") + generation + ".ldf"), generation, {}};
        LdfBuilder().record({.args = {std::string(1, generation)}}).write(file.path);
        ASSERT_TRUE(QENStateOfPath(file.path.c_str(), file.state));
        input.files.push_back(file);
    }
    const auto letters = [&](int& status) {
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
        status = problems.status(true);
        return found;
    };
    int status;
    EXPECT_EQ("BB AA ", letters(status));
    std::filesystem::rename(dir.path("n_B.ldf"), dir.path("n_C.ldf"));
    std::filesystem::rename(dir.path("n_A.ldf"), dir.path("n_B.ldf"));
    LdfBuilder().record({.args = {"new"}}).write(dir.path("n_A.ldf"));
    EXPECT_EQ("BC AB ", letters(status));
    EXPECT_EQ(TAQLDF_FOUND, status);
    std::filesystem::remove(dir.path("n_C.ldf"));
    EXPECT_EQ("AB ", letters(status));
    EXPECT_EQ(TAQLDF_FAILED, status);
}
