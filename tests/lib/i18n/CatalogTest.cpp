#include "i18n/common/bmc.h"

#include "I18nFixture.h"

using Catalog = I18nTest;

TEST_F(Catalog, FindsExactlyTheNumbersThatHaveMessages) {
    for (const uint32_t range_count : {0u, 1u, 2u, 3u, 7u, 300u}) {
        CatalogBuilder file;
        for (uint32_t r = 0; r < range_count; ++r) // numbers 10r+5 to 10r+8, of which 10r+7 has an empty slot
            file.text(10 * r + 5, "a").text(10 * r + 6, "b").empty(10 * r + 7).text(10 * r + 8, "d");
        tree().catalog("core", 25, file).write();
        ASSERT_EQ(I18N_SOK, open());
        for (uint32_t n = 0; n < 10 * range_count + 5; ++n) {
            const char* const expect[10] = {"<3>", "<3>", "<3>", "<3>", "<3>", "a", "b", "<3>", "d", "<3>"};
            EXPECT_EQ(n < 5 ? "<3>" : expect[n % 10], text(25, n)) << range_count << " ranges, number " << n;
        }
        EXPECT_EQ("<3>", text(25, 0xFFFFFFFF));
        i18nClose(&handle);
    }
}

// The record of message 2 becomes so long.
static CatalogBuilder longer(CatalogBuilder file, uint32_t size, char fill) {
    return file.put32(92, size).damage([=](std::string& bytes) { bytes.resize(96 + size, fill); });
}

// Two messages: header 0 to 63, range table 64 to 75, slots 76 to 83, records from 84 ("abc" with its
// length, 8 bytes) and 92 ("%s" with its length, 7 bytes).
TEST_F(Catalog, DamageHasItsResult) {
    const CatalogBuilder good = CatalogBuilder().text(1, "abc").text(2, "%s");
    const std::tuple<const char*, CatalogBuilder, std::string, std::string> cases[] = {
        // and messages 1 and 2, without argument
        {"bad magic", CatalogBuilder(good).flip(3), "<6>", "<6>"},
        {"range table cut short", CatalogBuilder(good).truncate(75), "<6>", "<6>"},
        {"range table beyond the file", CatalogBuilder(good).put32(48, 0xFFFFFFF0), "<6>", "<6>"},
        {"product of count and size wraps", CatalogBuilder(good).put32(32, 0x55555556), "<6>", "<6>"},
        {"slots beyond 4 GiB", longer(good, 0xC0000, 0).put32(72, 0xFFFFFFFC).put32(0x4795, 1), "<4>", "<4>"},
        {"record beyond the file", CatalogBuilder(good).put32(76, 0xFFFFFFFE), "<4>", "???"},
        {"text cut short", CatalogBuilder(good).truncate(98), "abc", "<4>"},
        {"length 0", CatalogBuilder(good).put32(84, 0), "<4>", "???"},
        {"length one beyond the file", CatalogBuilder(good).put32(92, 4), "abc", "<4>"},
        {"no NUL at the end", CatalogBuilder(good).put32(84, 3), "<4>", "???"},
        {"longer than can be shown", longer(good, 4095, '\0'), "abc", "<1>"},
        {"likewise, no NUL at the end", longer(good, 4095, 'x'), "abc", "<4>"},
        {"65536 ranges", longer(good, 0xC0000, 0).put32(92, 3).put32(32, 65536), "abc", "???"},
        {"65537 ranges", longer(good, 0xC0000, 0).put32(92, 3).put32(32, 65537), "<6>", "<6>"},
        {"range over all numbers", CatalogBuilder(good).put32(64, 0).put32(68, 0xFFFFFFFF), "???", "<4>"},
    };
    for (const auto& [name, file, first, second] : cases) {
        SCOPED_TRACE(name);
        tree().catalog("core", 25, file).write();
        ASSERT_EQ(I18N_SOK, open());
        EXPECT_EQ(first, text(25, 1));
        EXPECT_EQ(second, text(25, 2));
        testing::internal::CaptureStdout();
        i18nPrintStats(&handle);
        EXPECT_NE(std::string::npos, testing::internal::GetCapturedStdout().find("text buffer: 1024"))
            << "no length makes the buffer grow that the file does not hold or a line cannot show";
        good.write(tree().dir() + "core.bmc");
        EXPECT_TRUE(first != "<6>" || text(25, 1) == "abc") << "a catalog that failed is tried again";
        i18nClose(&handle);
    }
}
