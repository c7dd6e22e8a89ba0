#include <cstring>
#include <sys/resource.h>

#include <gmock/gmock.h>

#include "LogFixture.h"
#include "primitives/ldf/LdfReader.h"
#include "primitives/log/MessageSite.h"
#include "primitives/utils/msg_log_add.h"
#include "primitives/values/VList.h"

namespace {

constexpr time_t AT = 1794854291; // 2026-11-16 18:38:11 UTC
constexpr char STAMP[] = "2026-11-16 18:38:11 ";

class LogWriteTest : public LogFixture {
protected:
    // Writes with write_log to a given stream and returns what came out.
    std::string written(int open_flags, int sev, int flags, const char* debug_text, MsgStruct* msgp,
                        int cat = 25, int id = 7) {
        char* text = nullptr;
        size_t size = 0;
        FILE* fp = open_memstream(&text, &size);
        {
            setenv("TAQ_ENABLE_LDF", "0", 1);
            Log log;
            EXPECT_EQ(ULOG_OK, log.open("m", fp, open_flags, nullptr));
            log.write_log(AT, sev, "func", "/src/dir/file.cpp", 12, flags, cat, id, debug_text, msgp);
        }
        fclose(fp);
        std::string result = text;
        free(text);
        return result;
    }
};

TEST_F(LogWriteTest, FlagsChooseThePartsOfTheLine) {
    const std::string full = STAMP + std::string("QEN ERROR K-16-25-7 text\n");
    const std::string source = "\tfile.cpp:func[12]\n";
    struct {
        const char* name;
        int open_flags, flags;
        std::string line;
    } cases[] = {
        {"all parts", 0, 0, full},
        {"no newline", 0, 0x1, full.substr(0, full.size() - 1)},
        {"no time", 0, 0x2, "QEN ERROR K-16-25-7 text\n"},
        {"no severity", 0, 0x4, STAMP + std::string("QEN K-16-25-7 text\n")},
        {"no identifier", 0, 0x8, STAMP + std::string("QEN ERROR text\n")},
        {"no mnemonic", 0, 0x80, STAMP + std::string("ERROR K-16-25-7 text\n")},
        {"source", 0, 0x20, full + source},
        {"source refused", 0, 0x60, full},
        {"bare text", 0, 0x9E, "text\n"},
        {"log's own flags", 0x20012, 0, "QEN ERROR K-16-25-7 text\n"},
        {"own flags, other bits given", 0x12, 0x80000, "QEN ERROR K-16-25-7 text\n"},
        {"call overrules the log", 0x9E, 0x2, "QEN ERROR K-16-25-7 text\n"},
        {"both merged", 0x4, 0x1000002, "QEN K-16-25-7 text\n"},
        {"merge alone", 0x4, 0x1000000, STAMP + std::string("QEN K-16-25-7 text\n")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto msgp = message("text");
        EXPECT_EQ(c.line, written(c.open_flags, SEV_ERR, c.flags, nullptr, msgp.get()));
    }
    Log::init("", "K-16", nullptr);
    const auto msgp = message("text");
    EXPECT_EQ("ERROR K-16-25-7 text\n", written(0, SEV_ERR, 0x2, nullptr, msgp.get())) << "no mnemonic";
}

TEST_F(LogWriteTest, DebugTexts) {
    EXPECT_EQ(STAMP + std::string("QEN DBG_IPM K-16-25-7 hello\n\tfile.cpp:func[12]\n"),
              written(0, DBG_IPM, ULOG_DEBUG, "hello", nullptr));
    EXPECT_EQ("hello\n", written(0, DBG_IPM, ULOG_DEBUG | 0x9E | ULOG_NO_SOURCE, "hello", nullptr));
    EXPECT_EQ("\n", written(0, DBG_IPM, ULOG_DEBUG | 0x9E | ULOG_NO_SOURCE, nullptr, nullptr));
    EXPECT_EQ("100% %n %s\n", written(0, DBG_IPM, ULOG_DEBUG | 0x9E | ULOG_NO_SOURCE, "100% %n %s", nullptr));
    const std::string longer(100000, 'x'); // longer than the buffer of a line
    EXPECT_EQ(longer + "\n",
              written(0, DBG_IPM, ULOG_DEBUG | 0x9E | ULOG_NO_SOURCE, longer.c_str(), nullptr));
    EXPECT_EQ("", written(0, 58, ULOG_DEBUG, "x", nullptr));
    EXPECT_EQ("", written(0, -1, ULOG_DEBUG, "x", nullptr));
}

std::unique_ptr<MsgStruct> log_add(int sev, bool complete = true) {
    std::unique_ptr<MsgStruct> msgp(
        mk_msg_log_add(nullptr, 0, sev, 3, static_cast<int>(AT) + 60, 25, 9, "added"));
    if (!complete) msgp->del_elem(MSGID_OBJ_TAG);
    return msgp;
}

TEST_F(LogWriteTest, TypesOfMessages) {
    auto no_text = std::make_unique<MsgStruct>();
    auto text_is_number = std::make_unique<MsgStruct>();
    text_is_number->add_elem(21, 5);
    auto unterminated = std::make_unique<MsgStruct>();
    unterminated->add_elem(21, "abcdef", 3);
    auto text_severity =
        std::unique_ptr<MsgStruct>(mk_msg_log_add(nullptr, MSG_LOG_AS_TEXT, SEV_ERR, 3, 1, 25, 9, "added"));
    struct {
        const char* name;
        std::unique_ptr<MsgStruct> msgp;
        int flags;
        std::string line;
    } cases[] = {
        {"plain", message("t"), 0, "QEN ERROR K-16-25-7 t\n"},
        {"plain with identifier", message("t", {}, 0, 1 << 16 | 2), 0, "QEN ERROR K-16-1-2 t\n"},
        {"no text", std::move(no_text), 0, ""},
        {"text is no string", std::move(text_is_number), 0, ""},
        {"text without NUL", std::move(unterminated), 0, "QEN ERROR K-16-25-7 abc\n"},
        {"empty text", message(""), 0, "QEN ERROR K-16-25-7 \n"},
        {"3332", message("t", {}, 3332, 5), 0, "QEN ERROR K-16-0-5 t\n"},
        {"3588", message("t", {}, 3588, 5), 0, "QEN ERROR K-16-0-5 t\n"},
        {"3335 without identifier", message("t", {}, 3335), 0, ""},
        {"unknown type", message("t", {}, 77, 5), 0, ""},
        {"2056", log_add(SEV_WARN), 0, "QEN WARNING K-16-25-9 added\n"},
        {"2056 lacks an element", log_add(SEV_WARN, false), 0, ""},
        {"2056 severity as text", std::move(text_severity), 0, ""},
        {"2056 severity outside", log_add(58), 0, ""},
        {"2056 severity negative", log_add(-1), 0, ""},
        {"2056 debug off", log_add(5 + DBG_IPM), 0, ""},
        {"2056 debug forced", log_add(5 + DBG_IPM), ULOG_FORCE_DEBUG, "QEN DBG_IPM K-16-25-9 added\n"},
        {"2056 source", log_add(SEV_WARN), ULOG_SOURCE | ULOG_NO_TIME, "QEN WARNING K-16-25-9 added\n"},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.line, written(ULOG_NO_TIME, SEV_ERR, c.flags, nullptr, c.msgp.get()));
    }
    const auto own_time = log_add(SEV_WARN);
    EXPECT_THAT(written(0, SEV_ERR, 0, nullptr, own_time.get()), testing::StartsWith("2026-11-16 18:39:11 "));
    EXPECT_EQ("", written(0, SEV_ERR, 0, nullptr, nullptr)) << "no message";

    auto bad_id = message("t", {}, 3586);
    bad_id->add_elem(23, "5", 0);
    EXPECT_DEATH(written(0, SEV_ERR, 0, nullptr, bad_id.get()),
                 "ASSERTION FAILED: .*expression \\(melemp->gettype\\(\\) == VTYPE_S32\\)");
}

TEST_F(LogWriteTest, UsersLanguageOnStandardStreamsOnly) {
    write_catalogs("en", {{25, {{7, "%s wird %s"}, {8, "acht"}}}, {65534, {{1, "Fehler"}}}});
    struct {
        const char* name;
        int id;
        std::vector<std::string> args;
        std::string text;
    } cases[] = {
        {"arguments put in", 7, {"a", "b"}, "a wird b"},
        {"arguments do not fit", 7, {"a"}, "??? wird ???"},
        {"seven arguments", 7, {"1", "2", "3", "4", "5", "6", "7"}, "english"},
        {"not in the catalog", 9, {}, "english"},
        {"number 0", 0, {}, "english"},
    };
    Log out, err;
    ASSERT_EQ(ULOG_OK, out.open("out", stdout, 0x12, nullptr));
    ASSERT_EQ(ULOG_OK, err.open("err", stderr, 0x20012, nullptr));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string line = "QEN Fehler K-16-25-" + std::to_string(c.id) + " " + c.text + "\n";
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        out.write_app(SEV_ERR, "f", "g", 1, 32786, 25, c.id, message("english", c.args).release());
        err.write_app(SEV_ERR, "f", "g", 1, 32768, 25, c.id, message("english", c.args).release());
        err.write_app(SEV_INFO, "f", "g", 1, 32926, 25, 8, message("eight").release());
        EXPECT_EQ(line, testing::internal::GetCapturedStdout());
        EXPECT_EQ(line + "acht\n", testing::internal::GetCapturedStderr());
    }
    const auto msgp = message("english", {"a", "b"});
    EXPECT_EQ("english\n", written(0, SEV_ERR, 0x9E, nullptr, msgp.get()));
}

TEST_F(LogWriteTest, MessageSiteRecordsItsPlace) {
    testing::internal::CaptureStdout();
    Log log;
    ASSERT_EQ(ULOG_OK, log.open("out", stdout, 0x12, nullptr));
    const int line = __LINE__ + 1;
    QEN_MESSAGE(&log, SEV_WARN, ULOG_SOURCE | ULOG_NO_TIME, 25, 30001, "No file %s, %d", "N_A", 3);
    QEN_MESSAGE(nullptr, SEV_WARN, 0, 25, 30001, "nowhere");
    EXPECT_EQ("QEN WARNING K-16-25-30001 No file N_A, 3\n\tLogWriteTest.cpp:TestBody[" +
                  std::to_string(line) + "]\n",
              testing::internal::GetCapturedStdout());
}

TEST_F(LogWriteTest, VerifyModeDropsOrdinaryMessages) {
    const auto msgp = message("t");
    Log::_verify_mode = true;
    EXPECT_EQ("", written(0, SEV_ERR, 0, nullptr, msgp.get()));
    EXPECT_EQ("t\n", written(0, SEV_ERR, 0x9E | ULOG_MERGE, nullptr, msgp.get()));
    EXPECT_EQ("t\n", written(0, DBG_1, 0xDE | ULOG_DEBUG, "t", nullptr));
    Log::admin_msg(SEV_ERR, "f", "g", 1, 25, 1, message("t").release());
    Log::_verify_mode = false;
    EXPECT_TRUE(syslog_lines().empty());
}

TEST_F(LogWriteTest, RecordBesideTheLine) {
    {
        Log log;
        ASSERT_EQ(ULOG_OK, log.open("engine", nullptr, ULOG_NO_EVENT, nullptr));
        log.write_log(AT, SEV_WARN, "func", "/src/file.cpp", 12, 0x100000, 25, 7, nullptr,
                      message("english", {"a", "", "c", "d", "e", "f", "g"}).get());
        log.write_log(AT, SEV_ERR, "func", "/src/file.cpp", 13, 0, 25, 0, nullptr,
                      message("stored", {"a"}).get());
        log.write_log(AT, SEV_ERR, nullptr, nullptr, 14, 0, 25, 8, nullptr, log_add(SEV_CRIT).get());
        log.write_log(AT, DBG_1, "func", "/src/file.cpp", 15, ULOG_DEBUG, 25, 9, "debug", nullptr);
    }
    LdfReader::init();
    LdfReader reader;
    ASSERT_EQ(LDF_OK, reader.open(nullptr, "engine_A"));
    std::vector<std::string> records;
    LdfRecordView v;
    while (reader.next_record(LdfFilter{}, v) == LDF_OK) {
        std::string line;
        for (int64_t n : {int64_t{v.header.sev}, int64_t{v.header.timestamp}, int64_t{v.header.msgcat_id},
                          int64_t{v.header.obj_type}, int64_t{v.header.line_no}, int64_t{v.header.seq}})
            line += std::to_string(n) + " ";
        line += std::string(v.filename) + " " + std::string(v.function);
        v.for_each_arg([&](std::string_view arg) { (line += '|') += arg; });
        records.push_back(line);
    }
    const std::string none = " 4294967295 ";
    EXPECT_THAT(records,
                testing::ElementsAre("2 1794854291 1638407 3 12" + none + "file.cpp func|a| |c|d|e|f",
                                     "1 1794854291 1638400 0 13" + none + "/src/file.cpp func|stored",
                                     "0 1794854351 1638409 3 14" + none + "   "));
    LdfReader::destroy();
}

TEST_F(LogWriteTest, SeriousMessagesOfFileLogsReachTheAdministrator) {
    Log log;
    ASSERT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr));
    Log::set_adminlog_facility(Log::verify_facility("log_local3"));
    log.write_buf("f", "g", 1, SEV_CRIT, 0, 25, 1, "crit 100% %n %%");
    log.write_buf("f", "g", 1, SEV_ERR, 0, 25, 1, "%1$s", "arg");
    log.write_buf("f", "g", 1, SEV_ERR, ULOG_NO_EVENT, 25, 1, "kept back");
    log.write_buf("f", "g", 1, SEV_WARN, 0, 25, 1, "harmless");
    log.write_buf("f", "g", 1, SEV_ERR, 0, 25, 1, std::string(5000, 'x').c_str()); // too long to escape
    log.write_dbg(DBG_1, "f", "g", 1, 0, 25, 1, "debug");
    log.write_buf("f", "g", 1, SEV_ERR, 0, 25, 1, nullptr);
    Log::set_adminlog_facility(0);
    std::vector<std::string> texts;
    for (const auto& line : syslog_lines()) texts.push_back(std::to_string(line.priority) + " " + line.text);
    // local3 is 19 * 8; critical 2, error 3
    EXPECT_THAT(texts, testing::ElementsAre("154 crit 100% %n %%", "155 %1$s", "155 Invalid log message."));
}

TEST_F(LogWriteTest, Facilities) {
    struct {
        const char* name;
        int code;
    } cases[] = {{"LOG_LOCAL0", 32768}, {"LOG_LOCAL7", 47104}, {"log_local3", 38912}, {"", 0},
                 {nullptr, 0},          {"LOCAL3", -1},        {"LOG_LOCAL8", -1}};
    for (const auto& c : cases) EXPECT_EQ(c.code, Log::verify_facility(c.name)) << (c.name ? c.name : "null");
}

TEST_F(LogWriteTest, DebugMessagesWaitInTheBufferUnlessTheirTagFlushes) {
    struct {
        const char* name;
        bool flush_bit, application, visible;
    } cases[] = {{"no flush bit", false, false, false},
                 {"flush bit", true, false, true},
                 {"application", false, true, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Log log;
        ASSERT_EQ(ULOG_OK, log.open(c.name, nullptr, 0xDE, nullptr));
        if (c.flush_bit) log.set_flush_debug("ipm");
        log.write_dbg(DBG_IPM, "f", "g", 1, 0, 25, 1, "debug");
        if (c.application) log.write_buf("f", "g", 1, SEV_INFO, 0, 25, 1, "app");
        const std::string file = std::string(c.name) + "_A.log";
        EXPECT_EQ(c.visible, body(file).find("debug\n") != std::string::npos);
    }
}

TEST_F(LogWriteTest, HandedOverTextsAndMessagesAreDeletedInEveryCase) { // or the leak checker complains
    const auto text = [] { return strcpy(new char[2], "t"); };
    Log closed;
    closed.write_app(SEV_ERR, "f", "g", 1, ULOG_HAND_OVER, 25, 1, message("t").release());
    closed.write_dbg(DBG_1, "f", "g", 1, ULOG_HAND_OVER, 25, 1, text());
    std::unique_ptr<MsgStruct> kept = message("t", {}, 77);
    closed.write_app(SEV_ERR, "f", "g", 1, 0, 25, 1, kept.get());
    EXPECT_STREQ("t", kept->find(21)->getstr());
    EXPECT_EQ("", written(0, SEV_ERR, ULOG_HAND_OVER, nullptr, kept.release()));
    EXPECT_EQ("t\n", written(0, SEV_ERR, 0x9E | ULOG_HAND_OVER, nullptr, message("t").release()));
}

TEST_F(LogWriteTest, CacheKeepsTheLatestMessages) {
    Log log;
    ASSERT_EQ(ULOG_OK, log.open("engine", nullptr, ULOG_NO_EVENT, nullptr));
    log.write_buf("f", "g", 1, SEV_ERR, 0, 25, 7, "before");
    log.set_cache_enabled();
    log.write_dbg(DBG_1, "f", "g", 1, 0, 25, 7, "debug");
    for (int i = 0; i < 1030; ++i)
        log.write_buf("f", "g", 1, SEV_ERR, 0x100000, 25, 7, std::to_string(i).c_str(), "a", "b");
    ASSERT_EQ(1024, log.cache_vlistp()->count());
    const MsgStruct* oldest = log.cache_vlistp()->head()->getmsg();
    EXPECT_STREQ("6", oldest->find(21)->getstr());
    EXPECT_EQ(2056, oldest->gethdr()->getMessage());
    EXPECT_EQ(3, oldest->gethdr()->getChannel());
    EXPECT_EQ(4096, oldest->gethdr()->getFlagsBits(4096));
    EXPECT_EQ(1, oldest->find(40)->gets32());
    EXPECT_EQ(3, oldest->find(42)->gets32());
    EXPECT_EQ(25 * 65536 + 7, oldest->find(23)->gets32());
    EXPECT_EQ(2u, oldest->getcount(22));
    EXPECT_STREQ("b", oldest->find(22)->next()->getstr());
    EXPECT_STREQ("1029", log.cache_vlistp()->tail()->getmsg()->find(21)->getstr());

    auto added = log_add(SEV_INFO);
    added->append_elem(26, "arg", 0);
    added->gethdr()->clearFlagsBits(4096);
    log.write_app(SEV_INFO, "f", "g", 1, 0, 25, 7, added.get());
    const MsgStruct* newest = log.cache_vlistp()->tail()->getmsg();
    EXPECT_STREQ("arg", newest->find(26)->getstr());
    EXPECT_EQ(0, newest->gethdr()->getFlagsBits(4096));
    EXPECT_EQ(static_cast<int>(AT) + 60, newest->find(27)->gets32());
    log.set_cache_disabled();
    EXPECT_EQ(0, log.cache_vlistp()->count());
}

} // namespace
