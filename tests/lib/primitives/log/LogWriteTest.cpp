#include <cstring>

#include <gmock/gmock.h>

#include "LogFixture.h"
#include "primitives/log/MessageSite.h"
#include "primitives/utils/msg_log_add.h"
#include "primitives/values/VList.h"
#include "support/LdfBuilder.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

constexpr int32_t AT = 1794854291; // 2026-11-16 18:38:11 UTC
const std::string STAMP = "2026-11-16 18:38:11 ";

class LogWriteTest : public LogFixture {
protected:
    // Writes with write_log to a given stream and returns what came out.
    static std::string written(int open_flags, int sev, int flags, const char* debug_text, MsgStruct* msgp) {
        setenv("TAQ_ENABLE_LDF", "0", 1);
        char* text = nullptr;
        size_t size = 0;
        FILE* fp = open_memstream(&text, &size);
        opened("m", fp, open_flags)
            ->write_log(AT, sev, "func", "/src/dir/file.cpp", 12, flags, 25, 7, debug_text, msgp);
        fclose(fp);
        std::string result(text, size);
        free(text);
        return result;
    }
    // A message that carries severity, object type, time (60 seconds later) and identifier itself.
    static std::unique_ptr<MsgStruct> log_add(int sev, int header_flags = 0, int obj_tag = 3) {
        return std::unique_ptr<MsgStruct>(
            mk_msg_log_add(nullptr, header_flags, sev, obj_tag, AT + 60, 25, 9, "added"));
    }
};

TEST_F(LogWriteTest, FlagsChooseThePartsOfTheLine) {
    const struct {
        const char* name;
        int open_flags, flags;
        std::string line;
    } cases[] = {
        {"all parts", 0, 0, STAMP + "QEN ERROR K-16-25-7 text\n"},
        {"no newline", 0, 0x1, STAMP + "QEN ERROR K-16-25-7 text"},
        {"no time", 0, 0x2, "QEN ERROR K-16-25-7 text\n"},
        {"no severity", 0, 0x4, STAMP + "QEN K-16-25-7 text\n"},
        {"no identifier", 0, 0x8, STAMP + "QEN ERROR text\n"},
        {"no mnemonic", 0, 0x80, STAMP + "ERROR K-16-25-7 text\n"},
        {"source", 0, 0x20, STAMP + "QEN ERROR K-16-25-7 text\n\tfile.cpp:func[12]\n"},
        {"source refused", 0, 0x60, STAMP + "QEN ERROR K-16-25-7 text\n"},
        {"bare text", 0, 0x9E, "text\n"},
        {"log's own flags, other bits given", 0x20012, 0x80000, "QEN ERROR K-16-25-7 text\n"},
        {"call overrules the log", 0x9E, 0x2, "QEN ERROR K-16-25-7 text\n"},
        {"both merged", 0x4, 0x1000002, "QEN K-16-25-7 text\n"},
    };
    const auto msgp = message("text");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.line, written(c.open_flags, SEV_ERR, c.flags, nullptr, msgp.get()));
    }
    Log::init("", "K-16", nullptr);
    EXPECT_EQ("ERROR K-16-25-7 text\n", written(0, SEV_ERR, 0x2, nullptr, msgp.get())) << "no mnemonic";
}

TEST_F(LogWriteTest, DebugTexts) {
    const std::string longer(100000, 'x'); // longer than the buffer of a line
    constexpr int BARE = 0x9E | ULOG_NO_SOURCE;
    EXPECT_EQ(STAMP + "QEN DBG_IPM K-16-25-7 hello\n\tfile.cpp:func[12]\n",
              written(0, DBG_IPM, ULOG_DEBUG, "hello", nullptr));
    EXPECT_EQ("100% %n %s\n", written(0, DBG_IPM, ULOG_DEBUG | BARE, "100% %n %s", nullptr));
    EXPECT_EQ("\n", written(0, DBG_IPM, ULOG_DEBUG | BARE, nullptr, nullptr));
    EXPECT_EQ(longer + "\n", written(0, DBG_IPM, ULOG_DEBUG | BARE, longer.c_str(), nullptr));
    for (const int off_the_scale : {58, -1})
        EXPECT_EQ("", written(0, off_the_scale, ULOG_DEBUG, "x", nullptr));
}

TEST_F(LogWriteTest, TypesOfMessages) {
    auto text_is_number = std::make_unique<MsgStruct>(), unterminated = std::make_unique<MsgStruct>();
    text_is_number->add_elem(21, 5);
    unterminated->add_elem(21, "abcdef", 3);
    auto incomplete = log_add(SEV_WARN);
    incomplete->del_elem(MSGID_OBJ_TAG);
    const struct {
        const char* name;
        std::unique_ptr<MsgStruct> msgp;
        int flags;
        std::string line;
    } cases[] = {
        {"plain with identifier", message("t", {}, 0, 1 << 16 | 2), 0, "QEN ERROR K-16-1-2 t\n"},
        {"no text", std::make_unique<MsgStruct>(), 0, ""},
        {"text is no string", std::move(text_is_number), 0, ""},
        {"text without NUL", std::move(unterminated), 0, "QEN ERROR K-16-25-7 abc\n"},
        {"empty text", message(""), 0, "QEN ERROR K-16-25-7 \n"},
        {"3332", message("t", {}, 3332, 5), 0, "QEN ERROR K-16-0-5 t\n"},
        {"3588", message("t", {}, 3588, 5), 0, "QEN ERROR K-16-0-5 t\n"},
        {"3335 without identifier", message("t", {}, 3335), 0, ""},
        {"unknown type", message("t", {}, 77, 5), 0, ""},
        {"2056", log_add(SEV_WARN), ULOG_SOURCE | ULOG_NO_TIME, "QEN WARNING K-16-25-9 added\n"},
        {"2056 lacks an element", std::move(incomplete), 0, ""},
        {"2056 severity as text", log_add(SEV_ERR, MSG_LOG_AS_TEXT), 0, ""},
        {"2056 severity too high", log_add(58), 0, ""},
        {"2056 severity negative", log_add(-1), 0, ""},
        {"2056 object type too high", log_add(SEV_ERR, 0, 7), 0, "QEN ERROR K-16-25-9 added\n"},
        {"2056 debug off", log_add(5 + DBG_IPM), 0, ""},
        {"2056 debug forced", log_add(5 + DBG_IPM), ULOG_FORCE_DEBUG, "QEN DBG_IPM K-16-25-9 added\n"},
        {"no message", nullptr, 0, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.line, written(ULOG_NO_TIME, SEV_ERR, c.flags, nullptr, c.msgp.get()));
    }
    EXPECT_THAT(written(0, SEV_ERR, 0, nullptr, log_add(SEV_WARN).get()),
                testing::StartsWith("2026-11-16 18:39:11 "));
    auto bad_id = message("t", {}, 3586);
    bad_id->add_elem(23, "5", 0);
    EXPECT_DEATH(written(0, SEV_ERR, 0, nullptr, bad_id.get()),
                 "ASSERTION FAILED: .*expression \\(melemp->gettype\\(\\) == VTYPE_S32\\)");
}

TEST_F(LogWriteTest, UsersLanguageOnStandardStreamsOnly) {
    write_catalogs("en", {{25, {{7, "%s wird %s"}}}, {65534, {{1, "Fehler"}}}});
    const struct {
        const char* name;
        int id;
        std::vector<std::string> args;
        std::string line;
    } cases[] = {
        {"arguments put in", 7, {"a", "b"}, "QEN Fehler K-16-25-7 a wird b\n"},
        {"arguments do not fit", 7, {"a"}, "QEN Fehler K-16-25-7 ??? wird ???\n"},
        {"seven", 7, {"1", "2", "3", "4", "5", "6", "7"}, "QEN Fehler K-16-25-7 english\n"},
        {"not in the catalog", 9, {}, "QEN Fehler K-16-25-9 english\n"},
        {"number 0", 0, {}, "QEN Fehler K-16-25-0 english\n"},
    };
    const auto out = opened("out", stdout, 0x12), err = opened("err", stderr, 0x20012);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CaptureStdout();
        CaptureStderr();
        out->write_app(SEV_ERR, "f", "g", 1, 32786, 25, c.id, message("english", c.args).release());
        err->write_app(SEV_ERR, "f", "g", 1, 32768, 25, c.id, message("english", c.args).release());
        EXPECT_EQ(c.line, GetCapturedStdout());
        EXPECT_EQ(c.line, GetCapturedStderr());
    }
    EXPECT_EQ("english\n", written(0, SEV_ERR, 0x9E, nullptr, message("english", {"a", "b"}).get()));
}

TEST_F(LogWriteTest, MessageSiteRecordsItsPlace) {
    const auto log = opened("out", stdout, 0x12);
    CaptureStdout();
    const std::string line = std::to_string(__LINE__ + 1);
    QEN_MESSAGE(log.get(), SEV_WARN, ULOG_SOURCE | ULOG_NO_TIME, 25, 30001, "No file %s, %d", "N_A", 3);
    QEN_MESSAGE(nullptr, SEV_WARN, 0, 25, 30001, "nowhere");
    EXPECT_EQ("QEN WARNING K-16-25-30001 No file N_A, 3\n\tLogWriteTest.cpp:TestBody[" + line + "]\n",
              GetCapturedStdout());
}

// As a structure or packed, written at once or by the logger thread: nobody may notice.
TEST_F(LogWriteTest, AMessageIsTheSameInEveryShape) {
    constexpr int GROUP = 0x100000;
    for (const std::string name : {"structure", "packed", "structure_queued", "packed_queued"}) {
        SCOPED_TRACE(name);
        const bool queued = name.ends_with("queued"), packed = name.starts_with("packed");
        clear_syslog();
        const auto log = opened(name.c_str(), nullptr, ULOG_NO_TIME | ULOG_SOURCE);
        const auto write = [&](ulog_app_sev sev, int flags, int id, const char* format, auto... args) {
            if (packed)
                write_message(log.get(), sev, "func", "/src/file.cpp", 12, flags, 25, id, format, args...);
            else
                log->write_app(sev, "func", "/src/file.cpp", 12, flags | ULOG_HAND_OVER, 25, id,
                               Log::process_args(format, args...));
        };
        if (queued) Log::start_logger();
        write(SEV_ERR, GROUP, 7, "%s%s%d %s%s%s %s", "a", "", 3, "d", "e", "f", "g");
        write(SEV_CRIT, 0, 0, "no %d%%", 1);
        if (queued) Log::stop_logger();
        EXPECT_EQ("QEN ERROR K-16-25-7 a3 def g\n\tfile.cpp:func[12]\n"
                  "QEN CRITICAL K-16-25-0 no 1%\n\tfile.cpp:func[12]\n",
                  body(name + "_A.log"));
        EXPECT_THAT(syslog_texts(), testing::ElementsAre("3a3 def g", "2no 1%"));
        LdfTestRecord numbered = {.sev = 1, .obj = 3, .cat = 25, .num = 7, .line = 12, .file = "file.cpp"},
                      stored = {.sev = 0, .cat = 25, .num = 0, .line = 12, .file = "/src/file.cpp"};
        numbered.func = stored.func = "func";
        numbered.args = {"a", " ", "3", "d", "e", "f"}, stored.args = {"no 1%"};
        const std::string found = slurp(root + "/ldf/" + name + "_A.ldf").substr(117); // behind the header
        std::string expected;
        for (const auto& record : {numbered, stored}) {
            const size_t time_at = expected.size() + 6;
            expected += LdfBuilder::record_bytes(record);
            ASSERT_GE(found.size(), expected.size());
            expected.replace(time_at, 4, found, time_at, 4);
        }
        EXPECT_EQ(expected, found);
    }
}

TEST_F(LogWriteTest, MessageSiteLetsAnotherKindOfLogSeeTheMessage) {
    class Listener : public Log {
    public:
        void write_app(ulog_app_sev, const char*, const char*, int, int flags, int, int,
                       MsgStruct* ipm_msg_in) override {
            EXPECT_EQ(ULOG_SOURCE | ULOG_HAND_OVER, flags);
            heard.reset(ipm_msg_in);
        }
        std::unique_ptr<MsgStruct> heard;
    } log;
    QEN_MESSAGE(&log, SEV_WARN, ULOG_SOURCE, 25, 1, "for %s", "you");
    ASSERT_NE(nullptr, log.heard);
    EXPECT_STREQ("for you", log.heard->find(21)->getstr());
    EXPECT_STREQ("you", log.heard->find(22)->getstr());
}

TEST_F(LogWriteTest, DebugSiteOfADisabledLevelEvaluatesNothing) {
    const auto log = opened("out", stdout, 0x12);
    int evaluated = 0;
    const auto pass = [&] {
        QEN_DEBUG(log.get(), DBG_IPM, ULOG_NO_SOURCE | ULOG_NO_TIME, 25, 1, "%d of %s", ++evaluated, "3");
    };
    CaptureStdout();
    pass();
    EXPECT_EQ(0, evaluated);
    log->enable_debug("ipm");
    pass();
    EXPECT_EQ("QEN DBG_IPM K-16-25-1 1 of 3\n", GetCapturedStdout());
}

TEST_F(LogWriteTest, VerifyModeDropsOrdinaryMessages) {
    const auto msgp = message("t");
    Log::_verify_mode = true;
    EXPECT_EQ("", written(0, SEV_ERR, 0, nullptr, msgp.get()));
    EXPECT_EQ("t\n", written(0, SEV_ERR, 0x9E | ULOG_MERGE, nullptr, msgp.get()));
    EXPECT_EQ("t\n", written(0, DBG_1, 0xDE | ULOG_DEBUG, "t", nullptr));
    Log::admin_msg(SEV_ERR, "f", "g", 1, 25, 1, message("t").release());
    Log::_verify_mode = false;
    EXPECT_THAT(syslog_texts(), testing::IsEmpty());
}

TEST_F(LogWriteTest, RecordBesideTheLine) {
    {
        const auto log = opened("engine", nullptr, ULOG_NO_EVENT);
        for (const int object : {3, -1, 7, 256}) // no record holds the others; their lines are written
            log->write_log(AT, SEV_ERR, nullptr, nullptr, 14, 0, 25, 8, nullptr,
                           log_add(SEV_CRIT, 0, object).get());
        log->write_log(AT, DBG_1, "func", "/src/file.cpp", 15, ULOG_DEBUG, 25, 9, "debug", nullptr);
    }
    const LdfTestRecord added = {
        .sev = 0, .obj = 3, .cat = 25, .num = 9, .time = AT + 60, .line = 14, .file = " ", .func = " "};
    EXPECT_EQ(LdfBuilder::record_bytes(added),
              slurp(root + "/ldf/engine_A.ldf").substr(117)); // behind the header
}

TEST_F(LogWriteTest, SeriousMessagesOfFileLogsReachTheAdministrator) {
    const auto log = opened("engine");
    const auto write = [&](int sev, int flags, const char* text, const char* arg = nullptr) {
        log->write_buf("f", "g", 1, sev, flags, 25, 1, text, arg);
    };
    Log::set_adminlog_facility(Log::verify_facility("log_local3"));
    write(SEV_CRIT, 0, "crit 100% %n %%");
    write(SEV_ERR, 0, "%1$s", "arg");
    write(SEV_ERR, ULOG_NO_EVENT, "kept back");
    write(SEV_WARN, 0, "harmless");
    write(41, 0, "forty-one");
    write(SEV_ERR, 0, std::string(5000, 'x').c_str()); // too long to escape
    log->write_dbg(DBG_1, "f", "g", 1, 0, 25, 1, "debug");
    write(SEV_ERR, 0, nullptr);
    CaptureStdout();
    opened("out", stdout)->write_buf("f", "g", 1, SEV_CRIT, 0, 25, 1, "on a standard stream");
    (void)GetCapturedStdout();
    Log::set_adminlog_facility(0);
    // local3 is 19 * 8; critical 2, error 3, debug 7
    EXPECT_THAT(syslog_texts(), testing::ElementsAre("154crit 100% %n %%", "155%1$s", "159forty-one",
                                                     "155Invalid log message."));
}

TEST_F(LogWriteTest, Facilities) {
    const std::pair<const char*, int> cases[] = {
        {"LOG_LOCAL0", 32768}, {"log_local7", 47104}, {"LOG_LOCAL8", -1}, {"LOCAL3", -1}, {"", 0},
        {nullptr, 0}};
    for (const auto& [name, code] : cases)
        EXPECT_EQ(code, Log::verify_facility(name)) << (name ? name : "null");
}

TEST_F(LogWriteTest, DebugMessagesWaitInTheBufferUnlessTheirTagFlushes) {
    const auto log = opened("engine", nullptr, 0xDE);
    const auto body_after = [&](const char* text) {
        log->write_dbg(DBG_IPM, "f", "g", 1, 0, 25, 1, text);
        return body("engine_A.log");
    };
    EXPECT_EQ("", body_after("a"));
    log->write_buf("f", "g", 1, SEV_INFO, 0, 25, 1, "application");
    EXPECT_EQ("a\napplication\n", body("engine_A.log"));
    EXPECT_EQ("a\napplication\n", body_after("b"));
    log->set_flush_debug("ipm");
    EXPECT_EQ("a\napplication\nb\nc\n", body_after("c"));
}

TEST_F(LogWriteTest, HandedOverTextsAndMessagesAreDeletedInEveryCase) { // or the leak checker complains
    Log closed;
    closed.write_app(SEV_ERR, "f", "g", 1, ULOG_HAND_OVER, 25, 1, message("t").release());
    closed.write_dbg(DBG_1, "f", "g", 1, ULOG_HAND_OVER, 25, 1, strcpy(new char[2], "t"));
    std::unique_ptr<MsgStruct> kept = message("t", {}, 77);
    closed.write_app(SEV_ERR, "f", "g", 1, 0, 25, 1, kept.get());
    EXPECT_STREQ("t", kept->find(21)->getstr());
    EXPECT_EQ("", written(0, SEV_ERR, ULOG_HAND_OVER, nullptr, kept.release()));
    EXPECT_EQ("t\n", written(0, SEV_ERR, 0x9E | ULOG_HAND_OVER, nullptr, message("t").release()));
}

TEST_F(LogWriteTest, CacheKeepsTheLatestMessages) {
    const auto log = opened("engine", nullptr, ULOG_NO_EVENT);
    log->write_buf("f", "g", 1, SEV_ERR, 0, 25, 7, "before");
    log->set_cache_enabled();
    log->write_dbg(DBG_1, "f", "g", 1, 0, 25, 7, "debug");
    for (int i = 0; i < 1030; ++i)
        log->write_buf("f", "g", 1, SEV_ERR, 0x100000, 25, 7, std::to_string(i).c_str(), "a", "b");
    ASSERT_EQ(1024, log->cache_vlistp()->count());
    const MsgStruct* oldest = log->cache_vlistp()->head()->getmsg();
    EXPECT_STREQ("6", oldest->find(21)->getstr());
    EXPECT_EQ(2056, oldest->gethdr()->getMessage());
    EXPECT_EQ(3, oldest->gethdr()->getChannel());
    EXPECT_EQ(4096, oldest->gethdr()->getFlagsBits(4096));
    const std::pair<int16_t, int> numbers[] = {{40, SEV_ERR}, {42, 3}, {23, 25 * 65536 + 7}};
    for (const auto& [elem, number] : numbers) EXPECT_EQ(number, oldest->find(elem)->gets32()) << elem;
    EXPECT_EQ(2u, oldest->getcount(22));
    EXPECT_STREQ("b", oldest->find(22)->next()->getstr());

    auto added = log_add(SEV_INFO);
    added->append_elem(26, "arg", 0);
    added->gethdr()->clearFlagsBits(4096);
    log->write_app(SEV_INFO, "f", "g", 1, 0, 25, 7, added.get());
    const MsgStruct* newest = log->cache_vlistp()->tail()->getmsg();
    EXPECT_STREQ("arg", newest->find(26)->getstr());
    EXPECT_EQ(0, newest->gethdr()->getFlagsBits(4096));
    EXPECT_EQ(AT + 60, newest->find(27)->gets32());
    log->set_cache_disabled();
    EXPECT_EQ(0, log->cache_vlistp()->count());
}

} // namespace
