#include "LogFixture.h"

#include <cerrno>
#include <climits>
#include <clocale>
#include <cmath>
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

const std::string A3000(3000, 'a'), B3000(3000, 'b'), C5000(5000, 'c');

using LogComposeTest = LogFixture;

TEST_F(LogComposeTest, IdentifierIsCutToTheBuffer) {
    const struct {
        int cat, id, size;
        const char* text;
    } cases[] = {
        {65535, 65535, 255, "K-16-65535-65535 "}, {10000, 7, 255, "K-16-7 "}, {25, 30001, 6, "K-16-"}};
    for (const auto& c : cases) {
        char buffer[255] = "x";
        EXPECT_EQ(c.size == 6 ? 14u : strlen(c.text), Log::create_umi(buffer, c.size, c.cat, c.id))
            << "uncut";
        EXPECT_STREQ(c.text, buffer);
    }
}

TEST_F(LogComposeTest, ArgumentsAreAppendedAndCutToTheSameShare) {
    const std::string a2043 = A3000.substr(0, 2043), b2043 = B3000.substr(0, 2043);
    const struct {
        const char* name;
        std::string before; // in the buffer already
        int size;           // of the buffer
        std::vector<std::string> args;
        std::string after;
    } cases[] = {
        {"null ends", "T", 4096, {"x", "null", "y"}, "T x"},
        {"six, one empty", "", 64, {"1", "", "3", "4", "5", "6"}, " 1  3 4 5 6"},
        {"two too long", "T", 4096, {A3000, B3000}, "T " + a2043 + "... " + b2043 + "..."},
        {"one too long", "", 4096, {C5000}, " " + C5000.substr(0, 4092) + ".."},
        {"only the long one is cut", "T", 24, {"abc", C5000}, "T abc ccccccc..."},
        {"one behind a null takes a share", "T", 24, {"abcdefghijkl", "null", C5000}, "T abcdefg..."},
        {"fits exactly", "T", 4, {"x"}, "T x"},
        {"one byte short", "TU", 4, {"x"}, "TU "},
        {"no share left", "TUV", 6, {"xyz", "u"}, "TUV ."},
        {"buffer full", "TUV", 4, {"x"}, "TUV"},
    };
    Log log;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        char buffer[4097];
        strcpy(buffer, c.before.c_str());
        buffer[c.size] = '!';
        std::vector<const char*> a;
        for (const auto& arg : c.args) a.push_back(arg == "null" ? nullptr : arg.c_str());
        a.resize(6, nullptr);
        log._mk_msg_buffer(buffer, c.size, a[0], a[1], a[2], a[3], a[4], a[5]);
        EXPECT_EQ(c.after, buffer);
        EXPECT_EQ('!', buffer[c.size]);
    }
    char buffer[16];
    log._mk_badID_msg("K-16-1-2 ", buffer, 10, "a", nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_STREQ("Could not", buffer);
}

std::vector<std::string> strings_of(const MsgStruct& msg, int16_t id) {
    std::vector<std::string> strings;
    for (const MsgElem* e = msg.find(id); e != nullptr; e = e->next()) strings.emplace_back(e->getstr());
    return strings;
}

MsgStruct* built(int cat, int id, int err, int dosprintf, MsgStruct* given, const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    MsgStruct* msgp = Log::mk_log_msg_vararg_msgstruct(cat, id, err, dosprintf, fmtp, args, given);
    va_end(args.list);
    return msgp;
}

// Text and arguments of a message beside what the C library makes of the same format.
std::string text_between(const std::string& text, char from, char to) {
    const size_t start = text.find(from) + 1;
    return text.substr(start, text.rfind(to) - start);
}
#define EXPECT_LIKE_PRINTF(conversion, ...)                                                                  \
    do {                                                                                                     \
        SCOPED_TRACE(conversion);                                                                            \
        std::vector<char> expected(20000);                                                                   \
        errno = ENOENT;                                                                                      \
        snprintf(expected.data(), expected.size(), "<" conversion "> %s" __VA_OPT__(, ) __VA_ARGS__, "end"); \
        errno = ENOENT;                                                                                      \
        const std::unique_ptr<MsgStruct> msgp(                                                               \
            Log::process_args("<" conversion "> %s" __VA_OPT__(, ) __VA_ARGS__, "end"));                     \
        const std::string whole = expected.data();                                                           \
        EXPECT_THAT(strings_of(*msgp, 21), ElementsAre(whole.substr(0, 4095)));                              \
        EXPECT_THAT(strings_of(*msgp, 22),                                                                   \
                    ElementsAre(text_between(whole, '<', '>').substr(0, 4095), "end"));                      \
    } while (false)

TEST_F(LogComposeTest, EveryConversionOfPrintf) {
    const char unterminated[3] = {'a', 'b', 'c'};
    const std::string x2000(2000, 'x');
    ASSERT_NE(nullptr, setlocale(LC_CTYPE, "C.UTF-8"));
    EXPECT_LIKE_PRINTF("%zu", SIZE_MAX);
    EXPECT_LIKE_PRINTF("%lld", LLONG_MIN);
    EXPECT_LIKE_PRINTF("%hhd", 300);
    EXPECT_LIKE_PRINTF("%hhu", 300);
    EXPECT_LIKE_PRINTF("%hd", 70000);
    EXPECT_LIKE_PRINTF("%jd", INTMAX_MIN);
    EXPECT_LIKE_PRINTF("%td", static_cast<ptrdiff_t>(-9));
    EXPECT_LIKE_PRINTF("% 05ld", 42L);
    EXPECT_LIKE_PRINTF("%#x", 255U);
    EXPECT_LIKE_PRINTF("%#.5lo", 8UL);
    EXPECT_LIKE_PRINTF("%*d", 6, 42);
    EXPECT_LIKE_PRINTF("%*d", -6, 42);
    EXPECT_LIKE_PRINTF("%5000d", 1);
    EXPECT_LIKE_PRINTF("%-3c", 'c');
    EXPECT_LIKE_PRINTF("%p", static_cast<const void*>(unterminated));
    EXPECT_LIKE_PRINTF("%012.4E", 12345.678);
    EXPECT_LIKE_PRINTF("%a", 0.1);
    EXPECT_LIKE_PRINTF("%F", std::nan(""));
    EXPECT_LIKE_PRINTF("%Lf", 2.5L);
    EXPECT_LIKE_PRINTF("%.4000Lf", 1.0L / 3);
    EXPECT_LIKE_PRINTF("%-10s", "left");
    EXPECT_LIKE_PRINTF("%.3s", unterminated);
    EXPECT_LIKE_PRINTF("%.*s", 2, unterminated);
    EXPECT_LIKE_PRINTF("%.*s", -1, "whole");
    EXPECT_LIKE_PRINTF("%-*.*s", 6, 1, "ab");
    EXPECT_LIKE_PRINTF("%3000s", "x");
    EXPECT_LIKE_PRINTF("%s", C5000.c_str());
    EXPECT_LIKE_PRINTF("%s", static_cast<const char*>(nullptr));
    EXPECT_LIKE_PRINTF("%ls", L"gr\u00fc\u00df");
    EXPECT_LIKE_PRINTF("%.3ls", L"a\u00fcb");
    EXPECT_LIKE_PRINTF("%lc", static_cast<wint_t>(0x20AC));
    EXPECT_LIKE_PRINTF("%m");
    EXPECT_LIKE_PRINTF("%'d", 1234567);
    setlocale(LC_CTYPE, "C");

    int untouched = 7;
    const std::string in_whole = "xy" + x2000 + x2000 + "    7";
    const struct {
        const char* name;
        std::unique_ptr<MsgStruct> msgp;
        const char* text;
        std::vector<std::string> args;
    } cases[] = {
        {"percent sign", std::unique_ptr<MsgStruct>(Log::process_args("5%% of %d%%", 9)), "5% of 9%", {"9"}},
        {"seven",
         std::unique_ptr<MsgStruct>(Log::process_args("%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7)),
         "1234567",
         {"1", "2", "3", "4", "5", "6", "7"}},
        {"nothing is stored",
         std::unique_ptr<MsgStruct>(Log::process_args("a%nb%s", &untouched, "c")),
         "abc",
         {"c"}},
        {"positions",
         std::unique_ptr<MsgStruct>(Log::process_args("%2$s-%1$s", "a", "b")),
         "b-a",
         {"a", "b"}},
        {"one position twice",
         std::unique_ptr<MsgStruct>(Log::process_args("%1$d %1$x %2$s", 255, "b")),
         "255 ff b",
         {"255", "b", "ff"}},
        {"width from a position",
         std::unique_ptr<MsgStruct>(Log::process_args("%2$*1$d|", 5, 42)),
         "   42|",
         {"   42"}},
        {"more than fits in place",
         std::unique_ptr<MsgStruct>(
             Log::process_args("%.1s%.1s%s%s%5d", "x", "y", x2000.c_str(), x2000.c_str(), 7)),
         in_whole.c_str(),
         {"x", "y", x2000, x2000, "    7"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.args, strings_of(*c.msgp, 22));
        EXPECT_THAT(strings_of(*c.msgp, 21), ElementsAre(c.text));
    }
    EXPECT_EQ(7, untouched);
}

// No compiler lets these pass, but a format may come from elsewhere.
TEST_F(LogComposeTest, FormatsThatPrintfDoesNotKnow) {
    for (const char* format : {"100%", "%", "%y and %5", "%33$d", "%.", "%-08*"}) {
        const std::unique_ptr<MsgStruct> msgp(Log::process_args(format, 0, 0));
        EXPECT_THAT(strings_of(*msgp, 21), ElementsAre(format));
        EXPECT_EQ(0u, msgp->getcount(22)) << format;
    }
    const std::unique_ptr<MsgStruct> msgp(Log::process_args(nullptr));
    EXPECT_THAT(strings_of(*msgp, 21), ElementsAre(""));
}

TEST_F(LogComposeTest, CatalogMessageHoldsIdentifierErrorAndArguments) {
    std::unique_ptr<MsgStruct> msgp(built(25, 30001, 13, 1, nullptr, "%s up", "db"));
    EXPECT_THAT(strings_of(*msgp, 21), ElementsAre("db up"));
    EXPECT_THAT(strings_of(*msgp, 22), ElementsAre("db"));
    EXPECT_EQ(25 * 65536 + 30001, msgp->find(23)->gets32());
    EXPECT_EQ(13, msgp->find(9)->gets32());
    EXPECT_EQ(1, msgp->gethdr()->getChannel());

    auto* given = new MsgStruct;
    msgp.reset(built(10000, 7, 0, 0, given, "%s up", "db"));
    EXPECT_EQ(given, msgp.get());
    EXPECT_THAT(strings_of(*msgp, 21), ElementsAre("%s up"));
    EXPECT_EQ(7, msgp->find(23)->gets32());

    msgp.reset(Log::mk_log_msg_msgstruct(1, 2, "%d", 3));
    EXPECT_THAT(strings_of(*msgp, 21), ElementsAre("3"));
    EXPECT_EQ(-1, msgp->find(9)->gets32());

    std::unique_ptr<char[]> text(Log::process_dbg_args("%s=%d", C5000.c_str(), 3));
    EXPECT_EQ(C5000.substr(0, 4095), text.get());
}

} // namespace
