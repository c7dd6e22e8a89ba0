// The files of a text log: header, size, rotation, and what happens when the system refuses.
#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <sys/stat.h>

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
    bool exists(const char* file) const { return std::filesystem::exists(log_path(file)); }
    size_t size_of(const char* file) const { return std::filesystem::file_size(log_path(file)); }
};

TEST_F(LogFileTest, NewFileHasAHeader) {
    Log log;
    ASSERT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr));
    put_line(log, 'x', 2);
    char system[4096], info[4096];
    QENGetSystemName(system, sizeof system);
    QENGetSysInfo(info, sizeof info);
    EXPECT_THAT(slurp(log_path("engine_A.log")),
                testing::MatchesRegex("#\n# Log Name:     engine\n# System:       " + std::string(system) +
                                      "\n# SysInfo:      [^\n]+\n# Created:      "
                                      "[0-9]+/[0-9]+/[0-9]+ [0-9:]+ \n#\n\nx\n"));
    EXPECT_THAT(slurp(log_path("engine_A.log")),
                testing::HasSubstr("# SysInfo:      " + std::string(info) + "\n"));
}

TEST_F(LogFileTest, ThirdGenerationIsTheLast) {
    Log log;
    ASSERT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr));
    put_line(log, '1', 2);
    const size_t left = 65536 - size_of("engine_A.log");
    put_line(log, '2', left - 1); // one byte short
    put_line(log, '3', 2);        // crosses the limit, is written whole
    EXPECT_FALSE(exists("engine_B.log"));
    EXPECT_EQ(65537u, size_of("engine_A.log"));
    put_line(log, '4', 70000);
    EXPECT_EQ(65537u, size_of("engine_B.log"));
    EXPECT_EQ(std::string(69999, '4') + "\n", body("engine_A.log"));
    put_line(log, '5', 70000);
    put_line(log, '6', 70000);
    EXPECT_EQ(std::string(69999, '6') + "\n", body("engine_A.log"));
    EXPECT_EQ(std::string(69999, '5') + "\n", body("engine_B.log"));
    EXPECT_EQ(std::string(69999, '4') + "\n", body("engine_C.log"));
}

TEST_F(LogFileTest, LimitCountsEveryByteOfALine) {
    // Rotation must come with the very byte that reaches the limit, so this finds any part not counted or
    // counted twice. Source positions do not count.
    struct {
        const char* name;
        int flags;
        size_t counted; // beside the text of 5 bytes
    } cases[] = {{"all", 0x40, 20 + 4 + 5 + 10 + 1},
                 {"no_newline", 0x41, 20 + 4 + 5 + 10},
                 {"source", 0x20 | 0x9E, 1},
                 {"no_time", 0x2, 4 + 5 + 10 + 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (const size_t missing : {0u, 1u}) {
            const std::string name = c.name + std::to_string(missing);
            const std::string a = name + "_A.log", b = name + "_B.log";
            Log log;
            ASSERT_EQ(ULOG_OK, log.open(name.c_str(), nullptr, 0, nullptr));
            put_line(log, 'x', 2);
            put_line(log, 'x', 65536 - size_of(a.c_str()) - c.counted - 5 - missing);
            log.write_buf("f", "g", 1, SEV_INFO, c.flags, 25, 1, "12345");
            log.write_buf("f", "g", 1, SEV_INFO, ULOG_BARE_TEXT, 25, 1, "next");
            EXPECT_EQ(missing == 0, exists(b.c_str()));
        }
    }
}

TEST_F(LogFileTest, ExistingFileIsContinuedAndCounted) {
    std::filesystem::create_directory(root + "/log");
    std::ofstream(log_path("engine_A.log")) << std::string(65535, 'o');
    std::ofstream(log_path("empty_A.log"));
    Log log, empty;
    ASSERT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr));
    ASSERT_EQ(ULOG_OK, empty.open("empty", nullptr, 0, nullptr));
    put_line(log, 'a', 2);
    put_line(log, 'b', 2);
    EXPECT_EQ(65537u, size_of("engine_B.log"));
    EXPECT_EQ("b\n", body("engine_A.log"));
    put_line(empty, 'c', 2);
    EXPECT_EQ("c\n", body("empty_A.log")) << "an empty file gets a header";
}

TEST_F(LogFileTest, RotateStartsANewFileWithTheNextMessage) {
    Log log;
    ASSERT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr));
    put_line(log, 'a', 2);
    log.rotate();
    EXPECT_FALSE(exists("engine_B.log"));
    put_line(log, 'b', 2);
    EXPECT_EQ("a\n", body("engine_B.log"));
    EXPECT_EQ("b\n", body("engine_A.log"));
}

TEST_F(LogFileTest, FileThatCannotBeRenamedIsContinued) {
    Log log;
    ASSERT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr));
    put_line(log, 'a', 2);
    std::filesystem::create_directories(log_path("engine_B.log")); // a file cannot replace it
    std::filesystem::create_directories(log_path("engine_C.log/full"));
    log.rotate();
    put_line(log, 'b', 2);
    EXPECT_EQ("a\nb\n", body("engine_A.log"));
    put_line(log, 'c', 2);
    EXPECT_EQ("a\nb\nc\n", body("engine_A.log")) << "counted from its size, so no new attempt yet";
    put_line(log, 'd', 70000);
    std::filesystem::remove_all(log_path("engine_B.log"));
    put_line(log, 'e', 2);
    EXPECT_EQ("e\n", body("engine_A.log"));
}

TEST_F(LogFileTest, FileThatCannotBeOpenedIsTriedAgain) {
    std::filesystem::create_directories(log_path("engine_A.log/full"));
    std::filesystem::create_directories(log_path("engine_B.log/full"));
    std::filesystem::create_directories(log_path("engine_C.log/full"));
    Log log;
    EXPECT_EQ(ULOG_EFAIL, log.open("engine", nullptr, 0, nullptr));
    put_line(log, 'a', 2);
    ASSERT_EQ(1u, syslog_lines().size());
    EXPECT_EQ("Log File Pointer is NULL", syslog_lines()[0].text);
    std::filesystem::remove_all(log_path("engine_A.log"));
    put_line(log, 'b', 2);
    EXPECT_EQ("b\n", body("engine_A.log"));
}

TEST_F(LogFileTest, FullDiskNeitherStopsTheProgramNorCounts) {
    signal(SIGXFSZ, SIG_IGN);
    Log log;
    ASSERT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr));
    put_line(log, 'a', 2);
    const rlim_t full = size_of("engine_A.log");
    struct rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    const struct rlimit limit = {full, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    for (int i = 0; i < 10; ++i) put_line(log, 'b', 70000); // larger than the stream's buffer: fails at once
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(full, size_of("engine_A.log"));
    EXPECT_FALSE(exists("engine_B.log")) << "texts that were not written must not count";
    put_line(log, 'c', 2);
    EXPECT_EQ('c', slurp(log_path("engine_A.log")).end()[-2]);
}

TEST_F(LogFileTest, GivenStreamIsNeitherRotatedNorClosed) {
    FILE* fp = fopen((root + "/given").c_str(), "w+");
    {
        Log log;
        ASSERT_EQ(ULOG_OK, log.open("given", fp, 0, nullptr));
        put_line(log, 'a', 70000);
        put_line(log, 'b', 70000);
        log.rotate();
        put_line(log, 'c', 2);
    }
    EXPECT_EQ(140002, ftell(fp));
    EXPECT_EQ(0, fclose(fp));
    EXPECT_FALSE(exists("given_A.log"));
}

} // namespace
