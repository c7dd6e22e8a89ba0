#include "primitives/message/severity.h"

#include <gtest/gtest.h>

TEST(Severity, NamesFollowTheNumbers) {
    const struct {
        int number;
        const char *app, *dbg;
    } cases[] = {{0, "CRITICAL", "DBG_1"},
                 {4, "INFO", "DBG_5"},
                 {21, "", "DBG_AGTRACE"},
                 {36, "", "DBG_NT_EVENT"},
                 {52, "", "DBG_RES2"},
                 {53, "", ""},
                 {-1, "", ""}};
    for (const auto& c : cases) {
        EXPECT_STREQ(c.app, ulog_app_sev_name(c.number)) << c.number;
        EXPECT_STREQ(c.dbg, ulog_dbg_lev_name(c.number)) << c.number;
    }
}
