#include "i18n/common/i18n_format.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

TEST(Formatter, PutsArgumentsWhereTheTextSays) {
    const struct {
        const char* text;
        std::vector<std::string_view> args;
        const char* expect;
        size_t specifiers;
    } cases[] = {
        {"", {}, "", 0},
        {"%s", {"a"}, "a", 1},
        {"%s%s-%s.", {"a", "", "c"}, "a-c.", 3},
        {"%2$s before %1$s", {"a", "b"}, "b before a", 2},
        {"%s then %1$s then %s", {"a", "b"}, "a then a then b", 2}, // "%s" hides the positions
        {"100%% of %s", {"a"}, "100% of a", 1},
        {"%%%s", {"a"}, "%a", 1},
        {"%9$s %6$s", {"a", "b", "c", "d", "e", "f"}, "??? f", 2},
        {"%s %s", {"a"}, "a ???", 2},
        {"%d %5s %n %0$s %10$s %$s %", {"a"}, "%d %5s %n %0$s %10$s %$s %", 1},
        {"%1$", {"a"}, "%1$", 0},
        {"%1$d %x$s", {"a"}, "%1$d %x$s", 1}, // counted by its "$s", but no position
        {"%$s$s", {}, "%$s$s", 0},
        {"\xE3\x81\x82%s", {"\xFF%s"}, "\xE3\x81\x82\xFF%s", 1}, // an argument is never taken for a text
        {"0123456789abcdefXYZ%s",
         {"0123456789abcdefghijklmnopqrstuvwxyz"},
         "0123456789abcdefXYZ0123456789abcdefghijklmnopqrstuvwxyz",
         1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.specifiers, i18n_count_string_specifiers(c.text));
        char out[128];
        const size_t whole = std::string_view(c.expect).size();
        for (size_t room = 0; room <= whole + 1; ++room) { // every cut, and never a byte beyond the room
            memset(out, '#', sizeof out);
            const i18n_formatted done = i18n_format(c.text, c.args.data(), c.args.size(), out, room);
            EXPECT_EQ(std::string_view(c.expect).substr(0, room), std::string_view(out, done._size));
            EXPECT_EQ(room < whole, done._cut);
            EXPECT_EQ('#', out[room]);
        }
    }
    EXPECT_EQ(0u, i18n_count_string_specifiers(nullptr));
}

} // namespace
