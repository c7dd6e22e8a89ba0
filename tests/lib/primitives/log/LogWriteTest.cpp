// What becomes of a message: its line, its record, the administrator's copy, the cache.
#include "LogFixture.h"
#include "primitives/ldf/QENObjTags.h"
#include "primitives/utils/msg_log_add.h"
#include "support/LdfBuilder.h"

constexpr int32_t AT = 1794854291; // 2026-11-16 18:38:11 UTC
const std::string STAMP = "2026-11-16 18:38:11 ";

struct LogWriteTest : LogFixture {
    using Message = std::shared_ptr<MsgStruct>;

    // Writes with write_log to a given stream and returns what came out.
    static std::string written(const Message& msgp, int flags = 0, int open_flags = 0, int sev = SEV_ERR,
                               const char* debug_text = nullptr) {
        setenv("TAQ_ENABLE_LDF", "0", 1);
        std::string all;
        CallingStream stream([&](std::string_view bytes) { all += bytes; });
        opened("m", stream.fp, open_flags)
            ->write_log(AT, sev, "func", "/src/dir/file.cpp", 12, flags, 25, 7, debug_text, msgp.get());
        return all;
    }
    static Message text(int type = 0, int identifier = -1) { return message("text", {}, type, identifier); }
    // A message that carries severity, object type, time (60 seconds later) and identifier itself.
    static Message log_add(int sev, int header_flags = 0, int obj_tag = 3) {
        return Message(mk_msg_log_add(nullptr, header_flags, sev, obj_tag, AT + 60, 25, 9, "added"));
    }
};

TEST_F(LogWriteTest, FlagsAndTypeMakeTheLine) {
    const std::string longer(100000, 'x'); // longer than the buffer of a line
    const std::string all = STAMP + "QEN ERROR K-16-25-7 text", untimed = all.substr(20);
    const std::string source = "\n\tfile.cpp:func[12]\n";
    const auto unterminated = std::make_shared<MsgStruct>();
    unterminated->add_elem(MSGID_TEXT, "abcdef", 3);
    const Message incomplete = log_add(SEV_WARN);
    incomplete->del_elem(MSGID_OBJ_TAG);
    EXPECT_EQ(all + "\n", written(text()));
    EXPECT_EQ(all, written(text(), ULOG_NO_NEWLINE));
    EXPECT_EQ(STAMP + "QEN K-16-25-7 text\n", written(text(), ULOG_NO_SEVERITY));
    EXPECT_EQ(STAMP + "QEN ERROR text\n", written(text(), ULOG_NO_UMI));
    EXPECT_EQ(STAMP + "ERROR K-16-25-7 text\n", written(text(), ULOG_NO_MNEMONIC));
    EXPECT_EQ(all + "\n", written(text(), ULOG_SOURCE | ULOG_NO_SOURCE));
    EXPECT_EQ(untimed + "\n", written(text(), 0x80000, 0x20012)) << "the log's own flags";
    EXPECT_EQ(untimed + "\n", written(text(), ULOG_NO_TIME, ULOG_BARE_TEXT));
    EXPECT_EQ("QEN K-16-25-7 text\n", written(text(), ULOG_MERGE | ULOG_NO_TIME, ULOG_NO_SEVERITY));
    EXPECT_EQ(STAMP + "QEN DBG_IPM K-16-25-7 100% %n" + source,
              written(nullptr, ULOG_DEBUG, 0, DBG_IPM, "100% %n"));
    EXPECT_EQ(longer + "\n", written(nullptr, ULOG_DEBUG | BARE, 0, DBG_IPM, longer.c_str()));
    EXPECT_EQ("", written(nullptr, ULOG_DEBUG, 0, 58, "above the scale"));
    EXPECT_EQ("", written(nullptr));
    EXPECT_EQ("abc\n", written(unterminated, BARE));
    for (const int type : {0, 3332})
        EXPECT_EQ(STAMP + "QEN ERROR K-16-1-2 text\n", written(text(type, 1 << 16 | 2)));
    EXPECT_EQ("", written(text(3335))) << "no identifier";
    EXPECT_EQ("", written(text(77, 5)));
    EXPECT_EQ("2026-11-16 18:39:11 QEN WARNING K-16-25-9 added\n", written(log_add(SEV_WARN), ULOG_SOURCE));
    EXPECT_EQ("added\n", written(log_add(SEV_ERR, 0, 7), ULOG_BARE_TEXT));
    EXPECT_EQ("", written(incomplete));
    EXPECT_EQ("", written(log_add(SEV_ERR, MSG_LOG_AS_TEXT)));
    EXPECT_EQ("", written(log_add(5 + DBG_IPM))) << "its level is off";
    EXPECT_EQ("added\n", written(log_add(5 + DBG_IPM), ULOG_FORCE_DEBUG | ULOG_BARE_TEXT));
    Log::_verify_mode = true; // drops ordinary messages
    EXPECT_EQ("", written(text()));
    EXPECT_EQ("text\n", written(text(), BARE | ULOG_MERGE));
    Log::_verify_mode = false;
}

TEST_F(LogWriteTest, UsersLanguageAndNoReportsOnStandardStreamsOnly) {
    const auto format = CatalogBuilder().text(7, "%s wird %s"), word = CatalogBuilder().text(1, "Fehler");
    CatalogTree(root, "en").catalog("core", 25, format).catalog("words", 65534, word).write();
    const Message given = message("english", {"a", "b"});
    for (FILE* fp : {stdout, stderr}) {
        const auto log = opened("shown", fp, ULOG_NO_TIME | ULOG_NO_UMI);
        EXPECT_EQ(
            "QEN Fehler a wird b\nQEN Fehler 1234567\nQEN Fehler 1234567\nQEN Fehler 1234567\n", printed([&] {
                log->write_app(SEV_ERR, "f", "g", 1, 0, 25, 7, given.get());
                for (const int number : {7, 9, 0}) // more arguments than catalogs use, without a text
                    QEN_MESSAGE(log.get(), SEV_ERR, 0, 25, number, "%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7);
            }));
    }
    EXPECT_EQ(Strings(), syslog_texts());
    EXPECT_EQ("english\n", written(given, BARE & ~ULOG_NO_EVENT));
    EXPECT_EQ(Strings{"3english"}, syslog_texts());
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
        std::string expected;
        for (LdfTestRecord record : {first, too_long, last}) { // at any time
            record.time = static_cast<int32_t>(from_be(records(name).substr(expected.size() + 6, 4)));
            expected += LdfBuilder::record_bytes(record);
        }
        EXPECT_EQ(expected, records(name));
    }
}

TEST_F(LogWriteTest, SitesTellTheirPlaceAndEvaluateNothingInVain) {
    const auto log = opened("out", stdout, ULOG_NO_TIME);
    int evaluated = 0;
    const std::string place = "LogWriteTest.cpp:operator()[" + std::to_string(__LINE__ + 2) + "]\n";
    const auto write = [&] {
        QEN_MESSAGE(log.get(), SEV_WARN, ULOG_SOURCE | ULOG_NO_TIME, 25, 1, "No file %s, %d", "N_A", 3);
        QEN_MESSAGE(nullptr, SEV_WARN, 0, 25, 1, "nowhere");
        for (int pass = 0; pass < 2; ++pass, log->enable_debug("ipm"))
            QEN_DEBUG(log.get(), DBG_IPM, ULOG_NO_SOURCE | ULOG_NO_TIME, 25, 1, "%d of %s", ++evaluated, "3");
    };
    EXPECT_EQ("QEN WARNING K-16-25-1 No file N_A, 3\n\t" + place + "QEN DBG_IPM K-16-25-1 1 of 3\n",
              printed(write));
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

TEST_F(LogWriteTest, SeriousMessagesReachTheAdministrator) {
    const auto log = opened("engine");
    EXPECT_EQ(-1, Log::verify_facility("LOG_LOCAL8"));
    Log::set_adminlog_facility(Log::verify_facility("log_local3"));
    const auto write = [&](int sev, const char* text) { log->write_buf("f", "g", 1, sev, 0, 25, 1, text); };
    write(SEV_CRIT, "crit 100% %n %% %1$s");
    write(SEV_WARN, "harmless");
    write(41, "forty-one");
    write(SEV_ERR, std::string(5000, 'x').c_str()); // too long to escape
    write(SEV_ERR, nullptr);
    log->write_dbg(DBG_1, "f", "g", 1, 0, 25, 1, "debug");
    Log::set_adminlog_facility(0);
    // local3 is 19 * 8; critical 2, error 3, debug 7
    EXPECT_THAT(syslog_texts(),
                testing::ElementsAre("154crit 100% %n %% %1$s", "159forty-one", "155Invalid log message."));
}

TEST_F(LogWriteTest, DebugMessagesWaitInTheBufferUnlessTheirTagFlushes) {
    const auto log = opened("engine", nullptr, BARE);
    const auto given = opened("given", fopen((root + "/given").c_str(), "w"), BARE);
    for (const char* expected : {"", "debug\ndebug\n"}) {
        for (Log* each : {log.get(), given.get()}) each->write_dbg(DBG_IPM, "f", "g", 1, 0, 25, 1, "debug");
        EXPECT_EQ(expected, body());
        log->set_flush_debug("ipm");
    }
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
    EXPECT_THAT(texts_of(oldest), testing::ElementsAre("6", "a", "b"));
    EXPECT_EQ(MSG_LOG_ADD, oldest.gethdr()->getMessage());
    const auto value = [&](int16_t id) { return oldest.find(id)->gets32(); };
    EXPECT_TRUE(value(MSGID_SEVERITY) == SEV_ERR && value(MSGID_OBJ_TAG) == 3);
    EXPECT_EQ(25 << 16 | 7, value(MSGID_MSGCAT_ID));
    log->set_cache_disabled();
    EXPECT_EQ(0, log->cache_vlistp()->count());
}
