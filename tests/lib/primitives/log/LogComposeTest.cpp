#include "LogFixture.h"

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
