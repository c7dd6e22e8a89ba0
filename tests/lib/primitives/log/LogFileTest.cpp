// The files of a text log: header, size, rotation, and what happens when the system refuses.
#include <csignal>
#include <sys/resource.h>

#include <gmock/gmock.h>

#include "LogFixture.h"
#include "platform/unix/QENPlatform.h"

namespace {

class LogFileTest : public LogFixture {
protected:
    LogFileTest() {
        setenv("TAQ_ENABLE_LDF", "0", 1);
        setenv("QEN_LOG_MAXLEN", "1000", 1); // becomes 65,536
    }
    // Writes one line of `size` bytes with its newline.
    static void put_line(Log& log, char c, size_t size) {
        log.write_buf("f", "g", 1, SEV_INFO, ULOG_BARE_TEXT, 25, 1, std::string(size - 1, c).c_str());
    }
    // Puts something in the file's place that no file can replace.
    void obstruct(const char* file) const {
        std::filesystem::remove(log_path(file));
        std::filesystem::create_directories(log_path(file) + "/full");
    }
    bool exists(const std::string& file) const { return std::filesystem::exists(log_path(file)); }
    size_t size_of(const std::string& file) const { return std::filesystem::file_size(log_path(file)); }
};

TEST_F(LogFileTest, NewFileHasAHeader) {
    const auto log = opened("engine");
    put_line(*log, 'x', 2);
    char system[4096], info[4096];
    QENGetSystemName(system, sizeof system);
    QENGetSysInfo(info, sizeof info);
    const std::string all = slurp(log_path("engine_A.log"));
    const std::string before = "#\n# Log Name:     engine\n# System:       " + std::string(system) +
                               "\n# SysInfo:      " + info + "\n# Created:      ";
    EXPECT_THAT(all, testing::StartsWith(before));
    EXPECT_THAT(all.substr(before.size()), testing::MatchesRegex("[0-9]+/[0-9]+/[0-9]+ [0-9:]+ \n#\n\nx\n"));
}

TEST_F(LogFileTest, ThirdGenerationIsTheLast) {
    const auto log = opened("engine");
    put_line(*log, '1', 2);
    const size_t left = 65536 - size_of("engine_A.log");
    put_line(*log, '2', left - 1); // one byte short
    put_line(*log, '3', 2);        // crosses the limit, is written whole
    EXPECT_FALSE(exists("engine_B.log"));
    EXPECT_EQ(65537u, size_of("engine_A.log"));
    put_line(*log, '4', 70000);
    EXPECT_EQ(65537u, size_of("engine_B.log"));
    EXPECT_EQ(std::string(69999, '4') + "\n", body("engine_A.log"));
    put_line(*log, '5', 70000);
    put_line(*log, '6', 70000);
    EXPECT_EQ(std::string(69999, '6') + "\n", body("engine_A.log"));
    EXPECT_EQ(std::string(69999, '5') + "\n", body("engine_B.log"));
    EXPECT_EQ(std::string(69999, '4') + "\n", body("engine_C.log"));
}

TEST_F(LogFileTest, LimitCountsEveryByteOfALine) {
    // Rotation must come with the very byte that reaches the limit, so this finds any part not counted or
    // counted twice. Source positions do not count.
    const struct {
        const char* name;
        int flags;
        size_t counted; // beside the text of 5 bytes
    } cases[] = {{"all", 0x40, 20 + 4 + 5 + 10 + 1},
                 {"no_newline", 0x41, 20 + 4 + 5 + 10},
                 {"source", 0x20 | 0x9E, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (const size_t missing : {0u, 1u}) {
            const std::string name = c.name + std::to_string(missing);
            const auto log = opened(name.c_str());
            put_line(*log, 'x', 2);
            put_line(*log, 'x', 65536 - size_of(name + "_A.log") - c.counted - 5 - missing);
            log->write_buf("f", "g", 1, SEV_INFO, c.flags, 25, 1, "12345");
            put_line(*log, 'x', 5);
            EXPECT_EQ(missing == 0, exists(name + "_B.log"));
        }
    }
}

TEST_F(LogFileTest, ExistingFileIsContinuedAndCounted) {
    std::filesystem::create_directory(root + "/log");
    std::ofstream(log_path("engine_A.log")) << std::string(65535, 'o');
    std::ofstream(log_path("empty_A.log"));
    const auto log = opened("engine"), empty = opened("empty");
    put_line(*log, 'a', 2);
    put_line(*log, 'b', 2);
    EXPECT_EQ(std::string(65535, 'o') + "\na\n", slurp(log_path("engine_B.log")))
        << "a cut line gets its end";
    EXPECT_EQ("b\n", body("engine_A.log"));
    put_line(*empty, 'c', 2);
    EXPECT_EQ("c\n", body("empty_A.log")) << "an empty file gets a header";
}

TEST_F(LogFileTest, RotatesOnRequestAndContinuesAFileThatCannotBeRenamed) {
    const auto log = opened("engine");
    put_line(*log, 'a', 2);
    log->rotate();
    EXPECT_FALSE(exists("engine_B.log")) << "only with the next message";
    put_line(*log, 'b', 2);
    EXPECT_EQ("a\n", body("engine_B.log"));
    EXPECT_EQ("b\n", body("engine_A.log"));

    obstruct("engine_B.log");
    std::ofstream(log_path("engine_C.log")) << "oldest";
    log->rotate();
    put_line(*log, 'c', 2);
    put_line(*log, 'd', 2);
    EXPECT_EQ("b\nc\nd\n", body("engine_A.log"));
    EXPECT_THAT(syslog_texts(), testing::ElementsAre(testing::StartsWith("3Could not rotate ")));
    EXPECT_EQ(6u, size_of("engine_C.log")) << "no generation is lost for nothing";
    std::filesystem::remove_all(log_path("engine_B.log"));
    put_line(*log, 'e', 70000);
    EXPECT_FALSE(exists("engine_B.log")) << "the third attempt comes two messages later";
    put_line(*log, 'f', 2);
    EXPECT_EQ("f\n", body("engine_A.log"));
}

TEST_F(LogFileTest, FileThatCannotBeOpenedIsTriedAgain) {
    for (const char* file : {"engine_A.log", "engine_B.log", "engine_C.log"}) obstruct(file);
    Log log;
    EXPECT_EQ(ULOG_EFAIL, log.open("engine", nullptr, 0, nullptr));
    put_line(log, 'a', 2);
    EXPECT_THAT(syslog_texts(), testing::ElementsAre("3Log File Pointer is NULL"));
    std::filesystem::remove_all(log_path("engine_A.log"));
    put_line(log, 'b', 2);
    EXPECT_EQ("b\n", body("engine_A.log"));
}

TEST_F(LogFileTest, FullDiskNeitherStopsTheProgramNorCounts) {
    signal(SIGXFSZ, SIG_IGN);
    const auto log = opened("engine");
    put_line(*log, 'a', 2);
    struct rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    const struct rlimit limit = {size_of("engine_A.log") + 10, old.rlim_max}; // room for a part of a line
    setrlimit(RLIMIT_FSIZE, &limit);
    for (int i = 0; i < 5000; ++i)
        put_line(*log, 'b', i < 10 ? 70000 : 20); // first larger than the stream's buffer
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ("a\n", body("engine_A.log")) << "nor does it leave half a line";
    put_line(*log, 'c', 2);
    EXPECT_EQ("a\nc\n", body("engine_A.log"));
    EXPECT_FALSE(exists("engine_B.log")) << "texts that were not written must not count";
}

TEST_F(LogFileTest, GivenStreamIsNeitherRotatedNorClosed) {
    FILE* fp = fopen((root + "/given").c_str(), "w+");
    {
        const auto log = opened("given", fp);
        put_line(*log, 'a', 70000);
        log->rotate();
        put_line(*log, 'c', 2);
    }
    EXPECT_EQ(70002, ftell(fp));
    EXPECT_EQ(0, fclose(fp));
    EXPECT_FALSE(exists("given_A.log"));
}

} // namespace
