#include "primitives/strings/argvalue.h"

#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Written down once more, in the order of their codes, which are part of the interface.
constexpr char WORDS[] =
    "-ack -add -addr -addtags -alive -all -any -assoc -authority -category -clear "
    "-cluster-reachability-query -cluster-reachability-response -controller-hb -controller-notification "
    "-controller-notification-response -controller-query -controller-response -configurator -dbg -deltags "
    "-dep -details -disable -display -donot-redirect -donot-use-vip -dump -enable -encoding "
    "-execute-child-action -flush -force -foreground -globalclus -globalsgstate -globalsgstate-ack -grpdep "
    "-grpstate -gui -help -ignore -ignore-shared -info -install -integer -ipaddrs -json -keylist -lang -list "
    "-listapp -msgid -noprompt -notify-config-update -offline -oname -online -otype -parameters -path -ping "
    "-port -progress -propagate -reject-subtasks -request-snapshot -request-state-update -run-as-service "
    "-scalar -send -sev -showplan -showsla -snapshot -snapshot-ack -start -state -stop -string -subtasks "
    "-switch -tag -tail -takeover -trace -uninstall -update -update-subtasks -value -taq -vector -verify "
    "-version -vminfo -vmstate -wait";

// Every prefix of every word stands for the one word that it begins, and for none when there are more.
TEST(Argvalue, WordsAndTheirUnambiguousPrefixesHaveCodes) {
    std::istringstream in(WORDS);
    const std::vector<std::string> words{std::istream_iterator<std::string>(in), {}};
    ASSERT_EQ(97u, words.size());
    for (int code = 0; code < 97; ++code) {
        const std::string& word = words[static_cast<size_t>(code)];
        EXPECT_EQ(word, argname(code));
        for (size_t length = 0; length <= word.size(); ++length) {
            const std::string prefix = word.substr(0, length);
            int begun = 0;
            for (const std::string& other : words) begun += other == prefix ? 100 : other.starts_with(prefix);
            if (length < word.size() && begun >= 100) continue; // another word
            EXPECT_EQ(length == word.size() || begun == 1 ? code : 97, argvalue(prefix.c_str())) << prefix;
        }
    }
    for (const int code : {-1, 97}) EXPECT_STREQ("unknown argument", argname(code));
    EXPECT_EQ(ARG_TAQ, argvalue("-taq"));
}

TEST(Argvalue, OtherWordsAreErrors) {
    for (const char* word : {"tail", "-tailx", "-TAIL", "--tail", "-tail "})
        EXPECT_EQ(ARG_ERROR, argvalue(word)) << word;
    EXPECT_EQ(ARG_ERROR, argvalue(nullptr));
    for (const char* s : {"", "   "}) EXPECT_EQ(1, is_blank(s)) << s;
    for (const char* s : {"\t", " a ", "\n"}) EXPECT_EQ(0, is_blank(s)) << s;
    EXPECT_EQ(1, is_blank(nullptr));
}

} // namespace
