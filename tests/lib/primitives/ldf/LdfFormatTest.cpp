#include "LdfFixture.h"
#include "primitives/ldf/QENObjTags.h"

using namespace std::string_literals;

namespace {

// The format spelled out byte by byte: an empty header and one record.
const std::string GOLDEN =
    "\x00\x00\x59\x74"s                                                // signature
    "\x00\x00\x00\x03\x00\x00\x00\x00"                                 // version 3.0
    "node1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"    // system
    "\x00\x00\x00\x06"                                                 // LINUX
    "\x6a\xfb\x4d\x92\x6a\xfb\x4d\x9b"                                 // created, modified
    "\x00\x00\x00\x01"                                                 // records
    "\x00\x00\x00\x00\x00\x00\x00\x01\x00\x00\x00\x00"                 // critical error warning
    "\x00\x00\x00\x00\x00\x00\x00\x00"                                 // notice info
    "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x01"                 // res agt grp
    "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00" // sys clu hmx qen
    "\x00\x00\x00\x05\x00\x00\x00\xa2"                                 // flags, offset_end 162
    "\x00\x00\x00\x16\x01\x01\x6a\xfb\x4d\x93"                         // 22 text bytes, 1, ERROR
    "\x00\x19\x75\x31\x03\x00\x00\x00\x2a\xff\xff\xff\xff"             // 25-30001, GRP, line, seq
    "Log\xFFopen\xFFres1\xFFONLINE\xFF\0"s;

std::vector<std::string> naive_split(const std::string& text) {
    std::vector<std::string> pieces;
    std::string piece;
    for (char c : text + '\0') {
        if (c != '\xFF' && c != '\0') {
            piece += c;
            continue;
        }
        if (!piece.empty()) pieces.push_back(piece);
        piece.clear();
        if (c == '\0') break;
    }
    return pieces;
}

// `behind` lies behind the text and must not matter.
std::vector<std::string> view_pieces(const std::string& text, char behind) {
    const std::string padded = text + behind + 'y' + std::string(LDF_SPLIT_SLACK, '\xFF');
    LdfRecordView view;
    ldf_split_text(padded.data(), text.size(), view);
    std::vector<std::string> pieces;
    if (view.filename().data()) pieces.emplace_back(view.filename());
    if (view.function().data()) pieces.emplace_back(view.function());
    view.for_each_arg([&](std::string_view arg) { pieces.emplace_back(arg); });
    EXPECT_LE(view.argc(), LDF_MAX_ARGS);
    return pieces;
}

} // namespace

// What the other tests hold reader and writer against.
TEST(LdfFormat, BuilderAgreesWithTheBytes) {
    EXPECT_EQ(GOLDEN, LdfBuilder().flags(5).record({.sev = 1, .obj = 3, .args = {"res1", "ONLINE"}}).bytes());
}

TEST(LdfFormat, SplitsLikeTheNaiveWay) {
    uint32_t random = 12345;
    auto next = [&] { return (random = random * 1664525u + 1013904223u) >> 16; };
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        const uint32_t len = next() % 80, density = 2 + next() % 30;
        for (uint32_t i = 0; i < len; ++i) {
            const uint32_t pick = next() % density;
            text += pick == 0                      ? '\xFF'
                    : pick == 1 && next() % 8 == 0 ? '\0'
                                                   : static_cast<char>(1 + next() % 254);
        }
        const char behind = "x\xFF\0"[round % 3];
        ASSERT_EQ(naive_split(text), view_pieces(text, behind)) << testing::PrintToString(text);
    }
}

TEST(QENObjTags, NamesAndFlags) {
    const char* names[] = {"QEN", "HMX", "CLU", "GRP", "SYS", "AGT", "RES", "XLK"};
    for (int i = 0; i < 8; ++i) {
        EXPECT_STREQ(names[i], QENGetObjTagStr(static_cast<obj_tag_t>(i)));
        EXPECT_EQ(i, QENGetObjTag(names[i]));
    }
    EXPECT_EQ(nullptr, QENGetObjTagStr(OBJTAG_ERR));
    EXPECT_EQ(nullptr, QENGetObjTagStr(static_cast<obj_tag_t>(-1)));
    EXPECT_EQ(OBJTAG_RES, QENGetObjTag("reS"));
    for (const char* name : {"", "RE", "RESX", static_cast<const char*>(nullptr)})
        EXPECT_EQ(OBJTAG_ERR, QENGetObjTag(name));

    const struct {
        int flags, tag;
    } cases[] = {{0x080000, OBJTAG_SYS}, {0x780000, OBJTAG_RES}, {0x580000, OBJTAG_GRP},
                 {0x480000, OBJTAG_SYS}, {0x400000, OBJTAG_AGT}, {~0x780000, OBJTAG_QEN}};
    for (const auto& c : cases) EXPECT_EQ(c.tag, QENLogFlagToObjTag(c.flags)) << std::hex << c.flags;
}
