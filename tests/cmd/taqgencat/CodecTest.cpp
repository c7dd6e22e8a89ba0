#include "cmd/taqgencat/CatalogCodec.h"
#include "cmd/taqgencat/CatalogLister.h"
#include "cmd/taqgencat/SourceParser.h"
#include "support/Bytes.h"
#include "support/Prelude.h"

using namespace gencat;

static MessageSet set_of(const std::vector<std::pair<uint32_t, std::string>>& texts) {
    MessageSet set;
    for (const auto& [number, text] : texts) set[number].text = text;
    return set;
}

static std::string encode(const MessageSet& set) {
    std::string bytes;
    EXPECT_TRUE(encode_catalog(set, bytes));
    return bytes;
}

static std::string words(const std::vector<uint32_t>& values) {
    std::string bytes;
    for (const uint32_t v : values) bytes += be(v);
    return bytes;
}

// Messages 0, 2 and 7: the hole at 1 stays within the first range, the four numbers from 3 to 6 end it.
static const std::string GOLDEN =
    words({0x4795, 0,          0,   0, 0, 0, 0, 0, 2, 3, 0, 0, 64, 88, 104, 0, // header
           0,      2,          88,                                             // ranges
           7,      7,          100,                                            //
           104,    0xFFFFFFFF, 110,                                            // slots
           115}) +                                                             //
    words({2}) +
    std::string("a\0", 2) +             // records
    words({1}) + std::string("\0", 1) + //
    words({3}) + std::string("\xC3\xA9\0", 3);

TEST(CatalogCodec, SmallCatalogByteByByte) {
    EXPECT_EQ(GOLDEN, encode(set_of({{0, "a"}, {2, ""}, {7, "\xC3\xA9"}})));
    MessageSet decoded;
    ASSERT_EQ(nullptr, decode_catalog(GOLDEN, decoded));
    EXPECT_EQ(GOLDEN, encode(decoded));
    EXPECT_EQ(64u, encode({}).size());
    EXPECT_EQ(1, encode(set_of({{1, "x"}, {5, "y"}}))[35]) << "a gap of three numbers stays within a range";
    EXPECT_EQ(2, encode(set_of({{0, "x"}, {65535, "y"}}))[35]);
}

TEST(CatalogCodec, DamagedCatalogsAreRefused) {
    const std::tuple<size_t, uint32_t, const char*> cases[] = {
        // the offset of the word that is damaged
        {0, 0x4796, "not a message catalog"},
        {32, 0x20000000, "the range table reaches beyond the end of the file"},
        {48, 0xFFFFFFFF, "the range table reaches beyond the end of the file"},
        {64, 3, "the ranges do not ascend"}, // backwards
        {76, 2, "the ranges do not ascend"}, // overlapping
        {80, 65536, "a range goes beyond message 65535"},
        {72, 0xFFFFFFFC, "a slot array reaches beyond the end of the file"},
        {88, 0xFFFFFFFE, "a message record lies outside the file"},
        {104, 0xFFFFFFFF, "a text reaches beyond the end of the file"},
        {104, 0, "a text does not end in its NUL"},
        {104, 3, "a text does not end in its NUL"}}; // one in the middle
    MessageSet set;
    for (const auto& [offset, value, reason] : cases)
        EXPECT_STREQ(reason, decode_catalog(std::string(GOLDEN).replace(offset, 4, be(value)), set))
            << offset;
    for (size_t size = 0; size < GOLDEN.size(); ++size)
        EXPECT_NE(nullptr, decode_catalog(std::string_view(GOLDEN).substr(0, size), set)) << size;
}

TEST(CatalogCodec, ManySlotsOnOneLongRecordAreRefused) {
    const uint32_t record = 64 + 12 + 65536 * 4, length = 8192;
    std::string bytes = words({0x4795, 0, 0, 0, 0, 0, 0, 0, 1, 65536, 0, 0, 64, 76, record, 0, 0, 65535, 76});
    for (int i = 0; i < 65536; ++i) bytes += words({record});
    bytes += words({length}) + std::string(length - 1, 'x') + std::string(1, '\0');
    MessageSet set;
    EXPECT_STREQ("the records hold far more text than the file", decode_catalog(bytes, set));
}

TEST(CatalogLister, ListingCompilesToTheSameBytes) {
    std::string ascii;
    for (char c = 1; c < 127; ++c) ascii += c;
    const MessageSet set = set_of({{0, ""},
                                   {1, "  blanks at both ends \t"},
                                   {2, "a \"quoted\" back\\slash\x1B\1777"},
                                   {4, ascii},
                                   {9, "日本 %2$s %1$s 100%%"},
                                   {65535, "$set 3"}});
    const std::string source = list_catalog(set, 25);
    Messages messages;
    Diagnostics faults;
    ASSERT_TRUE(parse_source("list", source, DefaultSet::None, messages, faults)) << faults.lines()[0];
    EXPECT_EQ(encode(set), encode(messages[25]));
    EXPECT_NE(std::string::npos, source.find("9 \"日本 %2$s")) << "UTF-8 stays readable";
    EXPECT_NE(std::string::npos, source.find("\\033\\1777")) << "control characters do not";
}

TEST(CatalogLister, CategoryComesFromTheFileName) {
    EXPECT_EQ(65535u, category_of_path("/a.b/MY_MOD_65535.bmc"));
    for (const char* path : {"KORE_65536.bmc", "KORE_2x.bmc", "dir_5/KORE", "KORE_99999999999999.bmc"})
        EXPECT_EQ(NO_CATEGORY, category_of_path(path)) << path;
}
