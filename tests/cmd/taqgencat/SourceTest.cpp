#include "cmd/taqgencat/Checker.h"
#include "cmd/taqgencat/SourceParser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace gencat;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

// All messages as "category:number=text".
std::vector<std::string> flat(const Messages& messages) {
    std::vector<std::string> lines;
    for (const auto& [category, set] : messages)
        for (const auto& [number, message] : set)
            lines.push_back(std::to_string(category) + ":" + std::to_string(number) + "=" + message.text);
    return lines;
}

Messages parse(const std::string& source) {
    Messages messages;
    Diagnostics faults;
    EXPECT_TRUE(parse_source("s.msg", source, DefaultSet::None, messages, faults));
    EXPECT_THAT(faults.lines(), ElementsAre());
    return messages;
}

TEST(SourceParser, TextsAsTheyAreMeant) {
    const struct {
        const char* name;
        std::string source;
        std::vector<std::string> messages;
    } cases[] = {
        {"comments and blank lines", "$ c\n$\n\n  \t\n$set 1 Words $set 2\n$\tc\n1 a", {"1:1=a"}},
        {"bounds", "$set 001\n0 a\n65535 b\n$set 65535\n0 c\n", {"1:0=a", "1:65535=b", "65535:0=c"}},
        {"one separator", "$set 1\n1  a \n2\tb\n3 \tc\n4 \n", {"1:1= a ", "1:2=b", "1:3=\tc", "1:4="}},
        {"escapes", "$set 1\n1 \\n\\t\\v\\b\\r\\f\\\\\\q\\1\\1013\\377\n", {"1:1=\n\t\v\b\r\f\\q\1A3\xFF"}},
        {"continuation", "$set 1\n1 a\\\n b\\\n\n2 c\\\\\n3 d\n", {"1:1=a b", "1:2=c\\", "1:3=d"}},
        {"quotes",
         "$set 1\n$quote \"\n1 \" a \" \t\n2 \"\"\n3 say \"x\"\n4 \"a\\\"b\"\n$quote\n5 \"c\"\n",
         {"1:1= a ", "1:2=", "1:3=say \"x\"", "1:4=a\"b", "1:5=\"c\""}},
        {"CR LF and byte order mark", "\xEF\xBB\xBF$set 1\r\n1 a\\\r\nb\r\n2 c\r\n", {"1:1=ab", "1:2=c"}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_THAT(flat(parse(c.source)), ElementsAreArray(c.messages));
    }
}

TEST(SourceParser, LaterFileReplacesAndDeletes) {
    Messages messages = parse("$set 1\n1 a\n2 b\n$set 2\n1 c\n");
    Diagnostics faults;
    EXPECT_TRUE(parse_source("t.msg", "$delset 2\n$set 1\n1\n2 B\n3 d\n4\n$set 2\n", DefaultSet::None,
                             messages, faults));
    EXPECT_THAT(flat(messages), ElementsAre("1:2=B", "1:3=d"));
    EXPECT_EQ("t.msg", *messages[1][2].pos.file);
    EXPECT_EQ(4u, messages[1][2].pos.line);
    EXPECT_TRUE(parse_source("u.msg", "5 a\n$set 3\n5 b\n", DefaultSet::First, messages, faults));
    EXPECT_THAT(flat(messages), ElementsAre("1:2=B", "1:3=d", "1:5=a", "3:5=b"));
}

TEST(SourceParser, FaultsNameTheirLine) {
    const char order[] = "message 3 must come before message 4";
    const char number[] = "a message number is a decimal from 0 to 65535 with a blank behind it";
    const char set[] = "$set takes a category from 1 to 65535";
    const char quote[] = "$quote takes one ASCII character other than a backslash";
    const char nul[] = "a NUL byte would end the text";
    const struct {
        std::string source;
        int line;
        std::string reason;
    } cases[] = {{"1 a\n", 1, "a message stands outside any set; $set must come first"},
                 {"$set 1\n$delset 2\n1 a\n", 3, "a message stands outside any set; $set must come first"},
                 {"$set 0\n1 a\n2 b\n", 1, set},
                 {"$set 4294967297\n", 1, set},
                 {"$quote \\\n", 1, quote},
                 {"$set 2\n$set 2\n", 2, "set 2 must come before set 2"},
                 {"$delset 0\n", 1, "$delset takes a category from 1 to 65535"},
                 {"$sets 1\n", 1, "unknown directive; a comment has a blank behind $"},
                 {"$quote \xC2\xAB\n", 1, quote},
                 {" 1 a\n", 1, "a line begins with a message number or with $"},
                 {"$set 1\n65536 a\n", 2, number},
                 {"$set 1\n4 a\n3 b\n", 3, order},
                 {"$set 1\n4 a\\\n\\\nc\n4 b\n", 5, "message 4 is given twice"},
                 {"$set 1\n1 a\\000b\n", 2, nul},
                 {std::string("$set 1\n1 a\0b\n", 13), 2, nul},
                 {std::string("$set 1\n1 a\\\0b\n", 14), 2, nul},
                 {"$set 1\n1 \\400\n", 2, "an octal escape goes up to \\377"},
                 {"$set 1\n1 a\\", 2, "the text ends in a backslash"},
                 {"$set 1\n$quote '\n1 'a\n", 3, "the closing quote is missing"},
                 {"$set 1\n$quote '\n1 'a'b\n", 3, "something follows the closing quote"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        Messages messages;
        Diagnostics faults;
        EXPECT_FALSE(parse_source("dir/s.msg", c.source, DefaultSet::None, messages, faults));
        EXPECT_THAT(faults.lines(), ElementsAre("dir/s.msg:" + std::to_string(c.line) + ": " + c.reason));
    }
}

TEST(Checker, RefusesWhatTheLookupCannotFill) {
    const std::string stray = "only %s, %1$s to %6$s and %% may follow a percent sign";
    const std::string once = "each position from %1$s to the highest is used exactly once";
    const std::string mixed = "%s and positions such as %1$s are mixed";
    const std::string doubled = "%% must not stand before what looks like a specifier";
    const std::string room = "the text and its arguments do not fit 4096 bytes";
    const auto x = [](size_t n) { return std::string(n, 'x'); };
    const struct {
        std::string text, reason; // no reason: accepted
    } cases[] = {{"", ""},
                 {"plain $s $1", ""},
                 {"%s%s%s%s%s%s", ""},
                 {"%% %s%% %%%%", ""},
                 {"%s%s%s%s%s%s%s", "more than six specifiers"},
                 {"%1$s %1$s", once},
                 {"%1$s %3$s", once},
                 {"%s %2$s", mixed},
                 {"%%1$s", doubled},
                 {"%d", stray},
                 {"%.3s", stray},
                 {"100%", stray},
                 {"%%%", stray},
                 {"\xFF", "not valid UTF-8"},
                 {x(4088) + "%s", ""},
                 {x(4089) + "%s", room}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text.substr(0, 40));
        Messages messages;
        messages[7][3] = {c.text, {std::make_shared<const std::string>("f"), 9}};
        Diagnostics faults;
        EXPECT_EQ(c.reason.empty(), check_texts(messages, faults));
        std::vector<std::string> expected;
        if (!c.reason.empty()) expected.push_back("f:9: message 3 of set 7: " + c.reason);
        EXPECT_EQ(expected, faults.lines());
    }
}

TEST(Checker, TranslationsKeepTheMessagesAndTheirSpecifiers) {
    const Messages reference = parse("$set 1\n1 %s %s\n2 none\n3 %s\n$set 2\n1 x\n");
    Messages translation;
    Diagnostics faults;
    ASSERT_TRUE(
        parse_source("t.msg", "$set 1\n1 %2$s %1$s\n2 %s\n4 new\n", DefaultSet::None, translation, faults));
    EXPECT_FALSE(check_translation(translation, reference, faults));
    EXPECT_THAT(faults.lines(), ElementsAre("t.msg:3: message 2 of set 1 has 1 specifiers, the reference 0",
                                            "t.msg:4: message 4 of set 1 is not in the reference",
                                            "s.msg:4: message 3 of set 1 has no translation",
                                            "s.msg:6: message 1 of set 2 has no translation"));
    EXPECT_TRUE(check_translation(reference, reference, faults));
}

} // namespace
