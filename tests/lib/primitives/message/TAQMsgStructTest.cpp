// Texts from the network, and the names of severities.
#include "primitives/message/TAQMsgStruct.h"
#include "primitives/message/severity.h"

#include <climits>
#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

TEST(TAQMsgStruct, TakesOverOnlyATextOfTheToldLength) {
    const std::tuple<std::string, int32_t, bool> cases[] = {
        {"hello\0"s, 9, true}, {"\0"s, 4, true},  {"hello\0"s, 10, false}, {"hello\0"s, 8, false},
        {"hello!"s, 9, false}, {"\0"s, 3, false}, {"\0"s, INT_MIN, false}, {"hello\0"s, INT_MAX, false}};
    for (const auto& [bytes, len, fits] : cases) {
        auto* buf = new char[bytes.size()]; // exactly the bytes, so that a sanitizer sees a read too far
        bytes.copy(buf, bytes.size());
        TAQMsgStruct* out = reinterpret_cast<TAQMsgStruct*>(1);
        EXPECT_EQ(fits ? MSG_SOK : MSG_EBUFLEN, TAQMsgStruct::from_nwbuffer(out, buf, len)) << len;
        EXPECT_EQ(fits ? len - 4 : -1, out != nullptr ? out->getnwmessagesize() : -1) << len;
        delete out;
    }
    char text[] = "mine"; // stays the caller's
    EXPECT_EQ(4, TAQMsgStruct(text, /*ref=*/true).getnwmessagesize());
}

TEST(Severity, OnlyTheKnownNumbersHaveNames) {
    for (const int outside : {-1, 5, 53}) EXPECT_STREQ("", ulog_app_sev_name(outside)) << outside;
    for (const int outside : {-1, 53}) EXPECT_STREQ("", ulog_dbg_lev_name(outside)) << outside;
    EXPECT_STREQ("INFO", ulog_app_sev_name(4));
    EXPECT_STREQ("DBG_RES2", ulog_dbg_lev_name(52));
}

} // namespace
