// What becomes of a message: its line, its record, the administrator's copy, the cache.
#include "LogFixture.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/utils/msg_log_add.h"
#include "support/LdfBuilder.h"

namespace {

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

TEST_F(LogWriteTest, FlagsAndTypeMakeTheLine) {
    const std::string longer(100000, 'x'); // longer than the buffer of a line
    const std::string all = STAMP + "QEN ERROR K-16-25-7 text", untimed = all.substr(20);
    const std::string source = "\n\tfile.cpp:func[12]\n";
    const auto unterminated = std::make_unique<MsgStruct>();
    unterminated->add_elem(21, "abcdef", 3);
    const auto incomplete = log_add(SEV_WARN);
    incomplete->del_elem(MSGID_OBJ_TAG);
    const auto text = [](int type = 0, int identifier = -1) { return message("text", {}, type, identifier); };
    const auto some = text(), own = text(0, 65538), typed = text(3332, 65538), bare = text(3335),
               odd = text(77, 5);
    const auto warning = log_add(SEV_WARN), debug = log_add(5 + DBG_IPM), odd_object = log_add(SEV_ERR, 0, 7),
               severe_text = log_add(SEV_ERR, MSG_LOG_AS_TEXT);
    const struct {
        MsgStruct* msgp;
        int open_flags, flags;
        std::string line;
        const char* debug_text = nullptr;
        int sev = SEV_ERR;
    } cases[] = {
        {some.get(), 0, 0, all + "\n"},
        {some.get(), 0, ULOG_NO_NEWLINE, all},
        {some.get(), 0, ULOG_NO_TIME, untimed + "\n"},
        {some.get(), 0, ULOG_NO_SEVERITY, STAMP + "QEN K-16-25-7 text\n"},
        {some.get(), 0, ULOG_NO_UMI, STAMP + "QEN ERROR text\n"},
        {some.get(), 0, ULOG_NO_MNEMONIC, STAMP + "ERROR K-16-25-7 text\n"},
        {some.get(), 0, ULOG_SOURCE, all + source},
        {some.get(), 0, ULOG_SOURCE | ULOG_NO_SOURCE, all + "\n"},
        {some.get(), 0x20012, 0x80000, untimed + "\n"}, // the log's own flags
        {some.get(), ULOG_BARE_TEXT, ULOG_NO_TIME, untimed + "\n"},
        {some.get(), ULOG_NO_SEVERITY, ULOG_MERGE | ULOG_NO_TIME, "QEN K-16-25-7 text\n"},
        {nullptr, 0, ULOG_DEBUG, STAMP + "QEN DBG_IPM K-16-25-7 100% %n" + source, "100% %n", DBG_IPM},
        {nullptr, 0, ULOG_DEBUG | BARE, longer + "\n", longer.c_str(), DBG_IPM},
        {nullptr, 0, ULOG_DEBUG, "", "above the scale", 58},
        {nullptr, 0, 0, ""},
        {unterminated.get(), 0, BARE, "abc\n"},
        {own.get(), 0, 0, STAMP + "QEN ERROR K-16-1-2 text\n"},
        {typed.get(), 0, 0, STAMP + "QEN ERROR K-16-1-2 text\n"},
        {bare.get(), 0, 0, ""}, // no identifier
        {odd.get(), 0, 0, ""},
        {warning.get(), 0, ULOG_SOURCE, "2026-11-16 18:39:11 QEN WARNING K-16-25-9 added\n"},
        {odd_object.get(), 0, ULOG_BARE_TEXT, "added\n"},
        {incomplete.get(), 0, 0, ""},
        {severe_text.get(), 0, 0, ""},
        {debug.get(), 0, 0, ""}, // its level is off
        {debug.get(), 0, ULOG_FORCE_DEBUG | ULOG_BARE_TEXT, "added\n"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.line, written(c.open_flags, c.sev, c.flags, c.debug_text, c.msgp));
    Log::_verify_mode = true; // drops ordinary messages
    EXPECT_EQ("", written(0, SEV_ERR, 0, nullptr, some.get()));
    EXPECT_EQ("text\n", written(0, SEV_ERR, BARE | ULOG_MERGE, nullptr, some.get()));
    Log::_verify_mode = false;
}

TEST_F(LogWriteTest, UsersLanguageOnStandardStreamsOnly) {
    write_catalogs("en", {{25, {{7, "%s wird %s"}}}, {65534, {{1, "Fehler"}}}});
    for (FILE* fp : {stdout, stderr}) {
        const auto log = opened("shown", fp, ULOG_NO_TIME | ULOG_NO_UMI);
        EXPECT_EQ(
            "QEN Fehler a wird b\nQEN Fehler 1234567\nQEN Fehler 1234567\nQEN Fehler 1234567\n", printed([&] {
                log->write_app(SEV_ERR, "f", "g", 1, 0, 25, 7, message("english", {"a", "b"}).get());
                for (const int number : {7, 9, 0}) // more arguments than catalogs use, without a text
                    QEN_MESSAGE(log.get(), SEV_ERR, 0, 25, number, "%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7);
            }));
    }
    EXPECT_EQ("english\n", written(0, SEV_ERR, BARE, nullptr, message("english", {"a", "b"}).get()));
}

// As a structure or packed, written at once or by the logger thread: nobody may notice. Services log from
// threads with small stacks: one that needs more than 16 KiB ends the program.
TEST_F(LogWriteTest, AMessageIsTheSameInEveryShape) {
    const std::string longest(4095, 'x'), source = "\n\tfile.cpp:func[12]\n", error = "QEN ERROR K-16-25-7 ";
    LdfTestRecord first = {.sev = 1, .obj = 3, .num = 7, .line = 12, .file = "file.cpp", .func = "func"};
    first.args = {"a", " ", "3", "d", "(null)", "f"};
    LdfTestRecord too_long = {.sev = 1, .num = 7, .line = 12, .text = std::string(1, '\0')}, last = first;
    last.sev = 0, last.obj = 0, last.num = 0, last.file = "/src/file.cpp", last.args = {"no 1%"};
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which need stack of their own
    pthread_attr_t small;
    pthread_getattr_default_np(&small);
    pthread_attr_setstacksize(&small, 32 * 1024); // half of it for the thread itself
    ASSERT_EQ(0, pthread_setattr_default_np(&small));
#endif
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
        std::thread([&] {
            write(SEV_ERR, ULOG_ABOUT_GROUP, 7, "%s%s%d %s%s%s %s", "a", "", 3, "d", null, "f", "g");
            write(SEV_ERR, BARE, 7, "<%s>%d", longest.c_str(), 5);
            write(SEV_CRIT, 0, 0, "no %d%%", 1);
            Log::admin_msg(SEV_ERR, "f", "g", 1, 25, 1, message("50% %s").release());
        }).join();
        Log::stop_logger();
        EXPECT_EQ(error + "a3 d(null)f g" + source + "<" + longest.substr(1) +
                      "\nQEN CRITICAL K-16-25-0 no 1%" + source,
                  body(name + "_A.log"));
        EXPECT_THAT(syslog_texts(), testing::UnorderedElementsAre("3a3 d(null)f g", "2no 1%", "350% %s"));
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
    const auto log = opened("out", stdout, ULOG_NO_TIME);
    int evaluated = 0;
    const std::string line = std::to_string(__LINE__ + 2);
    const std::string all = printed([&] {
        QEN_MESSAGE(log.get(), SEV_WARN, ULOG_SOURCE | ULOG_NO_TIME, 25, 30001, "No file %s, %d", "N_A", 3);
        QEN_MESSAGE(nullptr, SEV_WARN, 0, 25, 30001, "nowhere");
        for (int pass = 0; pass < 2; ++pass) {
            QEN_DEBUG(log.get(), DBG_IPM, ULOG_NO_SOURCE | ULOG_NO_TIME, 25, 1, "%d of %s", ++evaluated, "3");
            log->enable_debug("ipm");
        }
    });
    EXPECT_EQ("QEN WARNING K-16-25-30001 No file N_A, 3\n\tLogWriteTest.cpp:operator()[" + line +
                  "]\nQEN DBG_IPM K-16-25-1 1 of 3\n",
              all);
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
    printed(
        [] { opened("out", stdout)->write_buf("f", "g", 1, SEV_CRIT, 0, 25, 1, "on a standard stream"); });
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
    EXPECT_EQ("", dir.read("given"));
}

TEST_F(LogWriteTest, CacheKeepsTheLatestMessages) {
    const auto log = opened("engine", nullptr, ULOG_NO_EVENT);
    log->set_cache_enabled();
    log->write_dbg(DBG_1, "f", "g", 1, 0, 25, 7, "debug");
    for (int i = 0; i < 1030; ++i)
        log->write_buf("f", "g", 1, SEV_ERR, ULOG_ABOUT_GROUP, 25, 7, std::to_string(i).c_str(), "a", "b");
    ASSERT_EQ(1024, log->cache_vlistp()->count());
    const MsgStruct& oldest = *log->cache_vlistp()->head()->getmsg();
    EXPECT_EQ(MSG_LOG_ADD, oldest.gethdr()->getMessage());
    EXPECT_THAT(strings_of(oldest, MSGID_TEXT), testing::ElementsAre("6"));
    EXPECT_THAT(strings_of(oldest, MSGID_ARGS), testing::ElementsAre("a", "b"));
    EXPECT_EQ(SEV_ERR, oldest.find(MSGID_SEVERITY)->gets32());
    EXPECT_EQ(3, oldest.find(MSGID_OBJ_TAG)->gets32());
    EXPECT_EQ(25 * 65536 + 7, oldest.find(MSGID_MSGCAT_ID)->gets32());
    log->set_cache_disabled();
    EXPECT_EQ(0, log->cache_vlistp()->count());
}

} // namespace
