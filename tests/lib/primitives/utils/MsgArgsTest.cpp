// Arguments of printf as message elements, and the log message built from them.
#include <cfloat>

#include "primitives/message/MsgStruct.h"
#include "primitives/utils/QENUtils.h"
#include "primitives/utils/msg_log_add.h"
#include "support/Prelude.h"

using testing::ElementsAre;

static std::vector<std::string> encode(const char* format, ...) {
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
static std::string printed(const char* format, ...) {
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
        const auto both = [&](const char* conversion, auto value) {
            f += conversion;
            EXPECT_THAT(encode(f.c_str(), value), ElementsAre(printed(f.c_str(), value))) << f;
        };
        const int number = one_of(0, 1, -7, 42, 65543, INT_MIN, INT_MAX);
        switch (random() % 5) {
        case 0: both(one_of("d", "i", "o", "u", "x", "X", "hd", "hi", "hu", "hx"), number); break;
        case 1: both(one_of("ld", "li", "lo", "lu", "lx", "lX"), one_of(0L, LONG_MIN, LONG_MAX, -1L)); break;
        case 2: both("c", 'q'); break;
        case 3: both(one_of("e", "E", "f", "g", "G"), one_of(0.0, -1234.5678, 1e-9, DBL_MAX)); break;
        case 4: both("s", std::string(one_of(0u, 1u, 4u, 4094u, 4095u, 4096u, 5000u), 'x').c_str()); break;
        }
    }
}

TEST(MsgArgs, SpecialCases) {
    EXPECT_THAT(encode("%3Ld|%s|%Lf", -5, "next", 2.5L), ElementsAre(" -5", "next", "2.500000")) << "an int";
    EXPECT_THAT(encode("%s|%3s|%c%d", nullptr, "", 0, 3), ElementsAre("(null)", "   ", "", "3"));
    EXPECT_THAT(encode("%ls %lc", L"wide", wint_t{L'c'}), ElementsAre("wide", "c"));
    for (const char* f : {"100%% done", static_cast<const char*>(nullptr), "%", "%-08.3l"})
        EXPECT_THAT(encode(f), ElementsAre());
    EXPECT_THAT(encode("%lld %d", 4), ElementsAre("4")) << "the second l is the conversion";
    EXPECT_THAT(encode("%p %n %*d %s%%", "first"), ElementsAre("first"));
    EXPECT_THAT(encode("%99999999999d", 1), ElementsAre(std::string(4095, ' ')));
    EXPECT_THAT(encode("%.99999999999Lf", LDBL_MAX), ElementsAre(printed("%.0Lf", LDBL_MAX).substr(0, 4095)));
}

static std::string text_of(const MsgStruct& msg, int id) {
    const MsgElem* elem = msg.find(static_cast<int16_t>(id));
    if (elem == nullptr) return "absent ";
    return elem->gettype() == 'C' ? std::to_string(elem->gets32()) + " "
                                  : "'" + std::string(elem->getstr()) + "' ";
}

TEST(MsgLogAdd, StoresWhatTheFlagsAskForAndKeepsWhatIsThere) {
    const std::tuple<int, int, const char*, size_t, int32_t> cases[] = {
        // flags, category; the elements 40, 21, 42, 27, 23; the count of arguments, and the header's flag
        {0, 5, "1 '%s is %d' 4 1234 327687 ", 0, 0x1000},
        {2, 10000, "'ERROR' '%s is %d' 4 1234 '7' ", 0, 0},
        {1, 10000, "1 'disk is 9' 4 1234 7 ", 2, 0},
        {3, 65535, "'ERROR' 'disk is 9' 4 1234 -65529 ", 2, 0x1000}};
    for (const auto& [logflags, cat, texts, args, flag] : cases) {
        std::unique_ptr<MsgStruct> msg(
            mk_msg_log_add(nullptr, logflags, 1, 4, 1234, cat, 7, "%s is %d", "disk", 9));
        std::string found;
        for (const int id : {40, 21, 42, 27, 23}) found += text_of(*msg, id);
        EXPECT_EQ(texts, found);
        EXPECT_EQ(args, msg->getcount(22));
        EXPECT_TRUE(flag == msg->gethdr()->getFlags() && 2056 == msg->gethdr()->getMessage());
    }
    MsgStruct msg;
    msg.add_elem(21, "mine", 0);
    EXPECT_EQ(&msg, mk_msg_log_add(&msg, 3, 99, 0, 0, 1, 2, "%s", std::string(5000, 'y').c_str()));
    EXPECT_EQ("'mine' '' ", text_of(msg, 21) + text_of(msg, 40)) << "no severity of that number";
    EXPECT_EQ(4096, msg.find(22)->getnwsize());
}
