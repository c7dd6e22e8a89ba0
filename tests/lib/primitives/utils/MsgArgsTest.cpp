#include <cfloat>
#include <climits>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "primitives/message/MsgStruct.h"
#include "primitives/utils/QENUtils.h"
#include "primitives/utils/msg_log_add.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> args_of(const MsgStruct& msg) {
    std::vector<std::string> texts;
    for (const MsgElem* elem = msg.find(MSGID_ARGS); elem != nullptr; elem = elem->next()) {
        texts.emplace_back(elem->getstr());
        EXPECT_EQ(static_cast<size_t>(elem->getnwsize()), texts.back().size() + 1);
    }
    return texts;
}

std::vector<std::string> encode(const char* format, ...) {
    QENVaList args;
    va_start(args.list, format);
    std::unique_ptr<MsgStruct> msg(QENUtils::msgargs_to_msgstruct(format, args, nullptr));
    const std::vector<std::string> once = args_of(*msg);
    QENUtils::msgargs_to_msgstruct(format, args, msg.get());
    EXPECT_EQ(2 * once.size(), msg->getcount(MSGID_ARGS)) << "the list can be walked again";
    va_end(args.list);
    return once;
}

// The C library's own idea of one conversion, cut at 4095 bytes.
std::string printed(const char* format, ...) {
    std::vector<char> text(4096);
    va_list args;
    va_start(args, format);
    std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    return text.data();
}

TEST(MsgArgs, EachConversionBecomesAString) {
    EXPECT_THAT(encode("%-8s|%5.2f|%-3c", "ab", 3.14159, 'x'), ElementsAre("ab      ", " 3.14", "x  "));
    EXPECT_THAT(
        encode("%d%i%u%ld%lu", INT_MIN, 0, UINT_MAX, LONG_MIN, ULONG_MAX),
        ElementsAre("-2147483648", "0", "4294967295", "-9223372036854775808", "18446744073709551615"));
    EXPECT_THAT(encode("%c%x%X%o%lx", 'q', 255u, 255u, 8u, ULONG_MAX),
                ElementsAre("q", "ff", "FF", "10", "ffffffffffffffff"));
    EXPECT_THAT(encode("%hd %hu %hx", 65536 + 7, 65536 + 8, 0x12345), ElementsAre("7", "8", "2345"));
    EXPECT_THAT(encode("%e %E %g %G %Lf", 1.5, 1.5, 1e9, 1e-9, 2.5L),
                ElementsAre("1.500000e+00", "1.500000E+00", "1e+09", "1E-09", "2.500000"));
    EXPECT_THAT(encode("%3Ld|%s", -5, "next"), ElementsAre(" -5", "next")) << "L takes an int";
    EXPECT_THAT(encode("%s|%3s|%s", nullptr, "", ""), ElementsAre("(null)", "   ", ""));
    EXPECT_THAT(encode("%ls %lc", L"wide", wint_t{L'c'}), ElementsAre("wide", "c"));
    EXPECT_THAT(encode("%c%d", 0, 3), ElementsAre("", "3"));
}

TEST(MsgArgs, UnknownConversionsTakeNothing) {
    for (const char* f : {"100%% done", static_cast<const char*>(nullptr), "%", "%-08.3l"})
        EXPECT_THAT(encode(f), IsEmpty());
    EXPECT_THAT(encode("%lld %d", 4), ElementsAre("4")) << "the second l is the conversion";
    EXPECT_THAT(encode("%p %n %*d %s", "first"), ElementsAre("first"));
    EXPECT_THAT(encode("%% %d%%", 1), ElementsAre("1"));
}

TEST(MsgArgs, FlagsWidthAndPrecisionAreThePrintersOwn) {
    for (const char* f : {"%5d", "%-5d", "%05d", "% d", "%+ 05d", "%8.3d", "%.0d", "%0-+ #9d"})
        EXPECT_THAT(encode(f, 42), ElementsAre(printed(f, 42))) << f;
    for (const char* f : {"%#o", "%#010X", "%.10u"})
        EXPECT_THAT(encode(f, 4242u), ElementsAre(printed(f, 4242u))) << f;
    for (const char* f : {"%10s", "%-10.2s", "%.0s", "%.s", "%2s", "%.99s"})
        EXPECT_THAT(encode(f, "abcd"), ElementsAre(printed(f, "abcd"))) << f;
    for (const char* f : {"%f", "%.0f", "%#.0f", "%+12.4e", "%-12g", "%012.3f", "%G"})
        EXPECT_THAT(encode(f, -1234.5678), ElementsAre(printed(f, -1234.5678))) << f;
}

TEST(MsgArgs, LongTextsAreCut) {
    const std::string text(5000, 'x');
    for (const size_t len : {4094u, 4095u, 4096u, 5000u}) {
        const std::string arg = text.substr(0, len);
        const std::string cut = text.substr(0, std::min<size_t>(len, 4095));
        EXPECT_THAT(encode("%s%d", arg.c_str(), 1), ElementsAre(cut, "1")) << len;
        EXPECT_THAT(encode("%-s", arg.c_str()), ElementsAre(cut)) << len;
    }
    // Widths and precisions around and far beyond the buffer, numbers no int can hold among them.
    for (const char* f : {"%4095s", "%-4096s", "%5100s", "%-5100s", "%9000s", "%4097.9s", "%5100.4900s"})
        EXPECT_THAT(encode(f, text.c_str()), ElementsAre(printed(f, text.c_str()))) << f;
    for (const char* f : {"%4096d", "%-4096d", "%04096d", "%.4096d", "%9000.4096d", "%8300.8200d"})
        EXPECT_THAT(encode(f, -7), ElementsAre(printed(f, -7))) << f;
    for (const char* f : {"%.5000f", "%f", "%5000.2f"})
        EXPECT_THAT(encode(f, -DBL_MAX), ElementsAre(printed(f, -DBL_MAX))) << f;
    EXPECT_THAT(encode("%99999999999d", 1), ElementsAre(std::string(4095, ' ')));
    EXPECT_THAT(encode("%.99999999999d", -1), ElementsAre(std::string(1, '-').append(4094, '0')));
    EXPECT_THAT(encode(std::string(1, '%').append(6000, '0').append("5d").c_str(), 1), ElementsAre("00001"));
    EXPECT_THAT(encode("%.99999999999Lf", LDBL_MAX), ElementsAre(printed("%.0Lf", LDBL_MAX).substr(0, 4095)));
}

std::string text_of(const MsgStruct& msg, int16_t id) {
    const MsgElem* elem = msg.find(id);
    if (elem == nullptr) return "absent";
    return elem->gettype() == 'C' ? std::to_string(elem->gets32())
                                  : std::string(1, '\'').append(elem->getstr()).append(1, '\'');
}

TEST(MsgLogAdd, StoresWhatTheFlagsAskFor) {
    const struct {
        int logflags, cat;
        const char *sev, *text, *identity;
        size_t args;
        int32_t flag;
    } cases[] = {
        {0, 5, "1", "'%s is %d'", "327687", 0, 0x1000},
        {2, 10000, "'ERROR'", "'%s is %d'", "'7'", 0, 0},
        {1, 10000, "1", "'disk is 9'", "7", 2, 0},
        {3, 65535, "'ERROR'", "'disk is 9'", "-65529", 2, 0x1000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.logflags << " " << c.cat);
        std::unique_ptr<MsgStruct> msg(
            mk_msg_log_add(nullptr, c.logflags, 1, 4, 1234, c.cat, 7, "%s is %d", "disk", 9));
        EXPECT_EQ(c.sev, text_of(*msg, 40));
        EXPECT_EQ(c.text, text_of(*msg, 21));
        EXPECT_EQ("4", text_of(*msg, 42));
        EXPECT_EQ("1234", text_of(*msg, 27));
        EXPECT_EQ(c.identity, text_of(*msg, 23));
        EXPECT_EQ(c.args, msg->getcount(22));
        EXPECT_EQ(c.flag, msg->gethdr()->getFlags());
        EXPECT_EQ(2056, msg->gethdr()->getMessage());
    }
}

TEST(MsgLogAdd, KeepsWhatTheMessageHas) {
    MsgStruct msg;
    msg.add_elem(21, "mine", 0);
    EXPECT_EQ(&msg, mk_msg_log_add(&msg, 1, 99, 0, 0, 1, 2, "%s", std::string(5000, 'y').c_str()));
    EXPECT_EQ("'mine'", text_of(msg, 21));
    EXPECT_EQ(4096, msg.find(22)->getnwsize());
    MsgStruct no_text;
    QENVaList none{};
    mk_vararg_msg_log_add(&no_text, 3, 99, 0, 0, 1, 2, nullptr, none);
    EXPECT_EQ("absent", text_of(no_text, 21));
    EXPECT_EQ("''", text_of(no_text, 40)) << "no severity of that number";
}

} // namespace
