// A catalog root of its own for each test, an open handle with short verbs, and the process locale.
#pragma once

#include <clocale>

#include "i18n/common/i18n.h"
#include "support/CatalogBuilder.h"
#include "support/Prelude.h"
#include "support/TempDir.h"

struct I18nTest : testing::Test {
    void SetUp() override {
        for (const char* name : {"QENI18N_LANG", "LC_ALL", "LC_MESSAGES", "LANG"}) unsetenv(name);
        setenv("LOCPATH", TAQ_TEST_LOCALES, /*overwrite=*/1);
        std::setlocale(LC_ALL, "C");
    }
    void TearDown() override {
        i18nClose(&handle);
        std::setlocale(LC_ALL, "C");
    }

    CatalogTree tree(const std::string& language = "en") const { return {root, language}; }
    int open(const char* language = "en") { return i18nOpen(&handle, root.c_str(), "KORE", language); }

    // The text of a safe lookup, or "<result code>". All forms must agree.
    std::string text(uint32_t category, uint32_t number, const std::vector<const char*>& args = {}) {
        const char* six[6] = {};
        std::copy(args.begin(), args.end(), six);
        char* p = nullptr;
        int32_t size = -1;
        int rc = i18nGetSafeMsg(&handle, category, number, &p, &size, six[0], six[1], six[2], six[3], six[4],
                                six[5]);
        const std::string result = shown(rc, p, size);

        const std::vector<std::string_view> views(args.begin(), args.end());
        rc = i18nGetSafeMsgViews(&handle, category, number, &p, &size, views.data(), views.size());
        EXPECT_EQ(result, shown(rc, p, size));
        char line[4095] = "";
        size_t len = 1;
        const auto within = [&](size_t room) {
            rc = i18nFormatSafeTo(&handle, category, number, views.data(), views.size(), line, room, &len);
            return rc == I18N_SOK ? std::string(line, len) : shown(rc, nullptr, static_cast<int32_t>(len));
        };
        EXPECT_EQ(result, within(sizeof line));
        if (const size_t needed = len; needed > 0) {
            line[needed - 1] = '#';
            EXPECT_EQ("<10>", within(needed - 1)); // I18N_EBUFSIZE
            EXPECT_EQ('#', line[needed - 1]);
            EXPECT_EQ(result, within(needed));
        }
        return result;
    }
    static std::string shown(int rc, const char* p, int32_t size) {
        EXPECT_TRUE(rc == I18N_SOK ? p[size - 1] == '\0' : p == nullptr && size == 0);
        if (rc != I18N_SOK) return "<" + std::to_string(rc) + ">";
        return {p, static_cast<size_t>(size) - 1};
    }

    const TempDir dir;
    const std::string root = dir.path();
    void* handle = nullptr;
};
