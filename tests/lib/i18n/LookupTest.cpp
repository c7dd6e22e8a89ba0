#include <set>

#include "I18nFixture.h"

using Lookup = I18nTest;

TEST_F(Lookup, TextsTakeTheirArgumentsWithin4096Bytes) {
    const std::string percents(80, '%'); // too many pieces for the cache
    const std::string b4093(4093, 'b'), fits(4091, 'a'), exceeds(4092, 'a'), a3000(3000, 'a');
    const std::tuple<std::string, std::vector<const char*>, std::string> cases[] = {
        {"%s on %s", {"a"}, "??? on ???"},
        {"%s on %s", {"%s", "%n"}, "%s on %n"}, // an argument is never taken for a text
        {"%2$s, %1$s", {"a", "b"}, "b, a"},
        {"%s then %1$s then %s", {"a", "b"}, "a then a then b"}, // "%s" hides the positions
        {"%9$s", {"a"}, "???"},
        {"100%%%s", {"a"}, "100%a"},
        {"%d %5s %n %0$s %10$s %$s %", {"a"}, "%d %5s %n %0$s %10$s %$s %"},
        {"%s%s%s%s%s%s", {"a", "b", "c", "d", "e", "f"}, "abcdef"},
        {"%s%s%s%s%s%s", {"a"}, std::string(18, '?')},
        {"%s%s%s%s%s%s%s", {"a", "b", "c", "d", "e", "f"}, "<1>"},
        {percents + "%s", {"a"}, std::string(40, '%') + "a"},
        // Text and arguments, each with one byte for a NUL, stay below 4096.
        {"%s", {fits.c_str()}, fits}, // 1 + 4091 + 3
        {"%s", {exceeds.c_str()}, "???"},
        {b4093, {}, b4093},
        {b4093 + "b", {}, "<1>"},
        {"%1$s%1$s", {a3000.c_str(), "x"}, std::string(4095, 'a')}, // a repetition outgrows the check: cut
    };
    CatalogBuilder file;
    uint32_t number = 0;
    for (const auto& row : cases) file.text(++number, std::get<0>(row));
    tree().catalog("core", 25, file).write();
    ASSERT_EQ(I18N_SOK, open());
    number = 0;
    for (const auto& [format, args, expect] : cases)
        EXPECT_EQ(expect, text(25, ++number, args)) << format << args.size();
    char* p;
    int32_t size;
    ASSERT_EQ(I18N_SOK, i18nGetSafeMsg(&handle, 25, 1, &p, &size, "a", nullptr, "b"));
    EXPECT_STREQ("??? on ???", p) << "the first null ends them";
}

TEST_F(Lookup, OtherFormsReturnTheTextTheirWay) {
    const std::string b3000(3000, 'b'), a4000(4000, 'a');
    tree()
        .catalog("core", 25, CatalogBuilder().text(1, "%s: %s, 5%%").text(2, b3000).text(3, "%s%s%s%s%s%s%s"))
        .write();
    ASSERT_EQ(I18N_SOK, open());
    char* p = nullptr;
    int32_t size = 0;
    for (int i = 0; i < 2; ++i) { // read, then kept
        ASSERT_EQ(I18N_SOK, i18nGetSimpleMsg(&handle, 25, 1, &p, &size));
        EXPECT_EQ("%s: %s, 5%%", shown(I18N_SOK, p, size));
        *p = 'X'; // must not reach the kept one
    }
    const auto expect = [&](const std::string& text, int rc) { EXPECT_EQ(text, shown(rc, p, size)); };
    expect(b3000, i18nGetSimpleMsg(&handle, 25, 2, &p, &size)); // longer than the first buffer
    uint32_t lowest = 0, highest = 0;
    EXPECT_EQ(I18N_SOK, i18nGetIDRange(&handle, 25, &lowest, &highest));
    EXPECT_EQ(1u * 65536 + 65535, lowest * 65536 + highest);
    EXPECT_EQ(I18N_EFAIL, i18nGetIDRange(&handle, 26, &lowest, &highest));
    expect("a: ???, 5%", i18nGetMsg(&handle, 25, 1, &p, &size, "a", nullptr));
    expect("123456???", i18nGetUTF8Msg(&handle, 25, 3, &p, &size, "1", "2", "3", "4", "5", "6"));
    expect(a4000 + ": " + a4000.substr(0, 93),
           i18nGetMsg(&handle, 25, 1, &p, &size, a4000.c_str(), a4000.c_str()));
}

// Base names of the catalogs that the process has open.
static std::set<std::string> open_catalogs() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const auto target = std::filesystem::read_symlink(entry.path(), gone);
        if (target.extension() != ".bmc") continue;
        names.insert(target.stem());
        const int fd = std::stoi(entry.path().filename());
        EXPECT_NE(0, fcntl(fd, F_GETFD) & FD_CLOEXEC);
        EXPECT_GT(fd, STDERR_FILENO);
    }
    return names;
}

TEST_F(Lookup, LeastUsedOfSixCatalogsIsClosed) {
    CatalogTree t = tree();
    for (const char* name : {"a", "b", "c", "d", "e", "f"})
        t.catalog(name, static_cast<uint32_t>(*name),
                  CatalogBuilder().text(1, name).text(2, name).text(3, name));
    t.write();
    const int standard_input = dup(STDIN_FILENO);
    close(STDIN_FILENO); // the place of the next descriptor
    ASSERT_EQ(I18N_SOK, open());
    char* p;
    int32_t size;
    const auto use = [&](const char* names, uint32_t number) {
        for (; *names; ++names)
            EXPECT_EQ(I18N_SOK, i18nGetSimpleMsg(&handle, static_cast<uint32_t>(*names), number, &p, &size))
                << *names;
    };
    use("abcde", 1);
    use("aabbdde", 1); // kept texts count as uses; c has the fewest
    EXPECT_EQ(5, i18nGetOpenHandleCount(&handle));
    use("f", 1);
    EXPECT_EQ((std::set<std::string>{"a", "b", "d", "e", "f"}), open_catalogs());
    use("c", 1); // seen before, so its file stays closed
    use("ff", 2);
    use("c", 2); // a text not seen yet: c is opened again, and e with two uses has the fewest
    EXPECT_EQ((std::set<std::string>{"a", "b", "c", "d", "f"}), open_catalogs());
    EXPECT_EQ(5, i18nGetOpenHandleCount(&handle));
    i18nClose(&handle);
    EXPECT_EQ(std::set<std::string>{}, open_catalogs());
    dup2(standard_input, STDIN_FILENO);
    close(standard_input);
}

TEST_F(Lookup, SeenTextsNeedNoFile) {
    CatalogBuilder file;
    for (uint32_t n = 1; n <= 2000; ++n) file.text(n, "number " + std::to_string(n) + " of %s");
    file.damage([](std::string& bytes) { bytes.resize(70'000); }); // too large to be read whole
    tree().catalog("core", 25, file).write();
    ASSERT_EQ(I18N_SOK, open());
    for (int round = 0; round < 2; ++round) // far more texts than are kept, so that they displace each other
        for (uint32_t n = 1; n <= 2000; ++n)
            ASSERT_EQ("number " + std::to_string(n) + " of x", text(25, n, {"x"}));
    std::filesystem::resize_file(tree().dir() + "core.bmc", 0);
    for (uint32_t n = 1500; n <= 2000; ++n)
        ASSERT_EQ("number " + std::to_string(n) + " of x", text(25, n, {"x"}));
    EXPECT_EQ("<4>", text(25, 1, {"x"}));
}

// Of a file that is read whole, a text that was never asked for can still be shown when the file is cut.
TEST_F(Lookup, CatalogUpTo64KibIsReadWhole) {
    for (const size_t size : {65535u, 65536u, 65537u}) {
        CatalogBuilder file;
        file.text(1, "first").text(2, "last").damage([=](std::string& bytes) { bytes.resize(size); });
        tree().catalog("core", 25, file).write();
        ASSERT_EQ(I18N_SOK, open());
        EXPECT_EQ("first", text(25, 1));
        std::filesystem::resize_file(tree().dir() + "core.bmc", 64);
        EXPECT_EQ(size <= 65536 ? "last" : "<4>", text(25, 2)) << size;
        i18nClose(&handle);
    }
}

TEST_F(Lookup, LanguageChangesAndComesBack) {
    tree("en").catalog("core", 25, CatalogBuilder().text(1, "yes")).write();
    tree("de").catalog("core", 25, CatalogBuilder().text(1, "ja")).write();
    ASSERT_EQ(I18N_SOK, open());
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
    EXPECT_EQ("<4>", text(25, 1));
}
