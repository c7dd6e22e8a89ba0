#include <fcntl.h>
#include <set>
#include <unistd.h>

#include "I18nFixture.h"

namespace {

using Lookup = I18nTest;

TEST_F(Lookup, TextsTakeTheirArgumentsWithin4096Bytes) {
    std::string percents; // too many pieces for the cache
    for (int i = 0; i < 40; ++i) percents += "%%";
    const std::string forty = std::string(40, '%') + "a", b4093(4093, 'b');
    const std::string fits(4091, 'a'), exceeds(4092, 'a'), a3000(3000, 'a');
    const char* texts[] = {"%s on %s",       "none", "%2$s, %1$s", "%s%s%s%s%s%s",
                           "%s%s%s%s%s%s%s", "",     "%1$s%1$s",   "%s"};
    CatalogBuilder file;
    for (u32 n = 1; n <= 8; ++n) file.text(n, texts[n - 1]);
    file.text(9, percents + "%s").text(10, b4093).text(11, b4093 + "b").text(12, b4093 + "bb%s%s%s");
    tree().catalog("core", 25, file).write();
    ASSERT_EQ(I18N_SOK, open());
    const struct {
        u32 number;
        std::vector<const char*> args;
        std::string expect;
    } cases[] = {
        {1, {"a", "b"}, "a on b"},
        {1, {"a"}, "??? on ???"},
        {1, {"a", "b", "c"}, "??? on ???"},
        {1, {"%s", "%n"}, "%s on %n"},
        {2, {"a"}, "none"},
        {3, {"a", "b"}, "b, a"},
        {3, {"a"}, "???, ???"},
        {4, {"a", "b", "c", "d", "e", "f"}, "abcdef"},
        {5, {"a", "b", "c", "d", "e", "f"}, "<1>"},
        {5, {}, "<1>"},
        {9, {"a"}, forty},
        // Text and arguments, each with one byte for a NUL, stay below 4096.
        {8, {fits.c_str()}, fits}, // 1 + 4091 + 3
        {8, {exceeds.c_str()}, "???"},
        {10, {}, b4093},
        {11, {}, "<1>"},
        {12, {}, "<1>"},
        {7, {a3000.c_str(), "x"}, std::string(4095, 'a')}, // a repetition outgrows the check: cut
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.expect, text(25, c.number, c.args)) << c.number << ", " << c.args.size();
    char* p;
    s32 size;
    ASSERT_EQ(I18N_SOK,
              i18nGetSafeMsg(&handle, 25, 1, &p, &size, "a", nullptr, "b")); // the first null ends them
    EXPECT_STREQ("??? on ???", p);
}

TEST_F(Lookup, CallersBufferBoundsTheText) {
    tree().catalog("core", 25, CatalogBuilder().text(1, "<%s>")).write();
    ASSERT_EQ(I18N_SOK, open());
    const std::string_view arg = "abc";
    for (size_t cap = 0; cap <= 6; ++cap) {
        char line[8];
        size_t len = 99;
        const int rc = i18nFormatSafeTo(&handle, 25, 1, &arg, 1, line, cap, &len);
        EXPECT_EQ(cap < 5 ? I18N_EBUFSIZE : I18N_SOK, rc);
        EXPECT_EQ(cap < 5 ? "" : "<abc>", std::string(line, len));
    }
}

TEST_F(Lookup, OtherFormsReturnTheTextTheirWay) {
    const std::string b3000(3000, 'b'), a4000(4000, 'a');
    tree()
        .catalog("core", 25, CatalogBuilder().text(1, "%s: %s, 5%%").text(2, b3000).text(3, "%s%s%s%s%s%s%s"))
        .write();
    ASSERT_EQ(I18N_SOK, open());
    char* p = nullptr;
    s32 size = 0;
    for (int i = 0; i < 2; ++i) { // read, then kept
        ASSERT_EQ(I18N_SOK, i18nGetSimpleMsg(&handle, 25, 1, &p, &size));
        EXPECT_EQ("%s: %s, 5%%", shown(I18N_SOK, p, size));
        *p = 'X'; // must not reach the kept one
    }
    const auto expect = [&](const std::string& text, int rc) { EXPECT_EQ(text, shown(rc, p, size)); };
    expect(b3000, i18nGetSimpleMsg(&handle, 25, 2, &p, &size)); // longer than the first buffer
    expect("<3>", i18nGetSimpleMsg(&handle, 25, 9, &p, &size));
    expect("a: b, 5%", i18nGetMsg(&handle, 25, 1, &p, &size, "a", "b"));
    expect("a: ???, 5%", i18nGetMsg(&handle, 25, 1, &p, &size, "a", nullptr));
    expect("123456???", i18nGetUTF8Msg(&handle, 25, 3, &p, &size, "1", "2", "3", "4", "5", "6"));
    expect(a4000 + ": " + a4000.substr(0, 93),
           i18nGetMsg(&handle, 25, 1, &p, &size, a4000.c_str(), a4000.c_str()));
}

TEST_F(Lookup, WithoutHandleNothingIsFound) {
    char* p = nullptr;
    s32 size = 0;
    u32 lowest, highest;
    EXPECT_EQ("<4>", text(25, 1));
    for (void** none : {static_cast<void**>(nullptr), &handle}) {
        EXPECT_EQ(I18N_EFAIL, i18nClose(none));
        EXPECT_EQ(I18N_EBADHANDLE, i18nChangeLang(none, "en"));
        EXPECT_EQ(I18N_EBADHANDLE, i18nGetSimpleMsg(none, 25, 1, &p, &size));
        EXPECT_EQ(I18N_EBADHANDLE, i18nGetMsg(none, 25, 1, &p, &size));
        EXPECT_EQ(I18N_EFAIL, i18nGetOpenHandleCount(none));
        EXPECT_EQ(I18N_EFAIL, i18nGetIDRange(none, 25, &lowest, &highest));
    }
}

// Base names of the catalogs that the process has open.
std::set<std::string> open_catalogs() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const auto target = std::filesystem::read_symlink(entry.path(), gone);
        if (target.extension() != ".bmc") continue;
        names.insert(target.stem());
        EXPECT_NE(0, fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC);
    }
    return names;
}

TEST_F(Lookup, LeastUsedOfSixCatalogsIsClosed) {
    CatalogTree t = tree();
    for (const char* name : {"a", "b", "c", "d", "e", "f", "g"})
        t.catalog(name, static_cast<u32>(*name), CatalogBuilder().text(1, name).text(2, name).text(3, name));
    t.write();
    ASSERT_EQ(I18N_SOK, open());
    char* p;
    s32 size;
    const auto use = [&](const char* names, u32 number) {
        for (; *names; ++names)
            EXPECT_EQ(I18N_SOK, i18nGetSimpleMsg(&handle, static_cast<u32>(*names), number, &p, &size))
                << *names;
    };
    use("abcde", 1);
    use("aabbdde", 1); // kept texts count as uses; c has the fewest
    EXPECT_EQ(5, i18nGetOpenHandleCount(&handle));
    use("f", 1);
    EXPECT_EQ((std::set<std::string>{"a", "b", "d", "e", "f"}), open_catalogs());
    use("ff", 2);
    use("c", 2); // a text not seen yet: c is opened again, and e with two uses has the fewest
    EXPECT_EQ((std::set<std::string>{"a", "b", "c", "d", "f"}), open_catalogs());
    use("g", 1); // c has one use
    use("e", 1); // seen before, so its file stays closed
    use("gg", 2);
    use("c", 3); // a, b, d, f and g have three uses each: the first slot goes
    EXPECT_EQ((std::set<std::string>{"b", "c", "d", "f", "g"}), open_catalogs());
    EXPECT_EQ(5, i18nGetOpenHandleCount(&handle));
    EXPECT_EQ(I18N_SOK, i18nClose(&handle));
    EXPECT_EQ(std::set<std::string>{}, open_catalogs());
}

TEST_F(Lookup, SeenTextsNeedNoFile) {
    CatalogBuilder file;
    for (u32 n = 1; n <= 2000; ++n) file.text(n, "number " + std::to_string(n) + " of %s");
    tree().catalog("core", 25, file).write();
    ASSERT_EQ(I18N_SOK, open());
    for (int round = 0; round < 2; ++round) // far more texts than are kept, so that they displace each other
        for (u32 n = 1; n <= 2000; ++n)
            ASSERT_EQ("number " + std::to_string(n) + " of x", text(25, n, {"x"}));
    std::filesystem::resize_file(tree().dir() + "core.bmc", 0);
    for (u32 n = 1900; n <= 2000; ++n) ASSERT_EQ("number " + std::to_string(n) + " of x", text(25, n, {"x"}));
    EXPECT_EQ("<4>", text(25, 1, {"x"}));
}

TEST_F(Lookup, LanguageChangesAndComesBack) {
    tree("en").catalog("core", 25, CatalogBuilder().text(1, "yes")).write();
    tree("de").catalog("core", 25, CatalogBuilder().text(1, "ja")).write();
    ASSERT_EQ(I18N_SOK, open());
    EXPECT_EQ(I18N_SOK, i18nChangeLang(&handle, "en"));
    EXPECT_EQ("yes", text(25, 1));
    EXPECT_EQ(I18N_SOK, i18nChangeLang(&handle, "de"));
    EXPECT_EQ("ja", text(25, 1));
    EXPECT_EQ(I18N_EFAIL, i18nChangeLang(&handle, "xx"));
    EXPECT_EQ("ja", text(25, 1));
    setenv("QENI18N_LANG", "en", 1);
    EXPECT_EQ(I18N_SOK, i18nChangeLang(&handle, "")); // from the environment
    EXPECT_EQ("yes", text(25, 1));
    std::filesystem::remove_all(tree("en").dir());
    EXPECT_EQ(I18N_EFAIL, i18nChangeLang(&handle, "xx"));
    EXPECT_EQ(nullptr, handle);
}

} // namespace
