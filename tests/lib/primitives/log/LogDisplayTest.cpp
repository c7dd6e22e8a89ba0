// Records as the user sees them: lines, delimited records, language, times, and what a terminal is spared.
#include <clocale>

#include "LogFixture.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/LocalTimeText.h"
#include "primitives/log/LogCore.h"
#include "primitives/log/ShownRecord.h"
#include "primitives/log/TerminalText.h"

constexpr time_t NOON = 1794854291; // 2026-11-16 18:38:11 UTC
const std::string AT = "Mon Nov 16 18:38:11 2026 ", QEN = AT + "QEN ";

constexpr uint32_t STORED = 25 << 16, AND = STORED | 30001, PLAIN = STORED | 30002, LONG = STORED | 30004,
                   UNKNOWN = STORED | 5;
const std::string LONG_TEXT(4080, 't'); // a delimited header of 4,095 bytes: 10 in front, 5 behind

struct LogDisplayTest : LogFixture {
    using Args = std::vector<const char*>;

    LogDisplayTest() {
        const auto texts =
            CatalogBuilder().text(30001, "%s and %s").text(30002, "plain").text(30004, LONG_TEXT);
        const auto word = CatalogBuilder().text(1, "Fehler");
        CatalogTree(root, "en").catalog("core", 25, texts).catalog("words", 65534, word).write();
        const auto text = CatalogBuilder().text(30002, "schlicht"),
                   hint = CatalogBuilder().text(4, "Hinweis");
        CatalogTree(root, "de").catalog("core", 25, text).catalog("words", 65534, hint).write();
        EXPECT_EQ(ULOG_OK, log.open("ldfread", stdout, 18, nullptr));
    }
    // What both forms of the operation write to standard output; they must agree.
    std::string shown(int sev = 4, uint32_t id = PLAIN, const Args& args = {}, int flags = 0) {
        VList list;
        std::vector<std::string_view> views;
        for (const char* arg : args) {
            list.append(arg, 1);
            views.push_back(arg != nullptr ? std::string_view(arg) : std::string_view());
        }
        const std::string twice = printed([&] {
            std::vector<char> room(LineBuffer::CAPACITY);
            LineBuffer out(stdout, room);
            LogCore::display(log, {sev, /*obj_tag=*/3, NOON, id}, views, flags, out);
            out.send();
            log.display_ldf_entry(sev, /*obj_tag=*/3, NOON, static_cast<int>(id), &list, flags);
        });
        std::string once = twice.substr(0, twice.size() / 2);
        EXPECT_EQ(twice, once + once);
        return once;
    }
    Log log;
};

TEST_F(LogDisplayTest, LinesAndDelimitedRecords) {
    const std::string x3000(3000, 'x');
    const std::string x2018 = std::string(2018, 'x') + "..."; // (4096 - 24 - 35) / 2
    const std::string x2032 = std::string(2032, 'x') + "..."; // (4096 - 24 - 8) / 2
    const char* const x = x3000.c_str();
    const std::string info = QEN + "INFO K-16-25-", unknown = "Could not find message K-16-25-5 : arg1 = ";
    EXPECT_EQ(info + "30001 a and 100%\n", shown(4, AND, {"a", "100%"}));
    EXPECT_EQ(QEN + "Fehler K-16-25-30002 plain\n", shown(1));
    EXPECT_EQ(info + "30001 ??? and ???\n", shown(4, AND, {"a", nullptr, "b"}));
    EXPECT_EQ(QEN + " K-16-25-30002 plain\n", shown(57));
    EXPECT_EQ("", shown(58));
    EXPECT_EQ(QEN + "INFO K-16-5 Could not find message K-16-5 : arg1 = a\n",
              shown(4, 10000 << 16 | 5, {"a"}));
    EXPECT_EQ(info + "5 " + unknown + x2018 + ", arg2 = " + x2018 + "\n", shown(4, UNKNOWN, {x, x}));
    EXPECT_EQ(info + "0 Could not find message K-16-25-0 : \n", shown(4, STORED, {nullptr}));
    EXPECT_EQ(info + "0  " + x2032 + " " + x2032.substr(0, 2034) + "\n", shown(4, STORED, {x, x}));
    EXPECT_EQ(info + "0  " + x2032 + "\n", shown(4, STORED, {x, nullptr, x}));
    EXPECT_EQ(info + "0  a\n", shown(4, STORED, {"a"}));
    EXPECT_EQ(info + "0  1 2 3 4 5 6\n", shown(4, STORED, {"1", "2", "3", "4", "5", "6", "7"}));
    EXPECT_EQ("{@@@}4{@@}plain{@@}3{@@}1794854291{@@}1668402{@@}1{@@}2{@@@}\n",
              shown(4, PLAIN, {"1", "2"}, 8));
    EXPECT_EQ(unknown + "a\n", shown(4, UNKNOWN, {"a"}, 8));
    EXPECT_EQ("{@@@}4{@@}" + LONG_TEXT + "{@@}3{@@@}\n", shown(4, LONG, {}, 8)) << "cut";
    const std::string mnemonic(5000, 'M'), origin(5000, 'O');
    Log::init(mnemonic.c_str(), origin.c_str(), nullptr);
    EXPECT_EQ(AT + mnemonic + " INFO " + origin.substr(0, 4095) + "plain\n", shown());
}

TEST_F(LogDisplayTest, LinesAreTheSameWhenTheyAreShownAgain) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(QEN + "INFO K-16-25-30002 plain\n", shown());
        EXPECT_EQ(QEN + "Fehler K-16-25-30002 plain\n", shown(1));
    }
    EXPECT_EQ(QEN + "CRITICAL K-16-0-0  a\n", shown(0, 0, {"a"})) << "all numbers 0, and not learned yet";
    const std::string mnemonic(300, 'M'); // the head is too long to be learned
    Log::init(mnemonic.c_str(), "X", nullptr);
    for (int round = 0; round < 2; ++round) EXPECT_EQ(AT + mnemonic + " INFO X-25-30002 plain\n", shown());
}

TEST_F(LogDisplayTest, SeverityLanguageAndIdentityMayChangeBetweenLines) {
    setenv("QENI18N_LANG", "de", 1);
    EXPECT_EQ(QEN + "INFO K-16-25-30002 plain\n", shown()) << "in the language of the opening";
    EXPECT_EQ(QEN + " K-16-25-30002 plain\n", shown(4 + 8)) << "of a like message";
    EXPECT_EQ(ULOG_OK, log.set_lang("de"));
    const char* const word = log.get_sev(SEV_INFO);
    EXPECT_EQ(ULOG_EFAIL, log.set_lang("xx"));
    EXPECT_EQ(QEN + "Hinweis K-16-25-30002 schlicht\n", shown());
    Log::init("NEW", "X", nullptr);
    EXPECT_EQ(AT + "NEW Hinweis X-25-30002 schlicht\n", shown());
    EXPECT_STREQ("Hinweis", word) << "valid until set_lang or open";
    EXPECT_EQ(ULOG_OK, log.open("engine", nullptr, 0, nullptr)); // the first write will make the file
    EXPECT_EQ("", shown());
    EXPECT_EQ(Strings(2, "3Log File Pointer is NULL\n"), syslog_texts());
}

TEST(TerminalTextTest, ControlCharactersOfTheLocaleBecomeVisible) {
    const struct {
        const char *locale, *text, *shown;
    } cases[] = {
        {"C", "plain\ttext ~", "plain\ttext ~"},
        {"C", "\x1b]0;x\x07\x7f\r\ngr\xc3\xbc", "\\x1b]0;x\\x07\\x7f\\x0d\\x0agr\\xc3\\xbc"},
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
    std::mt19937 dice(1);
    time_t t = NOON;
    char room[64], expected[256];
    for (const char* format : formats) {
        LocalTimeText text(format, room); // which has to notice a changed locale and a changed zone
        for (int i = 0; i < 70000; ++i) {
            if (i % 4000 == 0) setenv("TZ", zones[dice() % 4], 1), tzset();
            if (i % 4000 == 2000) setlocale(LC_TIME, locales[dice() % 4]);
            t += dice() % 40; // some stay in the hour, some cross it
            if (i % 700 == 699) t -= 5000;
            if (i % 1500 == 1000) t = before_changes[dice() % 3];
            strftime(expected, sizeof expected, format, localtime(&t));
            ASSERT_EQ(expected, text.at(t)) << getenv("TZ") << setlocale(LC_TIME, nullptr) << t;
        }
    }
    setlocale(LC_TIME, "C");
}
