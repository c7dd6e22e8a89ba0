// What a format and its arguments become: the text of a message, its arguments, and the shares of long ones.
#include <clocale>

#include "LogFixture.h"

using testing::ElementsAre;

const std::string C5000(5000, 'c');

struct LogComposeTest : LogFixture {
    // The text of a message and its arguments.
    template <class... Args>
    static Strings made(const char* format, Args... args) {
        return texts_of(*std::unique_ptr<MsgStruct>(Log::process_args(format, args...)));
    }
    // Text and arguments must be what the C library makes of the same conversions, which "|" separates.
    template <class... Args>
    static void expect_like_printf(const char* conversions, Args... args) {
        char room[20000];
        errno = ENOENT;
        snprintf(room, sizeof room, conversions, args...);
        Strings expected = {std::string(room).substr(0, 4095)};
        std::istringstream in(room);
        for (std::string arg; std::getline(in, arg, '|');) expected.push_back(arg.substr(0, 4095));
        errno = ENOENT;
        EXPECT_EQ(expected, made(conversions, args...));
    }
};

TEST_F(LogComposeTest, TextsAreCutToTheBuffer) {
    char buffer[64] = "T";
    Log()._mk_msg_buffer(buffer, 24, "abc", C5000.c_str(), nullptr, nullptr, nullptr, nullptr);
    EXPECT_STREQ("T abc ccccccc...", buffer) << "only the long one is cut";
    strcpy(buffer, "TU");
    Log()._mk_msg_buffer(buffer, 4, "x", nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_STREQ("TU ", buffer);
    Log()._mk_badID_msg("K-16-1-2 ", buffer, 10, "a", nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_STREQ("Could not", buffer);
    EXPECT_EQ(14, Log::create_umi(buffer, 6, 25, 30001)) << "uncut";
    EXPECT_STREQ("K-16-", buffer);
}

TEST_F(LogComposeTest, EveryConversionOfPrintf) {
    const char unterminated[3] = {'a', 'b', 'c'};
    ASSERT_NE(nullptr, setlocale(LC_CTYPE, "C.UTF-8"));
    expect_like_printf("%lld|%hd|% 05ld|%#.5lo|%*d|%*d|%'d", LLONG_MIN, 70000, 42L, 8UL, 6, 42, -6, 42,
                       1234567);
    expect_like_printf("%012.4E|%.3s|%.*s|%.3ls|%lc|%m", 12345.678, unterminated, -1, "whole", L"a\u00fcb",
                       wint_t{0x20AC});
    expect_like_printf("%5000d|%s", 1, "end");
    expect_like_printf("%.4000Lf|%3000s", 1.0L / 3, "x");
    expect_like_printf("%s|%s", C5000.c_str(), "end");
    setlocale(LC_CTYPE, "C");
}

TEST_F(LogComposeTest, FormatsBeyondOneConversion) {
    int untouched = 7;
    const std::string x2000(2000, 'x');
    EXPECT_THAT(made("5%% of %d%%", 9), ElementsAre("5% of 9%", "9"));
    EXPECT_THAT(made("a%nb%s", &untouched, "c"), ElementsAre("abc", "c"));
    EXPECT_EQ(7, untouched);
    EXPECT_THAT(made("%2$s-%1$s", "a", "b"), ElementsAre("b-a", "a", "b"));
    EXPECT_THAT(made("%1$d %1$x %2$s", 255, "b"), ElementsAre("255 ff b", "255", "b", "ff"));
    EXPECT_THAT(made("%2$*1$d|", 5, 42), ElementsAre("   42|", "   42"));
    EXPECT_THAT(made("%.1s%.1s%s%s%5d", "x", "y", x2000.c_str(), x2000.c_str(), 7), // more than fits in place
                ElementsAre("xy" + x2000 + x2000 + "    7", "x", "y", x2000, x2000, "    7"));
    // No compiler lets these pass, but a format may come from elsewhere.
    for (const char* format : {"100%", "%", "%y and %5", "%33$d", "%.", "%-08*"})
        EXPECT_THAT(made(format, 0, 0), ElementsAre(format));
    EXPECT_THAT(made(nullptr), ElementsAre(""));
    const std::unique_ptr<char[]> text(Log::process_dbg_args("%s=%d", C5000.c_str(), 3));
    EXPECT_EQ(C5000.substr(0, 4095), text.get());
    const std::unique_ptr<MsgStruct> of_catalog(Log::mk_log_msg_msgstruct(25, 30001, "%s up", "db"));
    EXPECT_EQ(25 << 16 | 30001, of_catalog->find(MSGID_MSGCAT_ID)->gets32());
    EXPECT_THAT(texts_of(*of_catalog), ElementsAre("db up", "db"));
}
