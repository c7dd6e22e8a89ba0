#include "i18n/common/bmcmap.h"

#include "I18nFixture.h"

// Eight lines of 509 characters with what ends each, and a last one: 8 * 510 + last bytes of a value.
static std::string nine_lines(const char* end, size_t last) {
    std::string text;
    for (int i = 0; i < 8; ++i) text += std::string(509, 'v') + end;
    return text + std::string(last, 'v');
}

TEST(MapEntry, IsReadFromItsLines) {
    const std::tuple<const char*, std::string, std::string> cases[] = {
        // and "name|value", or "<result code>"
        {"blanks beside the separator stay", " \tn = v \r\n", "n | v"},
        {"second separator ends the value", "n=v:w\n", "n|v"},
        {"leading separators are skipped", "=:n=v\n", "n|v"},
        {"comments and blank lines", "# c=d\n \t\r\n  !x\n\nn=v\n", "n|v"},
        {"continued twice", "n=a\\\nb\\\nc\n", "n|ab c"},
        {"continuation is not split", "n=a=b\\\n c:d=e \n", "n|ac:d=e"},
        {"last line without newline", "n=v", "<12>"},
        {"continued into the end", "n=v\\\n", "<12>"},
        {"NUL byte", std::string("n=\0v\n", 5), "<6>"},
        {"511 bytes are one line", "n=\\\n" + std::string(511, 'y') + "\n", "n|" + std::string(511, 'y')},
        {"the rest is another line", "n=" + std::string(509, 'v') + "m=w\n", "n|" + std::string(509, 'v')},
        {"4095 bytes", "n=\\\n" + nine_lines("\\\n", 15) + "\n", "n|" + nine_lines(" ", 15)},
        {"4096 bytes", "n=\\\n" + nine_lines("\\\n", 16) + "\n", "<6>"},
    };
    for (const auto& [trace, text, expect] : cases) {
        FILE* fp = fmemopen(const_cast<char*>(text.data()), text.size(), "rb");
        i18n_string name, value;
        const int rc = get_next_entry(fp, &name, &value);
        fclose(fp);
        const std::string entry = std::string(name.c_str()) + "|" + value.c_str();
        EXPECT_EQ(expect, rc == I18N_SOK ? entry : "<" + std::to_string(rc) + ">") << trace;
    }
}

using MapFile = I18nTest;

TEST_F(MapFile, WrongContentsAreRefused) {
    const std::string head = "language=en\nKORE=a\n", group = "a.v=1\na.c=7\na.l=1\na.h=2\n";
    const std::tuple<const char*, std::string, int> cases[] = {
        {"upper case, colons, signs and blanks in numbers", "LANGUAGE:EN\nkore:a\na:1\n1:7x\n2: +1\n3:2\n",
         I18N_SOK},
        {"blanks around the first separator", "language = en\nKORE=a\n" + group, I18N_EBMC},
        {"other language", "language=de\nKORE=a\n" + group, I18N_ELANGMISMATCH},
        {"no catalogs", "language=en\nKORE=  \n" + group, I18N_EBMC},
        {"fewer groups than names", "language=en\nKORE=a  b\n" + group, I18N_EBMC},
        {"no final newline", head + "a.v=1\na.c=7\na.l=1\na.h=2", I18N_EBMC},
        {"base name leaves the directory", head + "below/a.v=1\na.c=7\na.l=1\na.h=2\n", I18N_EBMC},
    };
    for (const auto& [trace, map, expect] : cases) {
        SCOPED_TRACE(trace);
        tree().write(map);
        EXPECT_EQ(expect, open());
        EXPECT_EQ(expect == I18N_SOK, handle != nullptr);
        i18nClose(&handle);
    }
}

TEST_F(MapFile, MissingPlacesHaveTheirCodes) {
    const std::string before = root + "/file";
    std::ofstream(before) << "x";
    EXPECT_EQ(I18N_ENODIR, i18nOpen(&handle, before.c_str(), "KORE", "en")); // a file
    EXPECT_EQ(I18N_ENODIR, open());                                          // no "messages"
    tree().catalog("core", 25, {}).write();
    EXPECT_EQ(I18N_ENOLANG, open("fr"));
    for (const char* lang : {".", "..", "en/", "../messages/en", "/"})
        EXPECT_EQ(I18N_ENOLANG, open(lang)) << lang;
    EXPECT_EQ(I18N_EBMC, i18nOpen(&handle, root.c_str(), "OTHER", "en"));
    const std::string map = tree().map_path();
    std::filesystem::remove(map);
    ASSERT_EQ(0, mkfifo(map.c_str(), 0600)); // must not wait for a writer
    EXPECT_EQ(I18N_EBMC, open());
    EXPECT_EQ(nullptr, handle);
}
