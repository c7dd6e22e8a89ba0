#include "primitives/message/TAQMsgStruct.h"

#include <climits>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

TEST(TAQMsgStruct, TakesOverOnlyATextOfTheToldLength) {
    const struct {
        const char* name;
        std::string bytes;
        int32_t len;
        msg_result expect;
    } cases[] = {
        {"agrees", "hello\0"s, 9, MSG_SOK},
        {"empty text", "\0"s, 4, MSG_SOK},
        {"one too long", "hello\0"s, 10, MSG_EBUFLEN},
        {"one too short", "hello\0"s, 8, MSG_EBUFLEN},
        {"no NUL in the bytes told", "hello!"s, 9, MSG_EBUFLEN},
        {"below the overhead", "\0"s, 3, MSG_EBUFLEN},
        {"negative", "\0"s, INT_MIN, MSG_EBUFLEN},
        {"NUL earlier than a huge length", "hello\0"s, INT_MAX, MSG_EBUFLEN},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        char* buf = new char[c.bytes.size()]; // exactly the bytes, so that a sanitizer sees a read too far
        std::memcpy(buf, c.bytes.data(), c.bytes.size());
        TAQMsgStruct* out = reinterpret_cast<TAQMsgStruct*>(1);
        EXPECT_EQ(c.expect, TAQMsgStruct::from_nwbuffer(out, buf, c.len));
        EXPECT_EQ(c.expect == MSG_SOK, out != nullptr);
        EXPECT_EQ(c.expect == MSG_SOK ? c.len - 4 : -1, out != nullptr ? out->getnwmessagesize() : -1);
        delete out;
    }
}

TEST(TAQMsgStruct, ReferredTextStaysTheCallers) {
    char text[] = "mine";
    EXPECT_EQ(4, TAQMsgStruct(text, /*ref=*/true).getnwmessagesize());
    EXPECT_STREQ("mine", text);
    EXPECT_DEATH(TAQMsgStruct(nullptr, true), "ASSERTION FAILED.*expression \\(msg\\)");
}

} // namespace
