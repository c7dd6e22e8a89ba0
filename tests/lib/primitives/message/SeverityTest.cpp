#include "primitives/message/severity.h"

#include <gtest/gtest.h>

TEST(Severity, OnlyTheKnownNumbersHaveNames) {
    for (const int outside : {-1, 5}) EXPECT_STREQ("", ulog_app_sev_name(outside)) << outside;
    for (const int outside : {-1, 53}) EXPECT_STREQ("", ulog_dbg_lev_name(outside)) << outside;
    EXPECT_STREQ("INFO", ulog_app_sev_name(4));
    EXPECT_STREQ("DBG_RES2", ulog_dbg_lev_name(52));
}
