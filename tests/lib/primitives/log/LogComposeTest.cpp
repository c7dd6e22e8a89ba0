#include "LogFixture.h"

#include <gmock/gmock.h>

namespace {

std::string repeat(char c, size_t n) {
    return std::string(n, c);
}

using LogComposeTest = LogFixture;

TEST_F(LogComposeTest, IdentifierNamesOriginatorCatalogAndNumber) {
    struct {
        int cat, id, size;
        const char* text;
        int length;
    } cases[] = {{25, 30001, 255, "K-16-25-30001 ", 14},
                 {10000, 7, 255, "K-16-7 ", 7},
                 {0, 7, 255, "K-16-0-7 ", 9},
                 {65535, 65535, 255, "K-16-65535-65535 ", 17},
                 {25, 30001, 6, "K-16-", 14},
                 {25, 30001, 1, "", 14}};
    for (const auto& c : cases) {
        char buffer[255] = "x";
        EXPECT_EQ(c.length, Log::create_umi(buffer, c.size, c.cat, c.id)) << c.text;
        EXPECT_STREQ(c.text, buffer);
    }
    Log::init("QEN", "ORIGIN", nullptr);
    char buffer[255];
    Log::create_umi(buffer, sizeof buffer, 1, 2);
    EXPECT_STREQ("ORIGIN-1-2 ", buffer);
}

TEST_F(LogComposeTest, SeverityScales) {
    EXPECT_EQ(4, Log::logical_sev(SEV_INFO));
    EXPECT_EQ(5, Log::logical_sev(DBG_1));
    EXPECT_EQ(57, Log::logical_sev(DBG_RES2));
    struct {
        char tag;
        int sev;
    } tags[] = {{'A', 0}, {'C', 2}, {'Z', 25}, {'a', 4},   {'#', 4},
                {'@', 4}, {'[', 4}, {'\0', 4}, {'\xC3', 4}};
    for (const auto& t : tags) EXPECT_EQ(t.sev, Log::log_tag_to_sev(t.tag)) << static_cast<int>(t.tag);
}

TEST_F(LogComposeTest, ArgumentsAreAppendedAndCutToTheSameShare) {
    const std::string a3000 = repeat('a', 3000), b3000 = repeat('b', 3000), c5000 = repeat('c', 5000);
    struct {
        const char* name;
        std::string before;
        int size;
        std::vector<const char*> args;
        std::string after;
    } cases[] = {
        {"all fit", "T", 4096, {"x", "y"}, "T x y"},
        {"null ends", "T", 4096, {"x", nullptr, "y"}, "T x"},
        {"empty argument", "T", 4096, {"", "y"}, "T  y"},
        {"none", "T", 4096, {}, "T"},
        {"two too long",
         "T",
         4096,
         {a3000.c_str(), b3000.c_str()},
         "T " + repeat('a', 2043) + "... " + repeat('b', 2043) + "..."},
        {"one too long", "", 4096, {c5000.c_str()}, " " + repeat('c', 4092) + ".."},
        {"only the long one is cut", "T", 24, {"abc", c5000.c_str()}, "T abc " + repeat('c', 7) + "..."},
        {"those behind a null one take a share",
         "T",
         24,
         {"abcdefghijkl", nullptr, c5000.c_str()},
         "T abcdefg..."},
        {"fits exactly", "T", 4, {"x"}, "T x"},
        {"one byte short", "TU", 4, {"x"}, "TU "},
        {"no share left", "TUV", 6, {"xyz", "u"}, "TUV ."},
        {"buffer full", "TUV", 4, {"x"}, "TUV"},
        {"six", "", 64, {"1", "2", "3", "4", "5", "6"}, " 1 2 3 4 5 6"},
    };
    Log log;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<char> buffer(4097, '!');
        snprintf(buffer.data(), 4096, "%s", c.before.c_str());
        auto args = c.args;
        args.resize(6, nullptr);
        log._mk_msg_buffer(buffer.data(), c.size, args[0], args[1], args[2], args[3], args[4], args[5]);
        EXPECT_EQ(c.after, buffer.data());
        EXPECT_EQ('!', buffer[4096]);
    }
    EXPECT_DEATH(log._mk_msg_buffer(nullptr, 9, "x", nullptr, nullptr, nullptr, nullptr, nullptr),
                 "ASSERTION FAILED: .*expression \\(bufferp != NULL\\)");
}

TEST_F(LogComposeTest, UnknownMessageShowsIdentifierAndLabelledArguments) {
    const std::string head = "Could not find message K-16-25-30001 : "; // 39 bytes
    const std::string a3000 = repeat('a', 3000), b3000 = repeat('b', 3000);
    struct {
        const char* name;
        int size;
        std::vector<const char*> args;
        std::string text;
    } cases[] = {
        {"no arguments", 4096, {}, head},
        {"two", 4096, {"a", "b"}, head + "arg1 = a, arg2 = b"},
        {"null ends", 4096, {"a", nullptr, "b"}, head + "arg1 = a"},
        {"six",
         4096,
         {"1", "2", "3", "4", "5", "6"},
         head + "arg1 = 1, arg2 = 2, arg3 = 3, arg4 = 4, arg5 = 5, arg6 = 6"},
        {"too long",
         4096,
         {a3000.c_str(), b3000.c_str()}, // (4096 - (24 + 39)) / 2
         head + "arg1 = " + repeat('a', 2016) + "..., arg2 = " + repeat('b', 2016) + "..."},
        {"head cut", 10, {"a"}, "Could not"},
    };
    Log log;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        char buffer[4096];
        auto args = c.args;
        args.resize(6, nullptr);
        log._mk_badID_msg("K-16-25-30001 ", buffer, c.size, args[0], args[1], args[2], args[3], args[4],
                          args[5]);
        EXPECT_EQ(c.text, buffer);
    }
    EXPECT_DEATH(log._mk_badID_msg("x", nullptr, 9, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
                 "ASSERTION FAILED: .*expression \\(bufferp != NULL\\)");
}

std::vector<std::string> strings_of(const MsgStruct& msg, int16_t id) {
    std::vector<std::string> strings;
    for (const MsgElem* e = msg.find(id); e != nullptr; e = e->next()) strings.emplace_back(e->getstr());
    return strings;
}

TEST_F(LogComposeTest, MessageHoldsTextAndArguments) {
    using testing::ElementsAre;
    std::unique_ptr<MsgStruct> msgp(Log::process_args("%s failed with %d: 100%%", "disk", 5));
    EXPECT_THAT(strings_of(*msgp, 21), ElementsAre("disk failed with 5: 100%"));
    EXPECT_THAT(strings_of(*msgp, 22), ElementsAre("disk", "5"));
    EXPECT_EQ(nullptr, msgp->find(23));

    msgp.reset(Log::process_args("%s", repeat('x', 5000).c_str()));
    EXPECT_THAT(strings_of(*msgp, 21), ElementsAre(repeat('x', 4095)));

    std::unique_ptr<char[]> text(Log::process_dbg_args("%s=%d", repeat('y', 5000).c_str(), 3));
    EXPECT_EQ(repeat('y', 4095), text.get());
    text.reset(Log::process_dbg_args("%s=%d", "n", 3));
    EXPECT_STREQ("n=3", text.get());
}

MsgStruct* built(int cat, int id, int err, int dosprintf, MsgStruct* given, const char* fmtp, ...) {
    QENVaList args;
    va_start(args.list, fmtp);
    MsgStruct* msgp = Log::mk_log_msg_vararg_msgstruct(cat, id, err, dosprintf, fmtp, args, given);
    va_end(args.list);
    return msgp;
}

TEST_F(LogComposeTest, CatalogMessageHoldsIdentifierErrorAndArguments) {
    using testing::ElementsAre;
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
}

} // namespace
