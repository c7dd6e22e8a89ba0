#include "i18n/unix/i18n_locale.h"

#include "I18nFixture.h"
#include "i18n/common/i18n_lang.h"

using Locale = I18nTest;

TEST_F(Locale, LanguageAndCodesetComeFromTheEnvironment) {
    using Environment = std::vector<std::pair<const char*, const char*>>;
    const std::tuple<const char*, Environment, const char*, const char*> cases[] = {
        {"nothing", {}, "en", "UTF-8"},
        {"locale", {{"LANG", "ja_JP.eucJP"}}, "ja", "eucJP"},
        {"catalog language", {{"QENI18N_LANG", "de"}, {"LANG", "ja_JP.eucJP"}}, "de", "eucJP"},
        {"empty catalog language", {{"QENI18N_LANG", ""}, {"LANG", "ja_JP.eucJP"}}, "en", "eucJP"},
        {"composite", {{"LC_MESSAGES", "de_DE.UTF-8"}, {"LANG", "ja_JP.eucJP"}}, "de", "UTF-8"},
        {"composite, only LC_CTYPE", {{"LC_CTYPE", "ja_JP.eucJP"}}, "ja", "eucJP"},
    };
    for (const auto& [trace, environment, expected, codeset] : cases) {
        SCOPED_TRACE(trace);
        for (const char* name : {"QENI18N_LANG", "LC_CTYPE", "LC_MESSAGES", "LANG"}) unsetenv(name);
        for (const auto& [name, value] : environment) setenv(name, value, 1);
        if (std::setlocale(LC_ALL, "") == nullptr) std::setlocale(LC_ALL, "C");
        char lang[32];
        EXPECT_EQ(0, i18n_determine_lang(lang, sizeof lang));
        EXPECT_STREQ(expected, lang);
        EXPECT_STREQ(codeset, i18nGetSystemCodeset());
    }
    unsetenv("LC_CTYPE");
    std::setlocale(LC_CTYPE, "ja_JP.eucJP");
    setenv("LC_MESSAGES", "de_DE", 1); // has no codeset
    EXPECT_STREQ("eucJP", i18nGetSystemCodeset());
}

TEST(LanguageTable, EveryNameGivesItsCode) {
    for (size_t i = 0; i < I18N_LANG_COUNT; ++i) // which needs them in order
        EXPECT_EQ(lang_table[i].abrev, i18n_lang_get_abrev(lang_table[i].name));
    EXPECT_STREQ("iw", i18n_lang_get_abrev("Hebrew"));
    EXPECT_EQ(nullptr, i18n_lang_get_abrev("english"));
}
