// What becomes of a message: its line, its record, the administrator's copy, the cache.
#include "LogFixture.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/utils/msg_log_add.h"
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
        std::string all;
        CallingStream stream([&](std::string_view bytes) { all += bytes; });
        opened("m", stream.fp, open_flags)
            ->write_log(AT, sev, "func", "/src/dir/file.cpp", 12, flags, 25, 7, debug_text, msgp);
        return all;
    }
    // A message that carries severity, object type, time (60 seconds later) and identifier itself.
    static std::unique_ptr<MsgStruct> log_add(int sev, int header_flags = 0, int obj_tag = 3) {
        return std::unique_ptr<MsgStruct>(
            mk_msg_log_add(nullptr, header_flags, sev, obj_tag, AT + 60, 25, 9, "added"));
    }
};

TEST_F(LogWriteTest, FlagsChooseThePartsOfTheLine) {
    const std::string longer(100000, 'x'); // longer than the buffer of a line
    const struct {
        int open_flags, flags;
        std::string line;
        const char* debug_text = nullptr;
        int sev = SEV_ERR;
    } cases[] = {
        {0, 0, STAMP + "QEN ERROR K-16-25-7 text\n"},
        {0, ULOG_NO_NEWLINE, STAMP + "QEN ERROR K-16-25-7 text"},
        {0, ULOG_NO_TIME, "QEN ERROR K-16-25-7 text\n"},
        {0, ULOG_NO_SEVERITY, STAMP + "QEN K-16-25-7 text\n"},
        {0, ULOG_NO_UMI, STAMP + "QEN ERROR text\n"},
        {0, ULOG_NO_MNEMONIC, STAMP + "ERROR K-16-25-7 text\n"},
        {0, ULOG_SOURCE, STAMP + "QEN ERROR K-16-25-7 text\n\tfile.cpp:func[12]\n"},
        {0, ULOG_SOURCE | ULOG_NO_SOURCE, STAMP + "QEN ERROR K-16-25-7 text\n"},
        {0x20012, 0x80000, "QEN ERROR K-16-25-7 text\n"}, // the log's own flags
        {ULOG_BARE_TEXT, ULOG_NO_TIME, "QEN ERROR K-16-25-7 text\n"},
        {ULOG_NO_SEVERITY, ULOG_MERGE | ULOG_NO_TIME, "QEN K-16-25-7 text\n"},
        {0, ULOG_DEBUG, STAMP + "QEN DBG_IPM K-16-25-7 100% %n\n\tfile.cpp:func[12]\n", "100% %n", DBG_IPM},
        {0, ULOG_DEBUG | BARE, longer + "\n", longer.c_str(), DBG_IPM},
        {0, ULOG_DEBUG, "", "above the scale", 58},
    };
    const auto msgp = message("text");
    for (const auto& c : cases)
        EXPECT_EQ(c.line, written(c.open_flags, c.sev, c.flags, c.debug_text, msgp.get()));
    Log::_verify_mode = true; // drops ordinary messages
    EXPECT_EQ("", written(0, SEV_ERR, 0, nullptr, msgp.get()));
    EXPECT_EQ("text\n", written(0, SEV_ERR, BARE | ULOG_MERGE, nullptr, msgp.get()));
    Log::_verify_mode = false;
}

TEST_F(LogWriteTest, TypesOfMessages) {
    auto unterminated = std::make_unique<MsgStruct>();
    unterminated->add_elem(21, "abcdef", 3);
    auto incomplete = log_add(SEV_WARN);
    incomplete->del_elem(MSGID_OBJ_TAG);
    const struct {
        std::unique_ptr<MsgStruct> msgp;
        int flags;
        std::string line;
    } cases[] = {
        {message("t", {}, 0, 1 << 16 | 2), 0, "QEN ERROR K-16-1-2 t\n"},
        {std::move(unterminated), 0, "QEN ERROR K-16-25-7 abc\n"},
        {message(""), 0, "QEN ERROR K-16-25-7 \n"},
        {std::make_unique<MsgStruct>(), 0, ""},
        {nullptr, 0, ""},
        {message("t", {}, 3332, 5), 0, "QEN ERROR K-16-0-5 t\n"},
        {message("t", {}, 3335), 0, ""}, // no identifier
        {message("t", {}, 77, 5), 0, ""},
        {log_add(SEV_WARN), ULOG_SOURCE, "2026-11-16 18:39:11 QEN WARNING K-16-25-9 added\n"},
        {std::move(incomplete), 0, ""},
        {log_add(SEV_ERR, MSG_LOG_AS_TEXT), 0, ""},
        {log_add(58), 0, ""},
        {log_add(-1), 0, ""},
        {log_add(SEV_ERR, 0, /*obj_tag=*/7), 0, "QEN ERROR K-16-25-9 added\n"},
        {log_add(5 + DBG_IPM), 0, ""}, // its level is off
        {log_add(5 + DBG_IPM), ULOG_FORCE_DEBUG, "QEN DBG_IPM K-16-25-9 added\n"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.line, written(ULOG_NO_TIME, SEV_ERR, c.flags, nullptr, c.msgp.get()));
}

TEST_F(LogWriteTest, UsersLanguageOnStandardStreamsOnly) {
    write_catalogs("en", {{25, {{7, "%s wird %s"}}}, {65534, {{1, "Fehler"}}}});
    for (FILE* fp : {stdout, stderr}) {
        const auto log = opened("shown", fp, ULOG_NO_TIME);
        CaptureStdout();
        CaptureStderr();
        for (const auto& args : {Strings{"a", "b"}, {"a"}})
            log->write_app(SEV_ERR, "f", "g", 1, 0, 25, 7, message("english", args).get());
        for (const int number : {7, 9, 0}) // with more arguments than catalogs use, without a text
            QEN_MESSAGE(log.get(), SEV_ERR, 0, 25, number, "%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7);
        EXPECT_EQ(
            "QEN Fehler K-16-25-7 a wird b\nQEN Fehler K-16-25-7 ??? wird ???\nQEN Fehler K-16-25-7 1234567\n"
            "QEN Fehler K-16-25-9 1234567\nQEN Fehler K-16-25-0 1234567\n",
            GetCapturedStdout() + GetCapturedStderr());
    }
    EXPECT_EQ("english\n", written(0, SEV_ERR, BARE, nullptr, message("english", {"a", "b"}).get()));
}

// As a structure or packed, written at once or by the logger thread: nobody may notice.
TEST_F(LogWriteTest, AMessageIsTheSameInEveryShape) {
    const std::string longest(4095, 'x'), source = "\n\tfile.cpp:func[12]\n", error = "QEN ERROR K-16-25-7 ";
    LdfTestRecord first = {.sev = 1, .obj = 3, .num = 7, .line = 12, .file = "file.cpp", .func = "func"};
    first.args = {"a", " ", "3", "d", "(null)", "f"};
    LdfTestRecord too_long = {.sev = 1, .num = 7, .line = 12, .text = std::string(1, '\0')}, last = first;
    last.sev = 0, last.obj = 0, last.num = 0, last.file = "/src/file.cpp", last.args = {"no 1%"};
    const char* volatile null = nullptr; // the compiler must not see that it is null
    for (const std::string name : {"structure", "packed", "structure_queued", "packed_queued"}) {
        SCOPED_TRACE(name);
        clear_syslog();
        const auto log = opened(name, nullptr, ULOG_NO_TIME | ULOG_SOURCE);
        const auto write = [&](ulog_app_sev sev, int flags, int id, const char* format, auto... args) {
            if (name.starts_with("packed"))
                write_message(log.get(), sev, "func", "/src/file.cpp", 12, flags, 25, id, format, args...);
            else
                log->write_app(sev, "func", "/src/file.cpp", 12, flags | ULOG_HAND_OVER, 25, id,
                               Log::process_args(format, args...));
        };
        if (name.ends_with("queued")) Log::start_logger();
        write(SEV_ERR, ULOG_ABOUT_GROUP, 7, "%s%s%d %s%s%s %s", "a", "", 3, "d", null, "f", "g");
        write(SEV_ERR, BARE, 7, "<%s>%d", longest.c_str(), 5);
        write(SEV_CRIT, 0, 0, "no %d%%", 1);
        Log::admin_msg(SEV_ERR, "f", "g", 1, 25, 1, message("50% %s").release());
        Log::stop_logger();
        EXPECT_EQ(error + "a3 d(null)f g" + source + "<" + longest.substr(1) +
                      "\nQEN CRITICAL K-16-25-0 no 1%" + source,
                  body(name + "_A.log"));
        EXPECT_THAT(syslog_texts(), testing::ElementsAre("3a3 d(null)f g", "2no 1%", "350% %s"));
        const std::string found = records(name);
        std::string expected;
        for (const auto& record : {first, too_long, last}) {
            const size_t time_at = expected.size() + 6;
            expected += LdfBuilder::record_bytes(record);
            ASSERT_GE(found.size(), expected.size());
            expected.replace(time_at, 4, found, time_at, 4);
        }
        EXPECT_EQ(expected, found);
    }
}

TEST_F(LogWriteTest, SitesTellTheirPlaceAndEvaluateNothingInVain) {
    const auto log = opened("out", stdout, 0x12);
    CaptureStdout();
    const std::string line = std::to_string(__LINE__ + 1);
    QEN_MESSAGE(log.get(), SEV_WARN, ULOG_SOURCE | ULOG_NO_TIME, 25, 30001, "No file %s, %d", "N_A", 3);
    QEN_MESSAGE(nullptr, SEV_WARN, 0, 25, 30001, "nowhere");
    int evaluated = 0;
    for (int pass = 0; pass < 2; ++pass) {
        QEN_DEBUG(log.get(), DBG_IPM, ULOG_NO_SOURCE | ULOG_NO_TIME, 25, 1, "%d of %s", ++evaluated, "3");
        log->enable_debug("ipm");
    }
    EXPECT_EQ("QEN WARNING K-16-25-30001 No file N_A, 3\n\tLogWriteTest.cpp:TestBody[" + line +
                  "]\nQEN DBG_IPM K-16-25-1 1 of 3\n",
              GetCapturedStdout());
}

TEST_F(LogWriteTest, RecordOfAMessageThatCarriesItsOwnSeverity) {
    const auto log = opened("engine", nullptr, ULOG_NO_EVENT);
    for (const int object : {3, -1, 7, 256}) // no record holds the others; their lines are written
        log->write_log(AT, SEV_ERR, nullptr, nullptr, 14, 0, 25, 8, nullptr,
                       log_add(SEV_CRIT, 0, object).get());
    log->write_log(AT, DBG_1, "func", "/src/file.cpp", 15, ULOG_DEBUG, 25, 9, "debug", nullptr);
    EXPECT_EQ(LdfBuilder::record_bytes(
                  {.sev = 0, .obj = 3, .num = 9, .time = AT + 60, .line = 14, .file = " ", .func = " "}),
              records());
}

TEST_F(LogWriteTest, SeriousMessagesOfFileLogsReachTheAdministrator) {
    const auto log = opened("engine");
    const auto write = [&](int sev, int flags, const char* text) {
        log->write_buf("f", "g", 1, sev, flags, 25, 1, text);
    };
    EXPECT_EQ(-1, Log::verify_facility("LOG_LOCAL8"));
    Log::set_adminlog_facility(Log::verify_facility("log_local3"));
    write(SEV_CRIT, 0, "crit 100% %n %%");
    write(SEV_ERR, 0, "%1$s");
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

TEST_F(LogWriteTest, DebugMessagesWaitInTheBufferUnlessTheirTagFlushes) {
    const auto log = opened("engine", nullptr, BARE);
    for (const char* expected : {"", "debug\ndebug\n"}) {
        log->write_dbg(DBG_IPM, "f", "g", 1, 0, 25, 1, "debug");
        EXPECT_EQ(expected, body());
        log->set_flush_debug("ipm");
    }
    const auto given = opened("given", fopen((root + "/given").c_str(), "w"), BARE);
    for (int i = 0; i < 2; ++i) given->write_dbg(DBG_IPM, "f", "g", 1, 0, 25, 1, "debug");
    EXPECT_EQ("", slurp(root + "/given"));
}

TEST_F(LogWriteTest, CacheKeepsTheLatestMessages) {
    const auto log = opened("engine", nullptr, ULOG_NO_EVENT);
    log->set_cache_enabled();
    log->write_dbg(DBG_1, "f", "g", 1, 0, 25, 7, "debug");
    for (int i = 0; i < 1030; ++i)
        log->write_buf("f", "g", 1, SEV_ERR, ULOG_ABOUT_GROUP, 25, 7, std::to_string(i).c_str(), "a", "b");
    ASSERT_EQ(1024, log->cache_vlistp()->count());
    const MsgStruct& oldest = *log->cache_vlistp()->head()->getmsg();
    EXPECT_EQ(2056, oldest.gethdr()->getMessage());
    EXPECT_THAT(strings_of(oldest, 21), testing::ElementsAre("6"));
    EXPECT_THAT(strings_of(oldest, 22), testing::ElementsAre("a", "b"));
    const std::pair<int16_t, int> numbers[] = {{40, SEV_ERR}, {42, 3}, {23, 25 * 65536 + 7}};
    for (const auto& [elem, number] : numbers) EXPECT_EQ(number, oldest.find(elem)->gets32()) << elem;
    log->write_app(SEV_INFO, "f", "g", 1, 0, 25, 7, log_add(SEV_INFO).get());
    EXPECT_EQ(AT + 60, log->cache_vlistp()->tail()->getmsg()->find(27)->gets32());
    log->set_cache_disabled();
    EXPECT_EQ(0, log->cache_vlistp()->count());
}

} // namespace
