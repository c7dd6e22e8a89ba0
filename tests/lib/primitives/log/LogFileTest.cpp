// Opening a log, and what its file has of its own: header, counted bytes, a cut line, a system that refuses.
#include "LogFixture.h"

constexpr size_t LIMIT = 65536; // the least

struct LogFileTest : LogFixture {
    LogFileTest() {
        setenv("TAQ_ENABLE_LDF", "0", 1);
        setenv("QEN_LOG_MAXLEN", "1000", 1); // becomes LIMIT
    }
    static int open(Log& log, const char* name, FILE* fp = nullptr) { return log.open(name, fp, 0, nullptr); }
    // A text whose line has `size` bytes.
    static std::string text_of(size_t size) { return std::string(size - 1, 'x'); }
    bool exists(const std::string& file) const { return fs::exists(log_path(file)); }
    size_t size_of(const std::string& file) const { return fs::file_size(log_path(file)); }
};

TEST_F(LogFileTest, ResultsOfOpen) {
    Log log;
    auto first = opened("engine", stderr);
    EXPECT_EQ(ULOG_EREGISTERED, open(log, "ENGINE"));
    EXPECT_EQ(ULOG_ENONAME, open(log, nullptr, stderr));
    EXPECT_EQ(ULOG_EFAIL, open(log, "../x"));
    EXPECT_EQ(first.get(), Log_obj("Engine")) << "a refused name must not take the other one's place";
    first.reset();
    EXPECT_EQ(nullptr, Log_obj("engine"));
    setenv("TAQ_LOG", (root + "/missing").c_str(), 1);
    EXPECT_EQ(ULOG_EROOT, open(log, "a"));
    EXPECT_EQ(Strings{"3The log 'a' is not written: there is no folder " + root +
                      "/missing (TAQ_LOG sets another one)"},
              syslog_texts());
    EXPECT_EQ(nullptr, Log_obj("a"));
    setenv("TAQ_LOG", root.c_str(), 1);
    dir.write("log", "in the way");
    EXPECT_EQ(ULOG_EFAIL, open(log, "a"));
    EXPECT_EQ(&log, Log_obj("a"));
    EXPECT_EQ(ULOG_OK, open(log, "b", stderr));
    EXPECT_EQ(nullptr, Log_obj("a")) << "opening anew gives the old name free";
    Log::destroy();
    EXPECT_EQ(ULOG_ENOINIT, open(*std::make_unique<Log>(), "c", stderr));
}

TEST_F(LogFileTest, DebugTagsOfTheEnvironmentAndOfTheProgram) {
    setenv("TAQ_DEBUG_LOG_TAGS", "ipm,timer;LOCK : nonsense,22,,", 1);
    const auto log = opened("t", stderr);
    log->disable_debug("timer");
    log->enable_debug("dbg_res2");
    for (const int outside : {-1, 53, INT32_MIN}) log->set_debug_flag(outside, LOG_DBG_ENABLED);
    char tags[20] = "";
    log->get_all_set_dbg_tags(tags, sizeof tags);
    EXPECT_STREQ("DBG_IPM DBG_LOCK DB", tags) << "of ..., DBG_RES2";
    log->reset_debug_tags();
    EXPECT_EQ(0, log->is_enabled(DBG_IPM));
}

TEST_F(LogFileTest, RecordsAreCopiedUnlessSwitchedOff) {
    for (const char* on_off : {"-2", "abc", "99999999999999999999"}) {
        setenv("TAQ_ENABLE_LDF", on_off, 1);
        put(*opened("engine"), "text");
        EXPECT_EQ(on_off[0] != 'a', fs::remove(root + "/ldf/engine_A.ldf")) << on_off;
    }
    setenv("TAQ_LDF", (root + "/missing").c_str(), 1);
    const auto log = opened("engine");
    for (const char* text : {"one", "two"}) put(*log, text);
    const Strings told = {"3There is an error opening the LDF file for 'engine'.",
                          "3The log 'engine' has no records: there is no folder " + root +
                              "/missing (TAQ_LDF sets another one)"};
    EXPECT_EQ(told, syslog_texts());
}

TEST_F(LogFileTest, FirstWriteMakesTheFileOrContinuesIt) {
    const auto hidden = opened("engine", nullptr, ULOG_HIDDEN_FILE);
    EXPECT_FALSE(exists(".engine_A.log"));
    put(*hidden, "x");
    EXPECT_EQ(log_path(".engine_A.log"), hidden->pathAp());
    constexpr char WHOLE[] = "#\n# Log Name:     engine\n# System:       [^\n]+\n# SysInfo:      [^\n]+"
                             "\n# Created:      [0-9/]+ [0-9:]+ \n#\n\nx\n";
    EXPECT_THAT(dir.read("log/.engine_A.log"), testing::MatchesRegex(WHOLE));
    const std::string old(LIMIT - 1, 'o');
    dir.write("log/old_A.log", old);
    const auto log = opened("old");
    for (const char* text : {"a", "b"}) put(*log, text);
    EXPECT_EQ(old + "\na\n", dir.read("log/old_B.log")) << "a cut line gets its end, and all is counted";
    EXPECT_EQ("b\n", body("old_A.log"));
}

// Rotation must come with the very byte that reaches the limit, so this finds any part that is not counted or
// counted twice. Neither source positions count nor what a full disk refused.
TEST_F(LogFileTest, EveryByteOfALineCountsUpToTheLimit) {
    const std::pair<int, size_t> cases[] = {{ULOG_NO_SOURCE, 20 + 4 + 5 + 10 + 5 + 1}, // flags, bytes
                                            {ULOG_NO_SOURCE | ULOG_NO_NEWLINE, 20 + 4 + 5 + 10 + 5},
                                            {ULOG_SOURCE | ULOG_BARE_TEXT, 5 + 1}};
    for (const auto& [flags, bytes] : cases) {
        for (const size_t missing : {0u, 1u}) {
            const std::string name = std::to_string(flags) + "_" + std::to_string(missing);
            const auto log = opened(name);
            put(*log, "x");
            for (int i = 0; i < 200; ++i) {
                const FullDisk limit(size_of(name + "_A.log") + 10); // room for a part of a line
                put(*log, text_of(i < 10 ? 70000 : 20));             // some larger than any buffer
            }
            EXPECT_EQ("x\n", body(name + "_A.log")) << "without half a line";
            put(*log, "y");
            EXPECT_THAT(body(name + "_A.log"),
                        testing::AllOf(testing::HasSubstr(" 200 messages "), testing::EndsWith("\ny\n")));
            put(*log, text_of(LIMIT - size_of(name + "_A.log") - bytes - missing));
            put(*log, "12345", flags);
            EXPECT_FALSE(exists(name + "_B.log")) << "the line that reaches it is written whole";
            put(*log, "1234");
            EXPECT_EQ(missing == 0, exists(name + "_B.log")) << name;
        }
    }
}

TEST_F(LogFileTest, ObstaclesAreTriedAgainAndCostNoLine) {
    for (const char* file : {"A", "B", "C"}) dir.make("log/engine_" + std::string(file) + ".log/full");
    Log log;
    EXPECT_EQ(ULOG_EFAIL, log.open("engine", nullptr, 0, nullptr));
    put(log, "lost");
    remove_tree(log_path("engine_A.log"));
    put(log, "b");
    log.rotate();
    for (const char* text : {"c", "d"}) put(log, text);
    EXPECT_THAT(body(), testing::AllOf(testing::HasSubstr(" 1 messages "), testing::EndsWith("\nb\nc\nd\n")));
    EXPECT_THAT(syslog_texts(),
                testing::ElementsAre("3Log File Pointer is NULL", testing::StartsWith("3Could not rotate ")));
    remove_tree(log_path("engine_B.log"));
    put(log, text_of(LIMIT));
    EXPECT_FALSE(exists("engine_B.log")) << "the third attempt comes two messages later";
    put(log, "f");
    EXPECT_EQ("f\n", body());
}

// Text log and log data file alike. Writing beyond the limit would end the program.
TEST_F(LogFileTest, ASmallerLimitOfTheSystemHolds) {
    setenv("TAQ_ENABLE_LDF", "1", 1);
    const auto log = opened("engine");
    const FullDisk limit(60000, SIG_DFL);
    for (int i = 0; i < 80; ++i) // without a number, so that the text is recorded
        log->write_buf("f", "g", 1, SEV_INFO, ULOG_BARE_TEXT, 25, 0, text_of(1000).c_str());
    EXPECT_EQ(80 * 1000u, body().size() + body("engine_B.log").size() + body("engine_C.log").size());
    EXPECT_TRUE(fs::exists(root + "/ldf/engine_B.ldf"));
}
