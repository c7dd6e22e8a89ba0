// Texts in the user's language, from the shipped catalogs.
#include <fstream>
#include <iconv.h>
#include <sys/stat.h>

#include "cmd/taqmsg/CommandTest.h"

namespace {

namespace fs = std::filesystem;

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

    // Catalogs of our own, which may be damaged.
    std::string copied_catalogs() const {
        const std::string copy = root() + "/catalogs";
        fs::copy(TAQ_TEST_CATALOGS, copy, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
        return copy;
    }

    const std::string english =
        "Mon Nov 16 18:38:11 2026 QEN ERROR K-16-100-1 Resource web is now OFFLINE on "
        "system node2\n"
        "Mon Nov 16 18:38:11 2026 QEN WARNING K-16-100-14 File system /var is 93% full\n";
    const std::string german =
        "Mon Nov 16 18:38:11 2026 QEN FEHLER K-16-100-1 Ressource web ist auf System node2 "
        "jetzt OFFLINE\n"
        "Mon Nov 16 18:38:11 2026 QEN WARNUNG K-16-100-14 Dateisystem /var ist zu 93 % "
        "belegt\n";
};

TEST_F(LanguageTest, EnglishByDefault) {
    expect({"f"}, 0, english, "");
    expect({"-sev", "C", "f"}, 0, "", NO_MATCH);
    expect({"-x"}, 1, "", warning(30528, "Unknown option: -x") + USAGE);
    expect(std::vector<std::string>(1025, "f"), 1, "",
           warning(30526, "Argument count limit (1024) exceeded") + USAGE);
}

TEST_F(LanguageTest, GermanByEnvironment) {
    const std::string usage = "QEN INFO K-16-25-30001 Aufruf:" + USAGE.substr(USAGE.find('\n'));
    env["QENI18N_LANG"] = "de";
    for (const char* locale : {"C", "C.utf8"}) { // with and without a conversion from UTF-8 to UTF-8
        env["LC_ALL"] = locale;
        expect({"f"}, 0, german, "");
        expect({"-sev", "C", "f"}, 0, "", "QEN WARNUNG K-16-25-30524 Keine Meldung entspricht der Abfrage\n");
        expect({"-x%s"}, 1, "", "QEN WARNUNG K-16-25-30528 Unbekannte Option: -x%s\n" + usage);
        expect(std::vector<std::string>(1025, "f"), 1, "",
               "QEN WARNUNG K-16-25-30526 Höchstzahl der Argumente (1024) überschritten\n" + usage);
        expect({"-info", "none"}, 7, "",
               "QEN WARNUNG K-16-25-30523 Datei 'none' kann nicht geöffnet werden. Sie ist möglicherweise "
               "beschädigt oder nicht vorhanden.\n");
    }
}

TEST_F(LanguageTest, OptionChoosesTheLanguage) {
    expect({"-lang", "de", "f"}, 0, german, "");
    expect({"-tail", "1", "-lang", "de", "f"}, 0, german.substr(german.find('\n') + 1), "");
    expect({"-lang", "de", "-oname", "nobody", "f"}, 0, "",
           "QEN WARNUNG K-16-25-30524 Keine Meldung entspricht der Abfrage\n");
    // A fault behind it is already reported in that language.
    const std::string complaint = run({"-lang", "de", "-sev", "X", "f"}).err;
    EXPECT_EQ(0u, complaint.find("QEN WARNUNG K-16-25-30534 Falscher Schweregrad angegeben\n")) << complaint;
    // A language that is not there leaves the user's.
    for (const char* lang : {"xx", "", "..", "../de", "/etc", "%s%n"}) {
        SCOPED_TRACE(lang);
        expect({"-lang", lang, "f"}, 0, english, "");
    }
    expect({"-lang", std::string(50000, 'x'), "f"}, 0, english, "");
    env["QENI18N_LANG"] = "de";
    expect({"-lang", "en", "f"}, 0, english, "");
    expect({"-lang", "xx", "f"}, 0, german, "");
}

TEST_F(LanguageTest, JapaneseInItsOwnCodeset) {
    env["LC_ALL"] = "ja_JP.eucJP";
    CommandResult result = run({"f"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    const std::string text = from_euc_jp(result.out);
    EXPECT_NE(std::string::npos, text.find(" QEN エラー K-16-100-1 リソース web はシステム node2 で OFFLINE "
                                           "になりました\n"))
        << text;
    EXPECT_EQ(0u, text.find("2026年11月16日 18時38分11秒 QEN")) << text;

    result = run({"-sev", "C", "f"});
    EXPECT_EQ("QEN 警告 K-16-25-30524 条件に一致するメッセージがありません\n", from_euc_jp(result.err));
    result = run({"-info", "f"});
    EXPECT_NE(std::string::npos,
              from_euc_jp(result.out).find("Create Date            2026年11月16日 18時38分10秒\n"));
}

TEST_F(LanguageTest, EnglishWhereTheLanguageHasNoCatalogs) {
    for (const char* lang : {"xx", "", "../de", "/"}) {
        env["QENI18N_LANG"] = lang;
        expect({"f"}, 0, english, "");
    }
    env["QENI18N_LANG"] = std::string(100000, 'x');
    expect({"f"}, 0, english, "");
}

TEST_F(LanguageTest, WithoutCatalogsTheIdentifierAndTheArgumentsRemain) {
    const std::string bare =
        "Mon Nov 16 18:38:11 2026 QEN ERROR K-16-100-1 Could not find message K-16-100-1 : arg1 = web, arg2 "
        "= "
        "OFFLINE, arg3 = node2\n"
        "Mon Nov 16 18:38:11 2026 QEN WARNING K-16-100-14 Could not find message K-16-100-14 : arg1 = /var, "
        "arg2 = 93\n";
    for (const std::string& place : {std::string("/nowhere"), std::string(), std::string("/dev/null"),
                                     std::string(100000, 'd'), std::string("%s%n")}) {
        env["TAQ_MESSAGES_DIR"] = place;
        expect({"f"}, 0, bare, "");
        expect({"-sev", "C", "f"}, 0, "", NO_MATCH);
    }
}

TEST_F(LanguageTest, DamagedCatalogsCostTheirTextsOnly) {
    const struct {
        const char* name;
        void (*damage)(const std::string& path);
    } damages[] = {
        {"empty", [](const std::string& path) { fs::resize_file(path, 0); }},
        {"cut", [](const std::string& path) { fs::resize_file(path, fs::file_size(path) / 2); }},
        {"garbage", [](const std::string& path) { std::ofstream(path) << std::string(5000, '\xFF'); }},
        {"zeroes", [](const std::string& path) { std::ofstream(path) << std::string(5000, '\0'); }},
        {"directory",
         [](const std::string& path) {
             fs::remove(path);
             fs::create_directory(path);
         }},
        {"pipe",
         [](const std::string& path) {
             fs::remove(path);
             mkfifo(path.c_str(), 0600);
         }},
        {"loop",
         [](const std::string& path) {
             fs::remove(path);
             fs::create_symlink(path, path);
         }},
    };
    for (const char* file : {"KORE.bmcmap", "KORE_25.bmc", "KORE_65534.bmc", "KORE_100.bmc"}) {
        for (const auto& d : damages) {
            SCOPED_TRACE(std::string(d.name) + " " + file);
            fs::remove_all(root() + "/catalogs");
            env["TAQ_MESSAGES_DIR"] = copied_catalogs();
            for (const char* lang : {"en", "de"})
                d.damage(root() + "/catalogs/messages/" + lang + "/" + file);
            for (const char* lang : {"en", "de"}) {
                env["QENI18N_LANG"] = lang;
                CommandResult result = run({"f"});
                EXPECT_EQ(0, result.status);
                EXPECT_EQ(2, std::count(result.out.begin(), result.out.end(), '\n')) << result.out;
                result = run({"-sev", "C", "f"});
                EXPECT_EQ(0, result.status);
                EXPECT_NE(std::string::npos, result.err.find(" K-16-25-30524 ")) << result.err;
            }
        }
    }
}

} // namespace
