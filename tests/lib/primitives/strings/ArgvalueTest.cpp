// The words of the command line and their abbreviations.
#include "primitives/strings/argvalue.h"
#include "support/Prelude.h"

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
    EXPECT_STREQ("-ack", argname(0));
    for (const char* word : {"tail", "-tailx", "-TAIL", static_cast<const char*>(nullptr)})
        EXPECT_EQ(ARG_ERROR, argvalue(word));
    EXPECT_TRUE(is_blank("   ") && is_blank(nullptr) && !is_blank("\t") && !is_blank(" a "));
}
