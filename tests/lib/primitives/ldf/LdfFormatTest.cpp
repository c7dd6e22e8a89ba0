#include <cstring>

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

std::string_view view(const char* s) {
    return s != nullptr ? std::string_view(s) : std::string_view();
}

LdfBuilder golden_builder() {
    return LdfBuilder().flags(5).record({.sev = 1, .obj = 3, .args = {"res1", "ONLINE"}});
}

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

std::vector<std::string> view_pieces(const std::string& text) {
    std::string padded =
        text + "x" + std::string(LDF_SPLIT_SLACK, '\xFF'); // what lies behind must not matter
    LdfRecordView view;
    ldf_split_text(padded.data(), text.size(), view);
    std::vector<std::string> pieces;
    if (view.filename.data()) pieces.emplace_back(view.filename);
    if (view.function.data()) pieces.emplace_back(view.function);
    view.for_each_arg([&](std::string_view arg) { pieces.emplace_back(arg); });
    EXPECT_LE(view.argc, LDF_MAX_ARGS);
    return pieces;
}

} // namespace

TEST(LdfFormat, BuilderAndCodecAgreeWithTheBytes) {
    const std::string built = golden_builder().bytes();
    ASSERT_EQ(GOLDEN, built);

    ldf_header_t h;
    const auto* bytes = reinterpret_cast<const unsigned char*>(GOLDEN.data());
    ASSERT_EQ(LDF_OK, ldf_decode_header(bytes, static_cast<int64_t>(GOLDEN.size()), h));
    EXPECT_STREQ("node1", h.system);
    EXPECT_EQ(1, h.total_error);
    EXPECT_EQ(1, h.total_grp_msg);
    EXPECT_EQ(5, h.flags);
    EXPECT_EQ(162u, h.offset_end);
    unsigned char again[LDF_HEADER_SIZE];
    ldf_encode_header(h, again);
    EXPECT_EQ(GOLDEN.substr(0, LDF_HEADER_SIZE), std::string(reinterpret_cast<char*>(again), sizeof again));

    ldf_msg_header_t m;
    ldf_decode_record(bytes + LDF_HEADER_SIZE, m);
    EXPECT_EQ(22u, m.data_size);
    EXPECT_EQ(25u << 16 | 30001u, m.msgcat_id);
    EXPECT_EQ(3, m.obj_type);
    EXPECT_EQ(LDF_NO_SEQ, m.seq);
    unsigned char record[LDF_RECORD_HEADER_SIZE];
    ldf_encode_record(m, record);
    EXPECT_EQ(0, std::memcmp(bytes + LDF_HEADER_SIZE, record, sizeof record));
}

TEST(LdfFormat, PlatformOutsideTheTableIsUnknown) {
    EXPECT_STREQ("LINUX", ldf_platform_name(6));
    EXPECT_STREQ("AIX", ldf_platform_name(7));
    for (int32_t code : {0, 8, -1, INT32_MIN, INT32_MAX})
        EXPECT_STREQ("UNKNOWN", ldf_platform_name(code)) << code;
}

TEST(LdfFormat, TextPartKeepsItsShape) {
    const struct {
        const char* name;
        const char *file, *func;
        const char* args[LDF_MAX_ARGS];
        std::string expect;
    } cases[] = {
        {"two arguments", "Log", "open", {"res1", "ONLINE"}, "Log\xFFopen\xFFres1\xFFONLINE\xFF"},
        {"missing and empty fields",
         nullptr,
         "",
         {"", "b"},
         " \xFF \xFF \xFF"
         "b\xFF"},
        {"stops at the first missing argument",
         "f",
         "g",
         {"a", nullptr, "c"},
         "f\xFFg\xFF"
         "a\xFF"},
        {"six arguments",
         "f",
         "g",
         {"1", "2", "3", "4", "5", "6"},
         "f\xFFg\xFF"
         "1\xFF"
         "2\xFF"
         "3\xFF"
         "4\xFF"
         "5\xFF"
         "6\xFF"},
        {"separator inside a field",
         "f",
         "g",
         {"a\xFF\xFF"
          "b"},
         "f\xFFg\xFF"
         "a??b\xFF"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        char buf[LDF_TEXT_MAX];
        std::string_view args[LDF_MAX_ARGS];
        for (size_t i = 0; i < LDF_MAX_ARGS; ++i) args[i] = view(c.args[i]);
        const size_t n = ldf_encode_text(view(c.file), view(c.func), args, buf, sizeof buf);
        EXPECT_EQ(c.expect, std::string(buf, n));
        EXPECT_EQ('\0', buf[n]);
    }
}

TEST(LdfFormat, TextIsEmptyOnceItDoesNotFit) {
    for (size_t bufsize : {1ul, 2ul, 5ul, 6ul, 64ul, LDF_TEXT_MAX}) {
        for (size_t len = bufsize > 8 ? bufsize - 8 : 1; len < bufsize + 3; ++len) {
            const std::string arg(len, 'a');
            const std::string_view view = arg;
            std::vector<char> buf(bufsize); // exact, so that a byte too many is caught
            const size_t n = ldf_encode_text("f", "g", {&view, 1}, buf.data(), bufsize);
            const size_t full = 4 + len + 1; // without the NUL
            EXPECT_EQ(full < bufsize ? full : 0, n) << bufsize << " " << len;
            EXPECT_EQ('\0', buf[n]);
        }
    }
}

TEST(LdfFormat, SplitsHostileTexts) {
    const std::string cases[] = {
        "",
        "\0"s,
        "\xFF",
        "\xFF\xFF\0"s,
        "a",
        "a\0b\xFF"
        "c"s,
        "a\xFF",
        "a\xFF"
        "b",
        "\xFF"
        "a\xFF\xFF"
        "b\xFF\xFF"
        "c\0"s,
        "f\xFFg\xFF"
        "1\xFF"
        "2\xFF"
        "3\xFF"
        "4\xFF"
        "5\xFF"
        "6\xFF\0"s,
        "f\xFFg\xFF"
        "1\xFF"
        "2\xFF"
        "3\xFF"
        "4\xFF"
        "5\xFF"
        "6\xFF"
        "7\xFF\xFF"
        "8\xFF\0"
        "9"s, // more than six
        "f\xFFg\xFF"
        "1\xFF"
        "2\xFF"
        "3\xFF"
        "4\xFF"
        "5\xFF"
        "6\xFF"
        "7",
    };
    for (const auto& text : cases)
        EXPECT_EQ(naive_split(text), view_pieces(text)) << testing::PrintToString(text);
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
        ASSERT_EQ(naive_split(text), view_pieces(text)) << testing::PrintToString(text);
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
    } cases[] = {{0, OBJTAG_QEN},        {0x80000, OBJTAG_SYS},  {0x100000, OBJTAG_GRP},
                 {0x200000, OBJTAG_RES}, {0x400000, OBJTAG_AGT}, {0x780000, OBJTAG_RES},
                 {0x580000, OBJTAG_GRP}, {0x480000, OBJTAG_SYS}, {0x7FFFF, OBJTAG_QEN},
                 {~0x780000, OBJTAG_QEN}};
    for (const auto& c : cases) EXPECT_EQ(c.tag, QENLogFlagToObjTag(c.flags)) << std::hex << c.flags;
}
