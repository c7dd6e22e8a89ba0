// Texts in the user's language, from the shipped catalogs.
#include <fstream>
#include <gmock/gmock.h>
#include <iconv.h>
#include <sys/stat.h>

#include "cmd/taqmsg/CommandTest.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

const std::string AT = "Mon Nov 16 18:38:11 2026 QEN ";

// Text in UTF-8 from bytes in EUC-JP; bytes that are no EUC-JP make it differ from anything expected.
std::string from_euc_jp(std::string bytes) {
    std::string text(4 * bytes.size() + 16, '\0');
    iconv_t cd = iconv_open("UTF-8", "EUC-JP");
    char *in = bytes.data(), *out = text.data();
    size_t in_left = bytes.size(), out_left = text.size();
    const bool failed = iconv(cd, &in, &in_left, &out, &out_left) == static_cast<size_t>(-1);
    iconv_close(cd);
    return failed ? "not EUC-JP: " + bytes : text.substr(0, text.size() - out_left);
}

class LanguageTest : public CommandTest {
protected:
    LanguageTest() {
        env["TAQ_MESSAGES_DIR"] = TAQ_TEST_CATALOGS;
        env["LOCPATH"] = TAQ_TEST_LOCALES;
        write("f", LdfBuilder()
                       .record({.sev = 1, .cat = 100, .num = 1, .args = {"web", "OFFLINE", "node2"}})
                       .record({.sev = 2, .cat = 100, .num = 14, .args = {"/var", "93"}}));
    }

    const std::string english = AT + "ERROR K-16-100-1 Resource web is now OFFLINE on system node2\n" + AT +
                                "WARNING K-16-100-14 File system /var is 93% full\n";
    const std::string german = AT + "FEHLER K-16-100-1 Ressource web ist auf System node2 jetzt OFFLINE\n" +
                               AT + "WARNUNG K-16-100-14 Dateisystem /var ist zu 93 % belegt\n";
    const std::string no_match_in_german = "QEN WARNUNG K-16-25-30524 Keine Meldung entspricht der Abfrage\n";
};

TEST_F(LanguageTest, LanguageOfTheEnvironment) {
    const std::vector<std::string> too_many(1025, "f");
    expect({"f"}, 0, english, "");
    expect({"-sev", "C", "f"}, 0, "", NO_MATCH);
    expect(too_many, 1, "", warning(30526, "Argument count limit (1024) exceeded") + USAGE);

    const std::string usage = "QEN INFO K-16-25-30001 Aufruf:" + USAGE.substr(USAGE.find('\n'));
    env["QENI18N_LANG"] = "de";
    for (const char* locale : {"C", "C.utf8"}) { // with and without a conversion from UTF-8 to UTF-8
        env["LC_ALL"] = locale;
        expect({"f"}, 0, german, "");
        expect({"-sev", "C", "f"}, 0, "", no_match_in_german);
        expect({"-x%s"}, 1, "", "QEN WARNUNG K-16-25-30528 Unbekannte Option: -x%s\n" + usage);
        expect(too_many, 1, "",
               "QEN WARNUNG K-16-25-30526 Höchstzahl der Argumente (1024) überschritten\n" + usage);
    }
}

TEST_F(LanguageTest, ArgumentsAreConvertedWithTheirText) {
    LdfBuilder file;
    for (const char* name : {"web",
                             "w\xC3\xB6"
                             "b",
                             "w\xC3(", "web"})
        file.record({.sev = 1, .cat = 100, .num = 1, .args = {name, "ONLINE", "n"}});
    write("g", file);
    const auto line = [](const std::string& name) {
        return AT + "FEHLER K-16-100-1 Ressource " + name + " ist auf System n jetzt ONLINE\n";
    };
    const std::string refused =
        AT + "FEHLER K-16-100-1 Could not find message K-16-100-1 : arg1 = w\xC3(, arg2 = ONLINE, arg3 = n\n";
    env["QENI18N_LANG"] = "de";
    env["LC_ALL"] = "C"; // from UTF-8 to UTF-8, which refuses what is none
    expect({"g"}, 0,
           line("web") +
               line("w\xC3\xB6"
                    "b") +
               refused + line("web"),
           "");
    env["LC_ALL"] = "C.utf8"; // no conversion
    expect({"g"}, 0,
           line("web") +
               line("w\xC3\xB6"
                    "b") +
               line("w\xC3(") + line("web"),
           "");
}

TEST_F(LanguageTest, OptionChoosesTheLanguage) {
    expect({"-lang", "de", "f"}, 0, german, "");
    expect({"-tail", "1", "-lang", "de", "f"}, 0, german.substr(german.find('\n') + 1), "");
    expect({"-lang", "de", "-oname", "nobody", "f"}, 0, "", no_match_in_german);
    // A fault behind it is already reported in that language.
    EXPECT_THAT(run({"-lang", "de", "-sev", "X", "f"}).err,
                StartsWith("QEN WARNUNG K-16-25-30534 Falscher Schweregrad angegeben\n"));
    env["QENI18N_LANG"] = "de";
    expect({"-lang", "en", "f"}, 0, english, "");
    expect({"-lang", "xx", "f"}, 0, german, ""); // a language that is not there leaves the user's
}

TEST_F(LanguageTest, JapaneseInItsOwnCodeset) {
    env["LC_ALL"] = "ja_JP.eucJP";
    const std::string text = from_euc_jp(run({"f"}).out);
    EXPECT_THAT(text,
                HasSubstr(" QEN エラー K-16-100-1 リソース web はシステム node2 で OFFLINE になりました\n"));
    EXPECT_THAT(text, StartsWith("2026年11月16日 18時38分11秒 QEN"));
    EXPECT_EQ("QEN 警告 K-16-25-30524 条件に一致するメッセージがありません\n",
              from_euc_jp(run({"-sev", "C", "f"}).err));
    EXPECT_THAT(from_euc_jp(run({"-info", "f"}).out),
                HasSubstr("Create Date            2026年11月16日 18時38分10秒\n"));
}

TEST_F(LanguageTest, EnglishWhereTheLanguageHasNoCatalogs) {
    for (const std::string& lang : {std::string(), std::string("../de"), std::string(100000, 'x')}) {
        env["QENI18N_LANG"] = lang;
        expect({"f"}, 0, english, "");
        if (!lang.empty()) expect({"-lang", lang, "f"}, 0, english, "");
    }
}

TEST_F(LanguageTest, WithoutCatalogsTheIdentifierAndTheArgumentsRemain) {
    const std::string bare = AT +
                             "ERROR K-16-100-1 Could not find message K-16-100-1 : arg1 = web, "
                             "arg2 = OFFLINE, arg3 = node2\n" +
                             AT +
                             "WARNING K-16-100-14 Could not find message K-16-100-14 : "
                             "arg1 = /var, arg2 = 93\n";
    const std::string summary = run({"-info", "f"}).out;
    EXPECT_THAT(summary, HasSubstr("Total Messages         2\n"));
    const std::string unreadable = root() + "/loop", forbidden = root() + "/forbidden";
    fs::create_symlink(unreadable, unreadable);
    fs::create_directory(forbidden);
    fs::permissions(forbidden, fs::perms::none);
    for (const std::string& place : {std::string("/nowhere"), std::string(), unreadable, forbidden,
                                     std::string("/dev/null"), std::string(100000, 'd')}) {
        SCOPED_TRACE(place.substr(0, 40));
        env["TAQ_MESSAGES_DIR"] = place;
        expect({"f"}, 0, bare, "");
        expect({"-sev", "C", "f"}, 0, "", NO_MATCH);
        expect({"-info", "f"}, 0, summary, "");
    }
}

TEST_F(LanguageTest, DamagedCatalogsCostTheirTextsOnly) {
    const struct {
        const char* name;
        void (*damage)(const std::string& path);
    } damages[] = {
        {"cut", [](const std::string& path) { fs::resize_file(path, fs::file_size(path) / 2); }},
        {"garbage", [](const std::string& path) { std::ofstream(path) << std::string(5000, '\xFF'); }},
        {"directory", [](const std::string& path) { fs::remove(path), fs::create_directory(path); }},
        {"pipe", [](const std::string& path) { fs::remove(path), mkfifo(path.c_str(), 0600); }},
    };
    const std::string copy = root() + "/catalogs";
    env["TAQ_MESSAGES_DIR"] = copy;
    env["QENI18N_LANG"] = "de";
    for (const char* file : {"KORE.bmcmap", "KORE_25.bmc", "KORE_65534.bmc", "KORE_100.bmc"}) {
        for (const auto& d : damages) {
            SCOPED_TRACE(std::string(d.name) + " " + file);
            fs::remove_all(copy);
            fs::copy(TAQ_TEST_CATALOGS, copy, fs::copy_options::recursive);
            for (const char* lang : {"en", "de"}) d.damage(copy + "/messages/" + lang + "/" + file);
            CommandResult result = run({"f"});
            EXPECT_EQ(0, result.status);
            EXPECT_EQ(2, std::count(result.out.begin(), result.out.end(), '\n')) << result.out;
            result = run({"-sev", "C", "f"});
            EXPECT_EQ(0, result.status);
            EXPECT_THAT(result.err, HasSubstr(" K-16-25-30524 "));
        }
    }
}

} // namespace
