// Records as the user sees them: lines, delimited records, language, times, and what a terminal is spared.
#include <clocale>

#include "LogFixture.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/TerminalText.h"

namespace {

constexpr time_t NOON = 1794854291; // 2026-11-16 18:38:11 UTC
const std::string AT = "Mon Nov 16 18:38:11 2026 ", QEN = AT + "QEN ";

constexpr uint32_t STORED = 25 << 16, AND = STORED | 30001, PLAIN = STORED | 30002, LONG = STORED | 30004,
                   UNKNOWN = STORED | 5;
const std::string LONG_TEXT(4080, 't'); // a delimited header of 4,095 bytes: 10 in front, 5 behind

class LogDisplayTest : public LogFixture {
protected:
    using Args = std::vector<const char*>;

    LogDisplayTest() {
        write_catalogs("en", {{25, {{30001, "%s and %s"}, {30002, "plain"}, {30004, LONG_TEXT}}},
                              {65534, {{1, "Fehler"}}}});
        write_catalogs("de", {{25, {{30002, "schlicht"}}}, {65534, {{4, "Hinweis"}}}});
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
        const std::string entry = printed(
            [&] { log->display_ldf_entry(sev, /*obj_tag=*/3, NOON, static_cast<int>(id), &list, flags); });
        EXPECT_EQ(entry, printed([&] {
                      std::vector<char> room(LineBuffer::CAPACITY);
                      LineBuffer out(stdout, room);
                      log->display_ldf_record({sev, /*obj_tag=*/3, NOON, id}, views, flags, out);
                      out.send();
                  }));
        return entry;
    }
    static std::string plain(Log& log, int sev = 4) {
        return printed([&] { log.display_ldf_entry(sev, 0, NOON, static_cast<int>(PLAIN), nullptr, 0); });
    }
};

TEST_F(LogDisplayTest, LinesAndDelimitedRecords) {
    const std::string x3000(3000, 'x');
    const std::string x2018(2018, 'x'); // (4096 - 24 - 35) / 2
    const std::string x2032(2032, 'x'); // (4096 - 24 - 8) / 2
    const Args too_long = {x3000.c_str(), x3000.c_str()};
    const struct {
        int sev;
        uint32_t id;
        Args args;
        std::string line; // of a line: behind the time and mnemonic
        int flags = 0;
    } cases[] = {
        {4, AND, {"a", "100%"}, "INFO K-16-25-30001 a and 100%"},
        {1, PLAIN, {}, "Fehler K-16-25-30002 plain"},
        {4, AND, {"a", nullptr, "b"}, "INFO K-16-25-30001 ??? and ???"},
        {57, PLAIN, {}, " K-16-25-30002 plain"},
        {4, 10000 << 16 | 5, {"a"}, "INFO K-16-5 Could not find message K-16-5 : arg1 = a"},
        {4, UNKNOWN, too_long,
         "INFO K-16-25-5 Could not find message K-16-25-5 : arg1 = " + x2018 + "..., arg2 = " + x2018 +
             "..."},
        {4, STORED, {nullptr}, "INFO K-16-25-0 Could not find message K-16-25-0 : "},
        {4, STORED, too_long, "INFO K-16-25-0  " + x2032 + "... " + x2032 + ".."},
        {4, STORED, {too_long[0], nullptr, too_long[1]}, "INFO K-16-25-0  " + x2032 + "..."},
        {4, STORED, {"a"}, "INFO K-16-25-0  a"},
        {4, STORED, {"1", "2", "3", "4", "5", "6", "7"}, "INFO K-16-25-0  1 2 3 4 5 6"},
        {4, PLAIN, {"1", "2"}, "{@@@}4{@@}plain{@@}3{@@}1794854291{@@}1668402{@@}1{@@}2{@@@}", 8},
        {4, UNKNOWN, {"a"}, "Could not find message K-16-25-5 : arg1 = a", 8},
        {4, LONG, {}, "{@@@}4{@@}" + LONG_TEXT + "{@@}3{@@@}", 8}, // is cut
    };
    for (const auto& c : cases)
        EXPECT_EQ((c.flags == 0 ? QEN : "") + c.line + "\n", shown(c.sev, c.id, c.args, c.flags));
    EXPECT_EQ("", shown(58, PLAIN, {}));
    const std::string mnemonic(5000, 'M'), origin(5000, 'O');
    Log::init(mnemonic.c_str(), origin.c_str(), nullptr);
    EXPECT_EQ(AT + mnemonic + " INFO " + origin.substr(0, 4095) + "plain\n", shown(4, PLAIN, {}));
}

TEST_F(LogDisplayTest, SeverityLanguageAndIdentityMayChangeBetweenLines) {
    const auto log = opened("ldfread", stdout, 18);
    setenv("QENI18N_LANG", "de", 1);
    EXPECT_EQ(QEN + "INFO K-16-25-30002 plain\n", plain(*log)) << "in the language of the opening";
    EXPECT_EQ(QEN + " K-16-25-30002 plain\n", plain(*log, 4 + 8)) << "of a like message";
    EXPECT_EQ(ULOG_OK, log->set_lang("de"));
    const char* const word = log->get_sev(SEV_INFO);
    EXPECT_EQ(ULOG_EFAIL, log->set_lang("xx"));
    EXPECT_EQ(QEN + "Hinweis K-16-25-30002 schlicht\n", plain(*log));
    Log::init("NEW", "X", nullptr);
    EXPECT_EQ(AT + "NEW Hinweis X-25-30002 schlicht\n", plain(*log));
    EXPECT_STREQ("Hinweis", word) << "valid until set_lang or open";
    EXPECT_EQ("", plain(*opened("engine"))); // the first write will make the file
    EXPECT_THAT(syslog_texts(), testing::ElementsAre("3Log File Pointer is NULL\n"));
}

TEST(TerminalTextTest, ControlCharactersOfTheLocaleBecomeVisible) {
    const struct {
        const char *locale, *text, *shown;
    } cases[] = {
        {"C", "plain\ttext ~", "plain\ttext ~"},
        {"C", "\x1b]0;x\x07\x7f\r\n", "\\x1b]0;x\\x07\\x7f\\x0d\\x0a"},
        {"C", "gr\xc3\xbc", "gr\\xc3\\xbc"},
        {"en_US.UTF-8", "gr\xc3\xbc \xe2\x82\xac \xe2\x80\x90\xe2\x81\xaa", nullptr},
        {"en_US.UTF-8", "a\xc2\x9b[1m \xc3(\xff\xe2\x82", "a\\xc2\\x9b[1m \\xc3(\\xff\\xe2\\x82"},
        {"en_US.UTF-8", "\xe2\x80\xae\xe2\x81\xa9\xd8\x9c", "\\xe2\\x80\\xae\\xe2\\x81\\xa9\\xd8\\x9c"},
        {"ja_JP.eucJP", "\xc6\xfc\xcb\xdc \x8e\xb1\x1b", "\xc6\xfc\xcb\xdc \x8e\xb1\\x1b"},
        {"ja_JP.SJIS", "\x93\xfa\x96\x7b\x9b", "\x93\xfa\x96\x7b\\x9b"}, // lead bytes that are C1 elsewhere
        {"de_DE.ISO-8859-1", "gr\xfc\xdf\x9b", "gr\xfc\xdf\\x9b"},
    };
    setenv("LOCPATH", TAQ_TEST_LOCALES, 1);
    for (const auto& c : cases) {
        ASSERT_NE(nullptr, setlocale(LC_CTYPE, c.locale)) << c.locale;
        EXPECT_EQ(c.shown != nullptr ? c.shown : c.text, text_for_terminal(c.text)) << c.locale;
        EXPECT_EQ(c.text == cases[0].text, is_plain_for_terminal(c.text)) << c.text;
    }
    setlocale(LC_CTYPE, "C");
    EXPECT_EQ("two\n\\x00", text_for_terminal(std::string_view("two\n\0", 5), Newlines::KEPT));
}

// The text of a time must be the C library's, whichever way it was made: in zones with summer time, with
// breaks within an hour, with leap seconds, and in locales that write numbers otherwise.
TEST(LocalTimeTextTest, AlwaysSaysWhatTheLibrarySays) {
    constexpr char ODD[] = "XXX-1YYY-1:00:30,M3.5.0/0:10:20,M10.5.0/0:20:40";
    const char* zones[] = {"CET-1CEST,M3.5.0,M10.5.0/3", "Asia/Kathmandu", ODD, "right/UTC"};
    const char* locales[] = {"C", "en_US.UTF-8", "de_DE.UTF-8", "ja_JP.UTF-8"};
    const char* formats[] = {"%c", "%Y-%m-%d %H:%M:%S ", "%S%M", "%s", "%I:%M:%S %p %S", "%Od %OM %OS"};
    const time_t before_changes[] = {1774738800, 1775311200, 1793487600}; // to and from summer time
    setenv("LOCPATH", TAQ_TEST_LOCALES, 1);
    uint32_t state = 12345;
    time_t t = NOON;
    const auto step = [&](int i) { // begins within the hour that the former locale ended in
        state = state * 1664525 + 1013904223;
        t += (state >> 16) % 40; // some stay in the hour, some cross it
        if (i % 700 == 699) t -= 5000;
        if (i % 1500 == 1000) t = before_changes[i / 1500];
    };
    for (const char* format : formats) {
        char room[64];
        LocalTimeText text(format, room); // which has to notice a changed locale and a changed zone
        for (int change = 0; change < 16; ++change) {
            const int zone = change / 4, column = change % 4; // one of both changes at a time
            const char* locale = locales[zone % 2 == 0 ? column : 3 - column];
            setenv("TZ", zones[zone], 1);
            tzset();
            ASSERT_NE(nullptr, setlocale(LC_TIME, locale));
            for (int i = 0; i < 4500; step(i++)) {
                char expected[256] = "";
                strftime(expected, sizeof expected, format, localtime(&t));
                ASSERT_EQ(expected, text.at(t)) << getenv("TZ") << " " << locale << " " << t;
            }
        }
    }
    setlocale(LC_TIME, "C");
}

} // namespace
