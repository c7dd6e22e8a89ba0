// What a format and its arguments become: the text of a message, its arguments, and the shares of long ones.
#include <cerrno>
#include <climits>
#include <clocale>

#include "LogFixture.h"

namespace {

using testing::ElementsAre;

const std::string C5000(5000, 'c');

class LogComposeTest : public LogFixture {
protected:
    // The text of a message and its arguments.
    static Strings texts_of(MsgStruct* given) {
        const std::unique_ptr<MsgStruct> msgp(given);
        Strings all = strings_of(*msgp, 21);
        std::ranges::copy(strings_of(*msgp, 22), std::back_inserter(all));
        return all;
    }
    template <class... Args>
    static Strings made(const char* format, Args... args) {
        return texts_of(Log::process_args(format, args...));
    }
    // Text and arguments must be what the C library makes of the same format.
    template <class... Args>
    static void expect_like_printf(const char* conversion, Args... args) {
        SCOPED_TRACE(conversion);
        const std::string format = "<" + std::string(conversion) + "> %s";
        char room[20000];
        errno = ENOENT;
        snprintf(room, sizeof room, format.c_str(), args..., "end");
        const std::string text(room, strnlen(room, 4095)), arg = std::string(room + 1, strrchr(room, '>'));
        errno = ENOENT;
        EXPECT_THAT(made(format.c_str(), args..., "end"), ElementsAre(text, arg.substr(0, 4095), "end"));
    }
};

TEST_F(LogComposeTest, TextsAreCutToTheBuffer) {
    char buffer[64];
    const auto appended = [&](const char* before, int size, const char* first, const char* second) {
        Log()._mk_msg_buffer(strcpy(buffer, before), size, first, second, nullptr, nullptr, nullptr, nullptr);
        return std::string(buffer);
    };
    EXPECT_EQ("T x ", appended("T", 64, "x", ""));
    EXPECT_EQ("T abc ccccccc...", appended("T", 24, "abc", C5000.c_str())) << "only the long one is cut";
    EXPECT_EQ("TU ", appended("TU", 4, "x", nullptr));
    Log()._mk_badID_msg("K-16-1-2 ", buffer, 10, "a", nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_STREQ("Could not", buffer);
    EXPECT_EQ(14, Log::create_umi(buffer, 6, 25, 30001)) << "uncut";
    EXPECT_STREQ("K-16-", buffer);
}

TEST_F(LogComposeTest, EveryConversionOfPrintf) {
    const char unterminated[3] = {'a', 'b', 'c'};
    ASSERT_NE(nullptr, setlocale(LC_CTYPE, "C.UTF-8"));
    expect_like_printf("%lld", LLONG_MIN);
    expect_like_printf("%hd", 70000);
    expect_like_printf("% 05ld", 42L);
    expect_like_printf("%#.5lo", 8UL);
    expect_like_printf("%*d", 6, 42);
    expect_like_printf("%*d", -6, 42);
    expect_like_printf("%5000d", 1);
    expect_like_printf("%012.4E", 12345.678);
    expect_like_printf("%.4000Lf", 1.0L / 3);
    expect_like_printf("%.3s", unterminated);
    expect_like_printf("%.*s", -1, "whole");
    expect_like_printf("%3000s", "x");
    expect_like_printf("%s", C5000.c_str());
    expect_like_printf("%.3ls", L"a\u00fcb");
    expect_like_printf("%lc", static_cast<wint_t>(0x20AC));
    expect_like_printf("%m");
    expect_like_printf("%'d", 1234567);
    setlocale(LC_CTYPE, "C");
}

TEST_F(LogComposeTest, FormatsBeyondOneConversion) {
    int untouched = 7;
    const std::string x2000(2000, 'x');
    EXPECT_THAT(made("5%% of %d%%", 9), ElementsAre("5% of 9%", "9"));
    EXPECT_THAT(made("%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7),
                ElementsAre("1234567", "1", "2", "3", "4", "5", "6", "7"));
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
}

TEST_F(LogComposeTest, CatalogMessageHoldsIdentifierAndArguments) {
    MsgStruct* const msgp = Log::mk_log_msg_msgstruct(25, 30001, "%s up", "db");
    EXPECT_EQ(25 * 65536 + 30001, msgp->find(23)->gets32());
    EXPECT_THAT(texts_of(msgp), ElementsAre("db up", "db"));
}

} // namespace
