// The words of the command line and their abbreviations.
#include "primitives/strings/argvalue.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

// Every prefix of every word stands for the one word that it begins, and for none when there are more.
TEST(Argvalue, WordsAndTheirUnambiguousPrefixesHaveCodes) {
    std::vector<std::string> words;
    for (int code = 0; code < 97; ++code) words.push_back(argname(code));
    for (int code = 0; code < 97; ++code) {
        const std::string& word = words[static_cast<size_t>(code)];
        for (size_t length = 0; length <= word.size(); ++length) {
            const std::string prefix = word.substr(0, length);
            int begun = 0;
            for (const std::string& other : words) begun += other == prefix ? 100 : other.starts_with(prefix);
            if (length < word.size() && begun >= 100) continue; // another word
            EXPECT_EQ(length == word.size() || begun == 1 ? code : 97, argvalue(prefix.c_str())) << prefix;
        }
    }
    for (const int code : {-1, 97}) EXPECT_STREQ("unknown argument", argname(code));
    const std::pair<int, const char*> known[] = {{0, "-ack"},       {18, "-configurator"}, {47, "-json"},
                                                 {74, "-snapshot"}, {90, "-taq"},          {96, "-wait"}};
    for (const auto& [code, word] : known) EXPECT_STREQ(word, argname(code));
}

TEST(Argvalue, OtherWordsAreErrors) {
    for (const char* word : {"tail", "-tailx", "-TAIL"}) EXPECT_EQ(ARG_ERROR, argvalue(word)) << word;
    EXPECT_EQ(ARG_ERROR, argvalue(nullptr));
    for (const char* s : {"", "   "}) EXPECT_EQ(1, is_blank(s)) << s;
    for (const char* s : {"\t", " a ", "\n"}) EXPECT_EQ(0, is_blank(s)) << s;
    EXPECT_EQ(1, is_blank(nullptr));
}

} // namespace
