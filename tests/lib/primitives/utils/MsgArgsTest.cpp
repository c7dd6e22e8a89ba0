// Arguments of printf as message elements, and the log message built from them.
#include <cfloat>
#include <climits>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "primitives/message/MsgStruct.h"
#include "primitives/utils/QENUtils.h"
#include "primitives/utils/msg_log_add.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> encode(const char* format, ...) {
    QENVaList args;
    va_start(args.list, format);
    std::unique_ptr<MsgStruct> msg(QENUtils::msgargs_to_msgstruct(format, args, nullptr));
    std::vector<std::string> texts;
    for (const MsgElem* elem = msg->find(MSGID_ARGS); elem != nullptr; elem = elem->next()) {
        texts.emplace_back(elem->getstr());
        EXPECT_EQ(static_cast<size_t>(elem->getnwsize()), texts.back().size() + 1);
    }
    QENUtils::msgargs_to_msgstruct(format, args, msg.get());
    EXPECT_EQ(2 * texts.size(), msg->getcount(MSGID_ARGS)) << "the list can be walked again";
    va_end(args.list);
    return texts;
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

TEST(MsgArgs, EachConversionPrintsAsTheCLibraryDoes) {
    std::mt19937 random(1);
    const auto one_of = [&](auto... values) {
        const std::common_type_t<decltype(values)...> all[] = {values...};
        return all[random() % sizeof...(values)];
    };
    for (int step = 0; step < 8000; ++step) {
        std::string f = "%";
        for (const char flag : {' ', '#', '+', '-', '0'})
            if (random() % 4 == 0) f += flag;
        f += one_of("", "", "", "1", "5", "12", "4095", "4096", "9000");
        f += one_of("", "", "", ".", ".0", ".3", ".12", ".4095", ".8200");
        const char conversion =
            one_of('d', 'i', 'o', 'u', 'x', 'X', 'c', 's', 's', 's', 'e', 'E', 'f', 'g', 'G');
        const bool is_integer = std::string("diouxX").find(conversion) != std::string::npos;
        const int number = one_of(0, 1, -7, 42, 65543, INT_MIN, INT_MAX);
        const double real = one_of(0.0, -1234.5678, 1e-9, DBL_MAX);
        const std::string text(one_of(0u, 1u, 4u, 4094u, 4095u, 4096u, 5000u), 'x');
        if (is_integer) f += one_of("", "h", "l");
        f += conversion;
        const auto both = [&](auto value) {
            EXPECT_THAT(encode(f.c_str(), value), ElementsAre(printed(f.c_str(), value))) << f;
        };
        if (conversion == 's')
            both(text.c_str());
        else if (conversion == 'c')
            both('q');
        else if (!is_integer)
            both(real);
        else if (f[f.size() - 2] == 'l')
            both(one_of(0L, LONG_MIN, LONG_MAX, -1L));
        else
            both(number);
    }
}

TEST(MsgArgs, SpecialCases) {
    EXPECT_THAT(encode("%3Ld|%s|%Lf", -5, "next", 2.5L), ElementsAre(" -5", "next", "2.500000")) << "an int";
    EXPECT_THAT(encode("%s|%3s|%c%d", nullptr, "", 0, 3), ElementsAre("(null)", "   ", "", "3"));
    EXPECT_THAT(encode("%ls %lc", L"wide", wint_t{L'c'}), ElementsAre("wide", "c"));
    for (const char* f : {"100%% done", static_cast<const char*>(nullptr), "%", "%-08.3l"})
        EXPECT_THAT(encode(f), IsEmpty());
    EXPECT_THAT(encode("%lld %d", 4), ElementsAre("4")) << "the second l is the conversion";
    EXPECT_THAT(encode("%p %n %*d %s%%", "first"), ElementsAre("first"));
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

TEST(MsgLogAdd, StoresWhatTheFlagsAskForAndKeepsWhatIsThere) {
    const struct {
        int logflags, cat;
        const char* texts; // of the elements 40, 21, 42, 27, 23
        size_t args;
        int32_t flag;
    } cases[] = {{0, 5, "1 '%s is %d' 4 1234 327687", 0, 0x1000},
                 {2, 10000, "'ERROR' '%s is %d' 4 1234 '7'", 0, 0},
                 {1, 10000, "1 'disk is 9' 4 1234 7", 2, 0},
                 {3, 65535, "'ERROR' 'disk is 9' 4 1234 -65529", 2, 0x1000}};
    for (const auto& c : cases) {
        std::unique_ptr<MsgStruct> msg(
            mk_msg_log_add(nullptr, c.logflags, 1, 4, 1234, c.cat, 7, "%s is %d", "disk", 9));
        std::string texts = text_of(*msg, 40);
        for (const int id : {21, 42, 27, 23}) texts += " " + text_of(*msg, static_cast<int16_t>(id));
        EXPECT_EQ(c.texts, texts);
        EXPECT_EQ(c.args, msg->getcount(22));
        EXPECT_EQ(c.flag, msg->gethdr()->getFlags());
        EXPECT_EQ(2056, msg->gethdr()->getMessage());
    }
    MsgStruct msg, no_text;
    msg.add_elem(21, "mine", 0);
    EXPECT_EQ(&msg, mk_msg_log_add(&msg, 1, 99, 0, 0, 1, 2, "%s", std::string(5000, 'y').c_str()));
    EXPECT_EQ("'mine'", text_of(msg, 21));
    EXPECT_EQ(4096, msg.find(22)->getnwsize());
    QENVaList none{};
    mk_vararg_msg_log_add(&no_text, 3, 99, 0, 0, 1, 2, nullptr, none);
    EXPECT_EQ("absent ''", text_of(no_text, 21) + " " + text_of(no_text, 40)) << "no severity of that number";
}

} // namespace
