#include <clocale>
#include <cstring>

#include "LogFixture.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/TerminalText.h"
#include "primitives/values/VList.h"

namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

constexpr time_t NOON = 1794854291; // 2026-11-16 18:38:11 UTC
const std::string AT = "Mon Nov 16 18:38:11 2026 QEN ";

constexpr uint32_t msg_id(uint32_t cat, uint32_t id) {
    return cat << 16 | id;
}
constexpr uint32_t AND = msg_id(25, 30001), PLAIN = msg_id(25, 30002), SWAPPED = msg_id(25, 30003),
                   STORED = msg_id(25, 0), LONG = msg_id(25, 30004), BEYOND = msg_id(25, 30005),
                   TWICE = msg_id(25, 30006), PIECES = msg_id(25, 30007), HIGH = msg_id(40000, 1),
                   UNKNOWN = msg_id(25, 5);
const std::string LONG_TEXT(4080, 't'); // a delimited header of 4,095 bytes: 10 in front, 5 behind

class LogDisplayTest : public LogFixture {
protected:
    using Args = std::vector<const char*>;

    LogDisplayTest() {
        write_catalogs("en", {{25,
                               {{30001, "%s and %s"},
                                {30002, "plain"},
                                {30003, "%2$s-%1$s"},
                                {30004, LONG_TEXT},
                                {30005, "%1$s, %3$s"},
                                {30006, "%1$s %1$s"},
                                {30007, "%%%%%%%%%%%%%%%s"}}},
                              {40000, {{1, "high"}}},
                              {65534, {{1, "Fehler"}}}});
    }
    // What both forms of the operation write to standard output; they must agree.
    static std::string shown(int sev, uint32_t id, const Args& args, int flags = 0) {
        const auto log = opened("ldfread", stdout, 18);
        VList list;
        std::vector<std::string_view> views;
        for (const char* arg : args) {
            list.append(arg, 1);
            views.push_back(arg != nullptr ? std::string_view(arg) : std::string_view());
        }
        CaptureStdout();
        log->display_ldf_entry(sev, /*obj_tag=*/3, NOON, static_cast<int>(id), &list, flags);
        const std::string entry = GetCapturedStdout();
        CaptureStdout();
        {
            std::vector<char> room(LineBuffer::CAPACITY);
            LineBuffer out(stdout, room);
            log->display_ldf_record(sev, /*obj_tag=*/3, NOON, id, views.data(), views.size(), flags, out);
            out.send();
        }
        EXPECT_EQ(entry, GetCapturedStdout());
        return entry;
    }
    static void show_plain(Log& log, int sev = 4) {
        log.display_ldf_entry(sev, 0, NOON, static_cast<int>(PLAIN), nullptr, 0);
    }
};

TEST_F(LogDisplayTest, ReadableLine) {
    const std::string x3000(3000, 'x');
    const std::string x2018(2018, 'x'); // (4096 - 24 - 35) / 2
    const std::string x2032(2032, 'x'); // (4096 - 24 - 8) / 2
    const std::string x4083(4083, 'x'); // 4096 - 10 of the text - 1 - 1 - 1
    const std::string unknown = "INFO K-16-25-5 Could not find message K-16-25-5 : ";
    const Args too_long = {x3000.c_str(), x3000.c_str()}, parted = {x3000.c_str(), nullptr, x3000.c_str()},
               seven = {"1", "2", "3", "4", "5", "6", "7"};
    const struct {
        const char* name;
        int sev;
        uint32_t id;
        Args args;
        std::string line; // behind the time and mnemonic
    } cases[] = {
        {"catalog text", 4, AND, {"a", "b"}, "INFO K-16-25-30001 a and b"},
        {"positions", 2, SWAPPED, {"a", "b"}, "WARNING K-16-25-30003 b-a"},
        {"severity word of the catalog", 1, PLAIN, {}, "Fehler K-16-25-30002 plain"},
        {"position beyond the arguments", 4, BEYOND, {"a", "b"}, "INFO K-16-25-30005 a, ???"},
        {"argument at two places", 4, TWICE, {"a", "b"}, "INFO K-16-25-30006 a a"},
        {"many pieces", 4, PIECES, {"a"}, "INFO K-16-25-30007 %%%%%%%a"},
        {"long text", 4, LONG, {}, "INFO K-16-25-30004 " + LONG_TEXT},
        {"longest arguments", 4, AND, {x4083.c_str(), "b"}, "INFO K-16-25-30001 " + x4083 + " and b"},
        {"arguments just too long", 4, AND, {x4083.c_str(), "bb"}, "INFO K-16-25-30001 ??? and ???"},
        {"arguments do not fit", 4, AND, {"a"}, "INFO K-16-25-30001 ??? and ???"},
        {"null ends the arguments", 4, AND, {"a", nullptr, "b"}, "INFO K-16-25-30001 ??? and ???"},
        {"no percent is a format", 4, AND, {"%s%n", "100%"}, "INFO K-16-25-30001 %s%n and 100%"},
        {"highest level has no word", 57, PLAIN, {}, " K-16-25-30002 plain"},
        {"unknown", 4, msg_id(10000, 5), {"a"}, "INFO K-16-5 Could not find message K-16-5 : arg1 = a"},
        {"unknown too long", 4, UNKNOWN, too_long,
         unknown + "arg1 = " + x2018 + "..., arg2 = " + x2018 + "..."},
        {"unknown, share of one not shown", 4, UNKNOWN, parted, unknown + "arg1 = " + x2018 + "..."},
        {"stored, share of one not shown", 4, STORED, parted, "INFO K-16-25-0  " + x2032 + "..."},
        {"stored without text", 4, STORED, {nullptr}, "INFO K-16-25-0 Could not find message K-16-25-0 : "},
        {"stored too long", 4, STORED, too_long, "INFO K-16-25-0  " + x2032 + "... " + x2032 + ".."},
        {"stored, one argument", 4, STORED, {"a"}, "INFO K-16-25-0  a"},
        {"seventh is not used", 4, STORED, seven, "INFO K-16-25-0  1 2 3 4 5 6"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(AT + c.line + "\n", shown(c.sev, c.id, c.args));
    }
    for (const int off_the_scale : {58, -1}) EXPECT_EQ("", shown(off_the_scale, PLAIN, {}));
    const std::string mnemonic(5000, 'M'), origin(5000, 'O');
    Log::init(mnemonic.c_str(), origin.c_str(), nullptr);
    EXPECT_EQ("Mon Nov 16 18:38:11 2026 " + mnemonic + " INFO " + origin.substr(0, 4095) + "plain\n",
              shown(4, PLAIN, {}));
}

TEST_F(LogDisplayTest, DelimitedRecord) {
    const struct {
        const char* name;
        uint32_t id;
        Args args;
        std::string record;
    } cases[] = {
        {"every argument",
         AND,
         {"1", "2", "3", "4", "5", "6", "7", "8"},
         "{@@@}4{@@}??? and ???{@@}3{@@}1794854291{@@}1668401"
         "{@@}1{@@}2{@@}3{@@}4{@@}5{@@}6{@@}7{@@}8{@@@}\n"},
        {"identifier is signed", HIGH, {}, "{@@@}4{@@}high{@@}3{@@}1794854291{@@}-1673527295{@@@}\n"},
        {"unknown message", msg_id(25, 9), {"a"}, "Could not find message K-16-25-9 : arg1 = a\n"},
        {"header is cut", LONG, {}, "{@@@}4{@@}" + LONG_TEXT + "{@@}3{@@@}\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.record, shown(4, c.id, c.args, 8));
    }
}

TEST_F(LogDisplayTest, SeverityLanguageAndIdentityMayChangeBetweenLines) {
    write_catalogs("de", {{25, {{30002, "schlicht"}}}, {65534, {{4, "Hinweis"}}}});
    const auto log = opened("ldfread", stdout, 18);
    CaptureStdout();
    show_plain(*log);
    show_plain(*log, 4 + 8); // of a like message
    EXPECT_EQ(ULOG_OK, log->set_lang("de"));
    show_plain(*log);
    EXPECT_EQ(ULOG_EFAIL, log->set_lang("xx"));
    show_plain(*log);
    Log::init("NEW", "X", nullptr);
    show_plain(*log);
    EXPECT_EQ(AT + "INFO K-16-25-30002 plain\n" + AT + " K-16-25-30002 plain\n" + AT +
                  "Hinweis K-16-25-30002 schlicht\n" + AT + "Hinweis K-16-25-30002 schlicht\n" +
                  "Mon Nov 16 18:38:11 2026 NEW Hinweis X-25-30002 schlicht\n",
              GetCapturedStdout());
}

// A handle keeps four texts of those whose numbers differ by 128, and the word of severity 1 is one of these.
TEST_F(LogDisplayTest, SeverityWordMayPushOutTheTextOfItsLine) {
    constexpr unsigned FIRST = 29978, STEP = 128, KEPT = 4;
    Texts texts = {{65534, {{1, "Fehler"}}}};
    for (unsigned i = 0; i < KEPT; ++i) texts[25][FIRST + i * STEP] = "text " + std::to_string(i);
    write_catalogs("en", texts);
    const auto log = opened("ldfread", stdout, 18);
    const auto show = [&](int sev, unsigned i) {
        log->display_ldf_entry(sev, 0, NOON, static_cast<int>(msg_id(25, FIRST + i * STEP)), nullptr, 0);
    };
    CaptureStdout();
    for (unsigned i = 0; i < KEPT; ++i) show(4, i);
    show(1, 0);
    EXPECT_THAT(GetCapturedStdout(), testing::EndsWith(AT + "Fehler K-16-25-29978 text 0\n"));
}

// A stream whose callback shows a record and writes on the same log.
TEST_F(LogDisplayTest, WithinItsOwnWriteALogShowsAndWritesNothing) {
    struct Echo {
        std::unique_ptr<Log> log;
        int calls = 0;
        static ssize_t write(void* cookie, const char*, size_t size) {
            auto& echo = *static_cast<Echo*>(cookie);
            if (++echo.calls < 100) {
                show_plain(*echo.log);
                echo.log->write_buf("f", "g", 1, SEV_ERR, 0, 25, 1, "nested");
            }
            return static_cast<ssize_t>(size);
        }
    } echo;
    FILE* fp = fopencookie(&echo, "w", {nullptr, Echo::write, nullptr, nullptr});
    setvbuf(fp, nullptr, _IONBF, 0);
    echo.log = opened("echo", fp);
    show_plain(*echo.log);
    EXPECT_EQ(1, echo.calls);
    echo.log->write_buf("f", "g", 1, SEV_ERR, 0, 25, 1, "text");
    EXPECT_EQ(2, echo.calls);
    echo.log.reset();
    fclose(fp);
}

TEST_F(LogDisplayTest, LanguageAndWordsAreThoseOfTheOpening) {
    write_catalogs("de", {{65534, {{4, "Hinweis"}}}});
    setenv("QENI18N_LANG", "de", 1);
    const auto log = opened("ldfread", stdout, 18);
    setenv("QENI18N_LANG", "en", 1);
    setenv("TAQ_MESSAGES_DIR", "/nowhere", 1);
    const char* const word = log->get_sev(SEV_INFO);
    EXPECT_STREQ("Hinweis", word);
    Log::init("NEW", "X", nullptr);
    CaptureStdout();
    show_plain(*log, 1);
    show_plain(*log, 4);
    EXPECT_THAT(GetCapturedStdout(), testing::HasSubstr("NEW Hinweis X-25-30002 Could not find message"));
    EXPECT_STREQ("Hinweis", word) << "valid until set_lang or open";
    EXPECT_STREQ("", log->get_sev(static_cast<ulog_app_sev>(5)));
}

TEST_F(LogDisplayTest, ChangedZoneShowsWithTheNextLine) {
    const auto log = opened("ldfread", stdout, 18);
    CaptureStdout();
    for (const char* zone : {"UTC", "XXX-1", "UTC"}) {
        setenv("TZ", zone, 1);
        tzset();
        show_plain(*log);
        log->write_log(NOON, SEV_INFO, "f", "g", 1, ULOG_NO_UMI | ULOG_NO_SEVERITY, 25, 0, nullptr,
                       message("t").get());
    }
    const std::string line = "2026 QEN INFO K-16-25-30002 plain\n";
    EXPECT_EQ("Mon Nov 16 18:38:11 " + line + "2026-11-16 18:38:11 QEN t\nMon Nov 16 19:38:11 " + line +
                  "2026-11-16 19:38:11 QEN t\nMon Nov 16 18:38:11 " + line + "2026-11-16 18:38:11 QEN t\n",
              GetCapturedStdout());
}

TEST(TerminalTextTest, ControlCharactersOfTheLocaleBecomeVisible) {
    const struct {
        const char *locale, *text, *shown;
    } cases[] = {
        {"C", "plain\ttext ~", "plain\ttext ~"},
        {"C", "\x1b]0;x\x07\x7f\r\n", "\\x1b]0;x\\x07\\x7f\\x0d\\x0a"},
        {"C", "gr\xc3\xbc", "gr\\xc3\\xbc"},
        {"en_US.UTF-8", "gr\xc3\xbc\xc3\x9f \xe2\x82\xac", "gr\xc3\xbc\xc3\x9f \xe2\x82\xac"},
        {"en_US.UTF-8",
         "a\xc2\x9b"
         "31m",
         "a\\xc2\\x9b"
         "31m"},
        {"en_US.UTF-8", "\xc3(\xff\xe2\x82", "\\xc3(\\xff\\xe2\\x82"},
        {"en_US.UTF-8", "\xe2\x80\xae\xe2\x81\xa9\xd8\x9c", "\\xe2\\x80\\xae\\xe2\\x81\\xa9\\xd8\\x9c"},
        {"en_US.UTF-8", "\xe2\x80\x90\xe2\x81\xaa", "\xe2\x80\x90\xe2\x81\xaa"}, // beside the marks
        {"ja_JP.eucJP", "\xc6\xfc\xcb\xdc \x8e\xb1\x1b", "\xc6\xfc\xcb\xdc \x8e\xb1\\x1b"},
        {"ja_JP.SJIS", "\x93\xfa\x96\x7b\x9b", "\x93\xfa\x96\x7b\\x9b"}, // lead bytes that are C1 elsewhere
        {"de_DE.ISO-8859-1", "gr\xfc\xdf\x9b", "gr\xfc\xdf\\x9b"},
    };
    setenv("LOCPATH", TAQ_TEST_LOCALES, 1);
    for (const auto& c : cases) {
        ASSERT_NE(nullptr, setlocale(LC_CTYPE, c.locale)) << c.locale;
        EXPECT_EQ(c.shown, text_for_terminal(c.text)) << c.locale;
        EXPECT_EQ(std::string(c.text) == c.shown && strcmp(c.locale, "C") == 0,
                  is_plain_for_terminal(c.text));
    }
    setlocale(LC_CTYPE, "C");
    EXPECT_EQ("two\n\\x00", text_for_terminal(std::string_view("two\n\0", 5), Newlines::KEPT));
}

TEST_F(LogDisplayTest, ClosedOrWithoutStream) {
    Log closed;
    show_plain(closed);
    EXPECT_THAT(syslog_texts(), testing::IsEmpty());
    show_plain(*opened("engine")); // the first write will make the file
    EXPECT_THAT(syslog_texts(), testing::ElementsAre("3Log File Pointer is NULL\n"));
}

// The text of a time must be the C library's, whichever way it was made: in zones with summer time, with
// breaks within an hour, with leap seconds, and in locales that write numbers otherwise.
TEST(LocalTimeTextTest, AlwaysSaysWhatTheLibrarySays) {
    const char* zones[] = {"UTC",
                           "CET-1CEST,M3.5.0,M10.5.0/3",
                           "Asia/Kathmandu",
                           "Australia/Lord_Howe",
                           "XXX-1YYY-1:00:30,M3.5.0/0:10:20,M10.5.0/0:20:40",
                           "right/UTC"};
    const char* locales[] = {"C", "en_US.UTF-8", "de_DE.UTF-8", "fr_FR.UTF-8", "ja_JP.UTF-8", "ja_JP.eucJP"};
    const char* formats[] = {"%c", "%Y-%m-%d %H:%M:%S ", "%H:%M",      "%S%M",
                             "%s", "%I:%M:%S %p %S",     "%Od %OM %OS"};
    const time_t before_changes[] = {1774738800, 1775311200, 1793487600}; // to and from summer time
    setenv("LOCPATH", TAQ_TEST_LOCALES, 1);
    uint32_t state = 12345;
    time_t t = NOON;
    for (const char* format : formats) {
        char room[64];
        LocalTimeText text(format, room); // which has to notice a changed locale and a changed zone
        for (const char* zone : zones) {
            setenv("TZ", zone, 1);
            tzset();
            for (const char* locale : locales) {
                ASSERT_NE(nullptr, setlocale(LC_TIME, locale)) << locale;
                for (int i = 0; i < 4500; ++i) { // begins within the hour that the former locale ended in
                    struct tm local;
                    char expected[256] = "";
                    strftime(expected, sizeof expected, format, localtime_r(&t, &local));
                    ASSERT_EQ(expected, text.at(t)) << zone << " " << locale << " " << format << " " << t;
                    state = state * 1664525 + 1013904223;
                    t += (state >> 16) % 40; // some stay in the hour, some cross it
                    if (i % 700 == 699) t -= 5000;
                    if (i % 1500 == 1000) t = before_changes[i / 1500];
                }
            }
        }
    }
    setlocale(LC_TIME, "C");
    setenv("TZ", "UTC", 1);
    tzset();
    char room[64];
    LocalTimeText text("%c", room);
    EXPECT_EQ("", text.at(INT64_MAX)); // a year that no calendar has
    EXPECT_EQ("Wed Dec 31 23:59:59 1969", text.at(-1));
}

} // namespace
