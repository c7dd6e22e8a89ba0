#include "I18nFixture.h"
#include "i18n/unix/i18n_conv.h"

static constexpr char HIRAGANA_A[] = "\xE3\x81\x82";

static std::string times(int n, const std::string& s) {
    std::string all;
    while (n-- > 0) all += s;
    return all;
}

struct Conversion : I18nTest {
    // Opens the catalogs of a locale's language and codeset.
    void open_in(const char* locale, const CatalogBuilder& file) {
        i18nClose(&handle);
        ASSERT_NE(nullptr, std::setlocale(LC_ALL, locale)) << locale;
        tree(std::string(locale, 2)).catalog("core", 25, file).write();
        ASSERT_EQ(I18N_SOK, open(nullptr));
    }
};

TEST_F(Conversion, TextsComeInTheCodesetOfTheLocale) {
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        {"ja_JP.eucJP", "%s \xE3\x81\x82", "x", "x \xA4\xA2"},
        {"ja_JP.SJIS", "%s \xE3\x81\x82", "x", "x \x82\xA0"},
        {"ja_JP.UTF-8", "%s \xE3\x81\x82", HIRAGANA_A, "\xE3\x81\x82 \xE3\x81\x82"},
        {"de_DE.ISO-8859-1", "%s \xC3\xBC", "\xC3\xA4", "\xE4 \xFC"},
        {"de_DE.UTF-8", "%s", "\xFF", "<2>"},
        {"en_US.UTF-8", "%s \xC3\xBC", "\xFF", "\xFF \xC3\xBC"},
    };
    for (const auto& [locale, format, arg, expect] : cases) {
        SCOPED_TRACE(locale);
        open_in(locale, CatalogBuilder().text(1, format).text(2, "after"));
        EXPECT_EQ(expect, text(25, 1, {arg}));
        EXPECT_EQ("after", text(25, 2)) << "a failure must leave the handle usable";
        EXPECT_EQ(expect, text(25, 1, {arg})) << "kept";
    }
}

TEST_F(Conversion, TextsWithoutArgumentsAreKeptConverted) {
    open_in("ja_JP.eucJP", CatalogBuilder()
                               .text(1, HIRAGANA_A)
                               .text(2, times(40, "%%") + HIRAGANA_A)
                               .text(3, HIRAGANA_A + "%s"s));
    char* p = nullptr;
    int32_t size = 0;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ("\xA4\xA2", text(25, 1, {"surplus"}));
        EXPECT_EQ(std::string(40, '%') + "\xA4\xA2", text(25, 2));
        for (const char* arg : {"x", "y"}) EXPECT_EQ("\xA4\xA2"s + arg, text(25, 3, {arg}));
        ASSERT_EQ(I18N_SOK, i18nGetSimpleMsg(&handle, 25, 1, &p, &size));
        EXPECT_EQ("\xA4\xA2", shown(I18N_SOK, p, size));
        ASSERT_EQ(I18N_SOK, i18nGetSafeUTF8Msg(&handle, 25, 1, &p, &size));
        EXPECT_EQ(HIRAGANA_A, shown(I18N_SOK, p, size));
    }
}

TEST_F(Conversion, SettledEarlyAnOpenReadsItsFilesLater) {
    i18nSettings settings;
    setenv("QENI18N_LANG", "ja", 1);
    std::setlocale(LC_ALL, "ja_JP.eucJP");
    ASSERT_EQ(I18N_SOK, i18nSettle(&settings, root.c_str(), nullptr));
    setenv("QENI18N_LANG", "de", 1);
    std::setlocale(LC_ALL, "ja_JP.SJIS");
    for (const char* lang : {"ja", "en"})
        tree(lang).catalog("core", 25, CatalogBuilder().text(1, HIRAGANA_A).text(2, "%s")).write();
    ASSERT_EQ(I18N_SOK, i18nOpenSettled(&handle, settings, "KORE"));
    EXPECT_EQ("\xA4\xA2", text(25, 1));
    i18nClose(&handle);
    settings.codeset = "IBM037"; // has ASCII elsewhere
    ASSERT_EQ(I18N_SOK, i18nOpenSettled(&handle, settings, "KORE"));
    EXPECT_EQ("\xF1\x81", text(25, 2, {"1a"}));
    i18nClose(&handle);
    settings.lang = "en";
    ASSERT_EQ(I18N_SOK, i18nOpenSettled(&handle, settings, "KORE"));
    EXPECT_EQ(HIRAGANA_A, text(25, 1));
}

// An umlaut has two bytes in UTF-8, three in EUC.
TEST_F(Conversion, ConvertedTextMustFitTheBuffer) {
    open_in("ja_JP.eucJP",
            CatalogBuilder().text(1, times(1365, "\xC3\xBC")).text(2, times(1366, "\xC3\xBC")));
    EXPECT_EQ(times(1365, "\x8F\xAB\xE4"), text(25, 1)); // 4095 bytes and the NUL
    EXPECT_EQ("<2>", text(25, 2));
}

TEST_F(Conversion, GeneralConverterTellsHowFarItCame) {
    const std::tuple<const char*, const char*, size_t, int, size_t> cases[] = {
        {"EUC-JP", "a\xE3\x81\x82", 4, I18N_SOK, 4}, // one of them is the NUL
        {"EUC-JP", "a\xE3\x81\x82", 3, I18N_EBUFSIZE, 3},   {"EUC-JP", "ab\xFF", 10, I18N_EBADSEQUENCE, 2},
        {"EUC-JP", "ab\xE3\x81", 10, I18N_EBADSEQUENCE, 2}, {"no-such", "ab", 10, I18N_ECONVOPEN, 0},
        {"utf-8", "ab", 10, I18N_ESAMECODESET, 10},         {"", "ab", 10, I18N_ENOCODESET, 10},
    };
    for (const auto& [to, text, room, expect, written] : cases) {
        char out[16];
        size_t size = room;
        EXPECT_EQ(expect, i18nConvertMsg("UTF-8", to, text, out, &size)) << to << room;
        EXPECT_EQ(written, size) << to << room;
    }
}

// The judgement on UTF-8 against iconv's, over every lead and second byte.
TEST_F(Conversion, Utf8IsJudgedAsByIconv) {
    const auto check = [](const std::string& s) {
        char out[64];
        size_t size = sizeof out;
        const bool valid = i18n_conv_convert("UTF-8", "UTF-32BE", s.c_str(), out, &size) == I18N_SOK;
        ASSERT_EQ(valid, i18nIsValidUTFString(s.c_str()) == I18N_TRUE) << testing::PrintToString(s);
    };
    for (int lead = 1; lead < 256; ++lead)
        for (int second = 15; second < 256; second += second % 16 == 15 ? 1 : 15) // every limit lies there
            for (const size_t more : {0u, 1u, 2u})
                for (const char tail : {'\x80', 'a'})
                    check(std::string{static_cast<char>(lead), static_cast<char>(second)} +
                          std::string(more, tail));
    EXPECT_EQ(I18N_FALSE, i18nIsValidUTFString(nullptr));
}
