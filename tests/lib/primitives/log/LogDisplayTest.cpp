#include <clocale>
#include <cstring>

#include "LogFixture.h"
#include "primitives/values/VList.h"

namespace {

constexpr time_t NOON = 1794854291; // 2026-11-16 18:38:11 UTC

class LogDisplayTest : public LogFixture {
protected:
    LogDisplayTest() {
        write_catalogs("en", {{25, {{30001, "%s and %s"}, {30002, "plain"}, {30003, "%2$s-%1$s"}}},
                              {65534, {{1, "Fehler"}}}});
    }
    // What both forms of the operation write to standard output; they must agree.
    std::string shown(int sev, uint32_t id, std::vector<const char*> args, int flags = 0, int obj_tag = 3,
                      time_t t = NOON) {
        Log log;
        EXPECT_EQ(ULOG_OK, log.open("ldfread", stdout, 18, nullptr));
        VList list;
        std::vector<std::string_view> views;
        for (const char* arg : args) {
            list.append(arg, 1);
            views.push_back(arg != nullptr ? std::string_view(arg) : std::string_view());
        }
        testing::internal::CaptureStdout();
        log.display_ldf_entry(sev, obj_tag, t, static_cast<int>(id), &list, flags);
        fflush(stdout);
        std::string entry = testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        log.display_ldf_record(sev, obj_tag, t, id, views.data(), views.size(), flags);
        fflush(stdout);
        EXPECT_EQ(entry, testing::internal::GetCapturedStdout());
        return entry;
    }
};

constexpr uint32_t msg_id(uint32_t cat, uint32_t id) {
    return cat << 16 | id;
}

TEST_F(LogDisplayTest, ReadableLine) {
    const std::string at = "Mon Nov 16 18:38:11 2026 QEN ";
    const std::string long_arg(3000, 'x');
    struct {
        const char* name;
        int sev;
        uint32_t id;
        std::vector<const char*> args;
        std::string line;
    } cases[] = {
        {"catalog text", 4, msg_id(25, 30001), {"a", "b"}, at + "INFO K-16-25-30001 a and b\n"},
        {"positions", 2, msg_id(25, 30003), {"a", "b"}, at + "WARNING K-16-25-30003 b-a\n"},
        {"severity word of the catalog", 1, msg_id(25, 30002), {}, at + "Fehler K-16-25-30002 plain\n"},
        {"arguments do not fit", 4, msg_id(25, 30001), {"a"}, at + "INFO K-16-25-30001 ??? and ???\n"},
        {"null ends the arguments",
         4,
         msg_id(25, 30001),
         {"a", nullptr, "b"},
         at + "INFO K-16-25-30001 ??? and ???\n"},
        {"no percent is a format",
         4,
         msg_id(25, 30001),
         {"%s%n", "100%"},
         at + "INFO K-16-25-30001 %s%n and 100%\n"},
        {"debug level has no word", 5, msg_id(25, 30002), {}, at + " K-16-25-30002 plain\n"},
        {"highest severity", 57, msg_id(25, 30002), {}, at + " K-16-25-30002 plain\n"},
        {"unknown message",
         4,
         msg_id(25, 5),
         {"a", "b"},
         at + "INFO K-16-25-5 Could not find message K-16-25-5 : arg1 = a, arg2 = b\n"},
        {"no category", 4, msg_id(10000, 5), {}, at + "INFO K-16-5 Could not find message K-16-5 : \n"},
        {"stored text", 4, msg_id(25, 0), {"disk", "full"}, at + "INFO K-16-25-0  disk full\n"},
        {"stored text without arguments",
         4,
         msg_id(25, 0),
         {},
         at + "INFO K-16-25-0 Could not find message K-16-25-0 : \n"},
        {"stored text too long",
         4,
         msg_id(25, 0),
         {long_arg.c_str(), long_arg.c_str()}, // (4096 - 24 - 8) / 2
         at + "INFO K-16-25-0  " + std::string(2032, 'x') + "... " + std::string(2032, 'x') + "..\n"},
        {"seventh argument is not used",
         4,
         msg_id(25, 0),
         {"1", "2", "3", "4", "5", "6", "7"},
         at + "INFO K-16-25-0  1 2 3 4 5 6\n"},
        {"severity above the scale", 58, msg_id(25, 30002), {}, ""},
        {"severity below the scale", -1, msg_id(25, 30002), {}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.line, shown(c.sev, c.id, c.args));
    }
}

TEST_F(LogDisplayTest, DelimitedRecord) {
    const std::string long_text(4080, 't'); // header of 4,095 bytes: 10 in front, 5 behind
    write_catalogs("en", {{25, {{30001, "%s and %s"}, {30004, long_text}}}, {40000, {{1, "high"}}}});
    const std::string at = "{@@}3{@@}1794854291{@@}";
    struct {
        const char* name;
        uint32_t id;
        std::vector<const char*> args;
        std::string record;
    } cases[] = {
        {"text and arguments",
         msg_id(25, 30001),
         {"a", "b"},
         "{@@@}4{@@}a and b" + at + "1668401{@@}a{@@}b{@@@}\n"},
        {"eight arguments",
         msg_id(25, 30001),
         {"1", "2", "3", "4", "5", "6", "7", "8"},
         "{@@@}4{@@}??? and ???" + at + "1668401{@@}1{@@}2{@@}3{@@}4{@@}5{@@}6{@@}7{@@}8{@@@}\n"},
        {"identifier is signed", msg_id(40000, 1), {}, "{@@@}4{@@}high" + at + "-1673527295{@@@}\n"},
        {"unknown message", msg_id(25, 9), {"a"}, "Could not find message K-16-25-9 : arg1 = a\n"},
        {"header is cut", msg_id(25, 30004), {}, "{@@@}4{@@}" + long_text + "{@@}3{@@@}\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.record, shown(4, c.id, c.args, 8));
    }
}

TEST_F(LogDisplayTest, LongestLineIsNotCut) {
    const std::string mnemonic(5000, 'M'), origin(5000, 'O');
    Log::init(mnemonic.c_str(), origin.c_str(), nullptr);
    EXPECT_EQ("Mon Nov 16 18:38:11 2026 " + mnemonic + " INFO " + origin.substr(0, 4095) + "plain\n",
              shown(4, msg_id(25, 30002), {}));
}

TEST_F(LogDisplayTest, IdentityMayChangeWhileALogIsOpen) {
    Log log;
    ASSERT_EQ(ULOG_OK, log.open("ldfread", stdout, 18, nullptr));
    testing::internal::CaptureStdout();
    log.display_ldf_record(4, 0, NOON, msg_id(25, 30002), nullptr, 0, 0);
    Log::init("NEW", "X", nullptr);
    log.display_ldf_record(4, 0, NOON, msg_id(25, 30002), nullptr, 0, 0);
    fflush(stdout);
    EXPECT_EQ("Mon Nov 16 18:38:11 2026 QEN INFO K-16-25-30002 plain\n"
              "Mon Nov 16 18:38:11 2026 NEW INFO X-25-30002 plain\n",
              testing::internal::GetCapturedStdout());
}

TEST_F(LogDisplayTest, BusyClosedOrWithoutStream) {
    Log log;
    log.display_ldf_record(4, 0, NOON, msg_id(25, 30002), nullptr, 0, 0); // not open: silent
    EXPECT_TRUE(syslog_lines().empty());
    std::filesystem::create_directory(root + "/log");
    ASSERT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr)); // the first write will make the file
    log.display_ldf_record(4, 0, NOON, msg_id(25, 30002), nullptr, 0, 0);
    ASSERT_EQ(1u, syslog_lines().size());
    EXPECT_EQ("Log File Pointer is NULL\n", syslog_lines()[0].text);
}

TEST_F(LogDisplayTest, OtherLanguageAndBack) {
    write_catalogs("de", {{25, {{30002, "schlicht"}}}, {65534, {{4, "Hinweis"}}}});
    Log log;
    ASSERT_EQ(ULOG_OK, log.open("ldfread", stdout, 18, nullptr));
    testing::internal::CaptureStdout();
    const auto show = [&log] { log.display_ldf_record(4, 0, NOON, msg_id(25, 30002), nullptr, 0, 0); };
    show();
    EXPECT_EQ(ULOG_OK, log.set_lang("de"));
    show();
    EXPECT_EQ(ULOG_EFAIL, log.set_lang("xx"));
    show();
    fflush(stdout);
    const std::string at = "Mon Nov 16 18:38:11 2026 QEN ";
    EXPECT_EQ(at + "INFO K-16-25-30002 plain\n" + at + "Hinweis K-16-25-30002 schlicht\n" + at +
                  "Hinweis K-16-25-30002 schlicht\n",
              testing::internal::GetCapturedStdout());
}

TEST_F(LogDisplayTest, WithoutCatalogsEverythingFallsBack) {
    std::filesystem::remove_all(root + "/messages");
    EXPECT_EQ("Mon Nov 16 18:38:11 2026 QEN ERROR K-16-25-30002 Could not find message K-16-25-30002 : \n",
              shown(1, msg_id(25, 30002), {}));
}

// The text of a time must be the C library's, whichever way it was made: in zones with summer time, with
// breaks within an hour, with leap seconds, and in locales that write numbers otherwise.
TEST(LocalTimeTextTest, AlwaysSaysWhatTheLibrarySays) {
    setenv("LOCPATH", TAQ_TEST_LOCALES, 1);
    const char* zones[] = {"UTC",
                           "CET-1CEST,M3.5.0,M10.5.0/3",
                           "Asia/Kathmandu",
                           "Australia/Lord_Howe",
                           "XXX-1YYY-1:00:30,M3.5.0/0:10:20,M10.5.0/0:20:40",
                           "right/UTC"};
    const char* locales[] = {"C", "en_US.UTF-8", "de_DE.UTF-8", "fr_FR.UTF-8", "ja_JP.UTF-8", "ja_JP.eucJP"};
    const char* formats[] = {"%c", "%Y-%m-%d %H:%M:%S ", "%H:%M",      "%S%M",
                             "%s", "%I:%M:%S %p %S",     "%Od %OM %OS"};
    // Before changes to and from summer time in these zones.
    const time_t STARTS[] = {1774738800, 1775311200, 1793487600};
    int tried = 0;
    for (const char* zone : zones) {
        setenv("TZ", zone, 1);
        tzset();
        for (const char* locale : locales) {
            ASSERT_NE(nullptr, setlocale(LC_TIME, locale)) << locale;
            for (const char* format : formats) {
                LocalTimeText text(format);
                uint32_t state = 12345;
                for (time_t t : STARTS)
                    for (int i = 0; i < 1500; ++i) {
                        state = state * 1664525 + 1013904223;
                        t += (state >> 16) % 40; // some stay in the hour, some cross it
                        if (i % 700 == 699) t -= 5000;
                        struct tm local;
                        char expected[256] = "";
                        strftime(expected, sizeof expected, format, localtime_r(&t, &local));
                        ASSERT_EQ(expected, text.at(t)) << zone << " " << locale << " " << format << " " << t;
                        ++tried;
                    }
            }
        }
    }
    setlocale(LC_TIME, "C");
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(6 * 6 * 7 * 4500, tried);
    LocalTimeText text("%c");
    EXPECT_EQ("", text.at(INT64_MAX)); // a year that no calendar has
    EXPECT_EQ("Thu Jan  1 00:00:00 1970", text.at(0));
    EXPECT_EQ("Wed Dec 31 23:59:59 1969", text.at(-1));
}

TEST(LocalTimeTextTest, FollowsTheLocale) {
    setenv("LOCPATH", TAQ_TEST_LOCALES, 1);
    LocalTimeText text("%c");
    for (const char* locale : {"C", "de_DE.UTF-8", "ja_JP.UTF-8", "ja_JP.eucJP", "C"}) {
        ASSERT_NE(nullptr, setlocale(LC_TIME, locale)) << locale;
        struct tm local;
        char expected[256];
        strftime(expected, sizeof expected, "%c", localtime_r(&NOON, &local));
        EXPECT_EQ(expected, text.at(NOON)) << locale;
    }
}

} // namespace
