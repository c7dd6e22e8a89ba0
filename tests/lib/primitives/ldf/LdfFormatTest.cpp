// The format itself, and the names of object types.
#include <sstream>

#include "LdfFixture.h"
#include "primitives/ldf/QENObjTags.h"

// The format spelled out, which the other tests' builder must meet: an empty header and one record.
TEST(LdfFormat, BuilderAgreesWithTheBytes) {
    const auto zeros = [](size_t n) { return std::string(n, '\0'); };
    const std::string golden =
        "\0\0\x59\x74\0\0\0\3\0\0\0\0node1"s + zeros(28) +    // signature, version 3.0, system
        "\0\0\0\6\x6a\xfb\x4d\x92\x6a\xfb\x4d\x9b\0\0\0\1"s + // LINUX, created, modified, records
        zeros(4) + "\0\0\0\1"s + zeros(20) +                  // critical error ... res agt
        "\0\0\0\1"s + zeros(16) + "\0\0\0\5\0\0\0\xa2"s +     // grp ... flags, offset_end 162
        "\0\0\0\x16\1\1\x6a\xfb\x4d\x93"s +                   // 22 text bytes, 1, ERROR, time
        "\0\x19\x75\x31\3\0\0\0\x2a\xff\xff\xff\xff"s +       // 25-30001, GRP, line, seq
        "Log\xFFopen\xFFres1\xFFONLINE\xFF\0"s;
    EXPECT_EQ(golden, LdfBuilder().flags(5).record({.sev = 1, .obj = 3, .args = {"res1", "ONLINE"}}).bytes());
}

TEST(LdfFormat, SplitsLikeTheNaiveWay) {
    std::mt19937 random(1);
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 80, '\0');
        const auto density = 2 + random() % 30;
        for (char& c : text) {
            const auto pick = random() % (8 * density);
            c = pick < 8 ? '\xFF' : pick == 8 ? '\0' : static_cast<char>(1 + random() % 254);
        }
        std::vector<std::string> expect, found;
        std::istringstream in(text.substr(0, text.find('\0')));
        for (std::string piece; std::getline(in, piece, '\xFF');)
            if (!piece.empty()) expect.push_back(piece);

        const std::string behind = "x\xFF\0"s.substr(static_cast<size_t>(round % 3), 1); // must not matter
        const std::string padded = text + behind + 'y' + std::string(LDF_SPLIT_SLACK, '\xFF');
        LdfRecordView view;
        ldf_split_text(padded.data(), text.size(), view);
        for (const std::string_view piece : {view.filename(), view.function()})
            if (piece.data()) found.emplace_back(piece);
        view.for_each_arg([&](std::string_view arg) { found.emplace_back(arg); });
        ASSERT_EQ(expect, found) << testing::PrintToString(text);
    }
}

TEST(QENObjTags, NamesAndFlags) {
    for (int code = OBJTAG_QEN; code <= OBJTAG_XLK; ++code)
        EXPECT_EQ(code, QENGetObjTag(QENGetObjTagStr(static_cast<obj_tag_t>(code))));
    EXPECT_TRUE(QENGetObjTagStr(static_cast<obj_tag_t>(-1)) == nullptr &&
                QENGetObjTag(nullptr) == OBJTAG_ERR);
    for (const auto& [flags, tag] : {std::pair{0x780000, OBJTAG_RES},
                                     {0x580000, OBJTAG_GRP},
                                     {0x480000, OBJTAG_SYS},
                                     {~0x780000, OBJTAG_QEN}})
        EXPECT_EQ(tag, QENLogFlagToObjTag(flags)) << std::hex << flags;
}

TEST(LdfFormat, FieldsOfAnyLengthLoseTheirSeparators) {
    for (size_t size = 1; size <= 20; ++size)
        for (size_t at = 0; at < size; ++at) {
            std::string arg(size, '\xFE');
            arg[at] = '\xFF';
            const std::string_view view = arg;
            char text[64];
            const size_t length = ldf_encode_text("f", "g", {&view, 1}, text, sizeof text);
            EXPECT_EQ("f\xFFg\xFF" + arg.replace(at, 1, "?") + '\xFF', std::string(text, length)) << size;
        }
}
