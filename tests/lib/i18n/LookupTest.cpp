#include <fcntl.h>
#include <set>
#include <unistd.h>

#include "I18nFixture.h"

namespace {

using Lookup = I18nTest;

TEST_F(Lookup, ArgumentsThatDoNotFitBecomeQuestionMarks) {
    std::string percents; // too many pieces for the cache
    for (int i = 0; i < 40; ++i) percents += "%%";
    const std::string forty_a = std::string(40, '%') + "a";
    tree()
        .catalog("core", 25,
                 CatalogBuilder()
                     .text(1, "%s on %s")
                     .text(2, "none")
                     .text(3, "%2$s, %1$s")
                     .text(4, "%s%s%s%s%s%s")
                     .text(5, "%s%s%s%s%s%s%s")
                     .text(6, "")
                     .text(7, percents + "%s"))
        .write();
    ASSERT_EQ(I18N_SOK, open());
    const struct {
        u32 number;
        std::vector<const char*> args;
        const char* expect;
    } cases[] = {
        {1, {"a", "b"}, "a on b"},
        {1, {"a"}, "??? on ???"},
        {1, {}, "??? on ???"},
        {1, {"a", "b", "c"}, "??? on ???"},
        {1, {"%s", "%n"}, "%s on %n"},
        {2, {}, "none"},
        {2, {"a"}, "none"},
        {3, {"a", "b"}, "b, a"},
        {3, {"a"}, "???, ???"},
        {4, {"a", "b", "c", "d", "e", "f"}, "abcdef"},
        {5, {"a", "b", "c", "d", "e", "f"}, "<1>"},
        {5, {}, "<1>"},
        {6, {}, ""},
        {6, {"a"}, ""},
        {7, {"a"}, forty_a.c_str()},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.expect, text(25, c.number, c.args)) << c.number << ", " << c.args.size();
    char* p;
    s32 size;
    ASSERT_EQ(I18N_SOK,
              i18nGetSafeMsg(&handle, 25, 1, &p, &size, "a", nullptr, "b")); // the first null ends them
    EXPECT_STREQ("??? on ???", p);
}

// The longest text that is shown: record and arguments, each with one byte for a NUL, stay below 4096.
TEST_F(Lookup, TextAndArgumentsShare4096Bytes) {
    const std::string b4093(4093, 'b'), b4094(4094, 'b'), b4095(4095, 'b'), b2000(2000, 'b');
    tree()
        .catalog("core", 25,
                 CatalogBuilder()
                     .text(1, "%s")
                     .text(2, b4093)
                     .text(3, b4094)
                     .text(4, "%1$s%1$s%2$s")
                     .text(5, b4095 + "%s%s%s"))
        .write();
    ASSERT_EQ(I18N_SOK, open());
    const std::string fits(4091, 'a'), exceeds(4092, 'a'); // 1 + 4091 + 3 is the last below 4096
    EXPECT_EQ(fits, text(25, 1, {fits.c_str()}));
    EXPECT_EQ("???", text(25, 1, {exceeds.c_str()}));
    EXPECT_EQ(b4093, text(25, 2));
    EXPECT_EQ("<1>", text(25, 3));
    EXPECT_EQ("<1>", text(25, 5));
    // A repeated position outgrows the check: cut at the buffer's end. (4 + 3000 + 14 bytes, but 6001 of
    // text)
    const std::string a3000(3000, 'a');
    tree().catalog("core", 25, CatalogBuilder().text(1, "%1$s%1$s")).write();
    i18nClose(&handle);
    ASSERT_EQ(I18N_SOK, open());
    EXPECT_EQ(std::string(4095, 'a'), text(25, 1, {a3000.c_str(), "x"}));
}

TEST_F(Lookup, CallersBufferBoundsTheText) {
    tree().catalog("core", 25, CatalogBuilder().text(1, "<%s>")).write();
    ASSERT_EQ(I18N_SOK, open());
    const std::string_view arg = "abc";
    for (size_t cap = 0; cap <= 6; ++cap) {
        char line[8];
        memset(line, '#', sizeof line);
        size_t len = 99;
        EXPECT_EQ(cap < 5 ? I18N_EBUFSIZE : I18N_SOK,
                  i18nFormatSafeTo(&handle, 25, 1, &arg, 1, line, cap, &len));
        EXPECT_EQ(cap < 5 ? "" : "<abc>", std::string(line, len));
        EXPECT_EQ('#', line[cap]);
    }
}

TEST_F(Lookup, OtherFormsReturnTheTextTheirWay) {
    const std::string b3000(3000, 'b');
    tree()
        .catalog("core", 25, CatalogBuilder().text(1, "%s: %s, 5%%").text(2, b3000).text(3, "%s%s%s%s%s%s%s"))
        .write();
    ASSERT_EQ(I18N_SOK, open());
    char* p = nullptr;
    s32 size = 0;
    for (int i = 0; i < 2;
         ++i) { // read, then kept; what the caller does to a text must not reach the kept one
        ASSERT_EQ(I18N_SOK, i18nGetSimpleMsg(&handle, 25, 1, &p, &size));
        EXPECT_EQ("%s: %s, 5%%", shown(I18N_SOK, p, size));
        *p = 'X';
    }
    ASSERT_EQ(I18N_SOK, i18nGetSimpleMsg(&handle, 25, 2, &p, &size)); // longer than the first buffer
    EXPECT_EQ(b3000, shown(I18N_SOK, p, size));
    ASSERT_EQ(I18N_SOK, i18nGetMsg(&handle, 25, 1, &p, &size, "a", "b"));
    EXPECT_EQ("a: b, 5%", shown(I18N_SOK, p, size));
    ASSERT_EQ(I18N_SOK, i18nGetMsg(&handle, 25, 1, &p, &size, "a", nullptr));
    EXPECT_EQ("a: ???, 5%", shown(I18N_SOK, p, size));
    ASSERT_EQ(I18N_SOK, i18nGetUTF8Msg(&handle, 25, 3, &p, &size, "1", "2", "3", "4", "5", "6"));
    EXPECT_EQ("123456???", shown(I18N_SOK, p, size));
    const std::string a4000(4000, 'a');
    ASSERT_EQ(I18N_SOK, i18nGetMsg(&handle, 25, 1, &p, &size, a4000.c_str(), a4000.c_str()));
    EXPECT_EQ(4096, size);
    EXPECT_EQ(I18N_ENOTFOUND, i18nGetSimpleMsg(&handle, 25, 9, &p, &size));
    EXPECT_EQ("<3>", shown(I18N_ENOTFOUND, p, size));
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
    EXPECT_EQ((std::set<std::string>{"a", "b", "d", "f", "g"}), open_catalogs());
    use("g", 2);
    use("g", 2);
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
    EXPECT_EQ("yes", text(25, 1));
    void* const before = handle;
    EXPECT_EQ(I18N_SOK, i18nChangeLang(&handle, "en"));
    EXPECT_EQ(before, handle);
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
