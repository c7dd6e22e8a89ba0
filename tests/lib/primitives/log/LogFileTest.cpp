// What the file of a text log has of its own: header, counted bytes, a cut line, and a system that refuses.
#include "LogFixture.h"

namespace {

constexpr size_t LIMIT = 65536; // the least

class LogFileTest : public LogFixture {
protected:
    LogFileTest() {
        setenv("TAQ_ENABLE_LDF", "0", 1);
        setenv("QEN_LOG_MAXLEN", "1000", 1); // becomes LIMIT
    }
    // A text whose line has `size` bytes.
    static std::string text_of(size_t size) { return std::string(size - 1, 'x'); }
    // Puts something in the file's place that no file can replace.
    void obstruct(const std::string& file) const {
        remove_tree(log_path(file));
        dir.make("log/" + file + "/full");
    }
    bool exists(const std::string& file) const { return std::filesystem::exists(log_path(file)); }
    size_t size_of(const std::string& file) const { return std::filesystem::file_size(log_path(file)); }
};

TEST_F(LogFileTest, NewFileHasAHeader) {
    const auto log = opened("engine", nullptr, ULOG_HIDDEN_FILE);
    EXPECT_EQ(log_path(".engine_A.log"), log->pathAp());
    EXPECT_FALSE(exists(".engine_A.log")) << "made by the first write";
    put(*log, "x");
    EXPECT_THAT(
        dir.read("log/.engine_A.log"),
        testing::MatchesRegex("#\n# Log Name:     engine\n# System:       [^\n]+\n# SysInfo:      [^\n]+"
                              "\n# Created:      [0-9/]+ [0-9:]+ \n#\n\nx\n"));
}

// Rotation must come with the very byte that reaches the limit, so this finds any part that is not counted or
// counted twice. Source positions do not count.
TEST_F(LogFileTest, EveryByteOfALineCountsUpToTheLimit) {
    const std::pair<int, size_t> cases[] = {// flags, and what is counted beside the text of 5 bytes
                                            {ULOG_NO_SOURCE, 20 + 4 + 5 + 10 + 1},
                                            {ULOG_NO_SOURCE | ULOG_NO_NEWLINE, 20 + 4 + 5 + 10},
                                            {ULOG_SOURCE | ULOG_BARE_TEXT, 1}};
    for (const auto& [flags, counted] : cases) {
        for (const size_t missing : {0u, 1u}) {
            const std::string name = std::to_string(flags) + "_" + std::to_string(missing);
            const auto log = opened(name);
            put(*log, "x");
            put(*log, text_of(LIMIT - size_of(name + "_A.log") - counted - 5 - missing));
            put(*log, "12345", flags);
            EXPECT_FALSE(exists(name + "_B.log")) << "the line that reaches it is written whole";
            put(*log, "1234");
            EXPECT_EQ(missing == 0, exists(name + "_B.log")) << name;
        }
    }
}

TEST_F(LogFileTest, ExistingFileIsContinuedAndCounted) {
    const std::string old(LIMIT - 1, 'o');
    dir.write("log/engine_A.log", old);
    const auto log = opened("engine");
    for (const char* text : {"a", "b"}) put(*log, text);
    EXPECT_EQ(old + "\na\n", dir.read("log/engine_B.log")) << "a cut line gets its end";
    EXPECT_EQ("b\n", body());
}

TEST_F(LogFileTest, ObstaclesAreTriedAgainAndCostNoLine) {
    for (const char* file : {"engine_A.log", "engine_B.log", "engine_C.log"}) obstruct(file);
    Log log;
    EXPECT_EQ(ULOG_EFAIL, log.open("engine", nullptr, 0, nullptr));
    put(log, "lost");
    EXPECT_THAT(syslog_texts(), testing::ElementsAre("3Log File Pointer is NULL"));
    clear_syslog();
    remove_tree(log_path("engine_A.log"));
    put(log, "b");
    log.rotate();
    for (const char* text : {"c", "d"}) put(log, text);
    EXPECT_EQ("b\nc\nd\n", body());
    EXPECT_THAT(syslog_texts(), testing::ElementsAre(testing::StartsWith("3Could not rotate ")));
    remove_tree(log_path("engine_B.log"));
    put(log, text_of(LIMIT));
    EXPECT_FALSE(exists("engine_B.log")) << "the third attempt comes two messages later";
    put(log, "f");
    EXPECT_EQ("f\n", body());
    log.rotate();
    EXPECT_EQ("f\n", body()) << "rotates with the next message";
}

TEST_F(LogFileTest, FullDiskNeitherStopsTheProgramNorCounts) {
    const auto log = opened("engine");
    put(*log, "a");
    {
        const FullDisk limit(size_of("engine_A.log") + 10); // room for a part of a line
        for (int i = 0; i < 5000; ++i)
            put(*log, text_of(i < 10 ? 70000 : 20)); // first larger than the stream's buffer
    }
    EXPECT_EQ("a\n", body()) << "nor does it leave half a line";
    put(*log, "c");
    EXPECT_EQ("a\nc\n", body());
    EXPECT_FALSE(exists("engine_B.log")) << "texts that were not written must not count";
}

// Text log and log data file alike. Writing beyond the limit would end the program.
TEST_F(LogFileTest, ASmallerLimitOfTheSystemHolds) {
    setenv("TAQ_ENABLE_LDF", "1", 1);
    const auto log = opened("engine");
    const FullDisk limit(60000, SIG_DFL);
    for (int i = 0; i < 80; ++i) // without a number, so that the text is recorded
        log->write_buf("f", "g", 1, SEV_INFO, ULOG_BARE_TEXT, 25, 0, text_of(1000).c_str());
    EXPECT_EQ(80 * 1000u, body().size() + body("engine_B.log").size() + body("engine_C.log").size());
    EXPECT_TRUE(std::filesystem::exists(root + "/ldf/engine_B.ldf"));
}

} // namespace
