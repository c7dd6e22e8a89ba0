#include "primitives/strings/argvalue.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

// Written down once more: the codes are part of the interface.
const std::vector<std::string> words = {"-ack",
                                        "-add",
                                        "-addr",
                                        "-addtags",
                                        "-alive",
                                        "-all",
                                        "-any",
                                        "-assoc",
                                        "-authority",
                                        "-category",
                                        "-clear",
                                        "-cluster-reachability-query",
                                        "-cluster-reachability-response",
                                        "-controller-hb",
                                        "-controller-notification",
                                        "-controller-notification-response",
                                        "-controller-query",
                                        "-controller-response",
                                        "-configurator",
                                        "-dbg",
                                        "-deltags",
                                        "-dep",
                                        "-details",
                                        "-disable",
                                        "-display",
                                        "-donot-redirect",
                                        "-donot-use-vip",
                                        "-dump",
                                        "-enable",
                                        "-encoding",
                                        "-execute-child-action",
                                        "-flush",
                                        "-force",
                                        "-foreground",
                                        "-globalclus",
                                        "-globalsgstate",
                                        "-globalsgstate-ack",
                                        "-grpdep",
                                        "-grpstate",
                                        "-gui",
                                        "-help",
                                        "-ignore",
                                        "-ignore-shared",
                                        "-info",
                                        "-install",
                                        "-integer",
                                        "-ipaddrs",
                                        "-json",
                                        "-keylist",
                                        "-lang",
                                        "-list",
                                        "-listapp",
                                        "-msgid",
                                        "-noprompt",
                                        "-notify-config-update",
                                        "-offline",
                                        "-oname",
                                        "-online",
                                        "-otype",
                                        "-parameters",
                                        "-path",
                                        "-ping",
                                        "-port",
                                        "-progress",
                                        "-propagate",
                                        "-reject-subtasks",
                                        "-request-snapshot",
                                        "-request-state-update",
                                        "-run-as-service",
                                        "-scalar",
                                        "-send",
                                        "-sev",
                                        "-showplan",
                                        "-showsla",
                                        "-snapshot",
                                        "-snapshot-ack",
                                        "-start",
                                        "-state",
                                        "-stop",
                                        "-string",
                                        "-subtasks",
                                        "-switch",
                                        "-tag",
                                        "-tail",
                                        "-takeover",
                                        "-trace",
                                        "-uninstall",
                                        "-update",
                                        "-update-subtasks",
                                        "-value",
                                        "-taq",
                                        "-vector",
                                        "-verify",
                                        "-version",
                                        "-vminfo",
                                        "-vmstate",
                                        "-wait"};

TEST(Argvalue, EveryWordHasItsCode) {
    ASSERT_EQ(97u, words.size());
    for (int i = 0; i < 97; ++i) {
        EXPECT_EQ(i, argvalue(words[static_cast<size_t>(i)].c_str())) << words[static_cast<size_t>(i)];
        EXPECT_EQ(words[static_cast<size_t>(i)], argname(i));
    }
    for (const int value : {-1, 97, 1000}) EXPECT_STREQ("unknown argument", argname(value));
    EXPECT_EQ(ARG_CLUSTER_REACHABILITY_QUERY, argvalue("-cluster-reachability-query"));
    EXPECT_EQ(ARG_DONOT_USE_VIP, argvalue("-donot-use-vip"));
    EXPECT_EQ(ARG_TAQ, argvalue("-taq"));
}

// Every prefix of every word: it stands for the one word that it begins, and for none when there are more.
TEST(Argvalue, PrefixesCountWhenUnambiguous) {
    for (const std::string& word : words)
        for (size_t length = 0; length < word.size(); ++length) {
            const std::string prefix = word.substr(0, length);
            if (std::find(words.begin(), words.end(), prefix) != words.end()) continue;
            const auto begins = [&](const std::string& w) { return w.starts_with(prefix); };
            const bool unique = std::count_if(words.begin(), words.end(), begins) == 1;
            const auto first = std::find_if(words.begin(), words.end(), begins) - words.begin();
            EXPECT_EQ(unique ? static_cast<int>(first) : 97, argvalue(prefix.c_str())) << prefix;
        }
}

TEST(Argvalue, OtherWordsAreErrors) {
    for (const char* word : {"-t", "-x", "-s", "", "tail", "-tailx", "-TAIL", "--tail", "-tail "})
        EXPECT_EQ(ARG_ERROR, argvalue(word)) << word;
    EXPECT_EQ(ARG_ERROR, argvalue(nullptr));
    EXPECT_EQ(ARG_TAIL, argvalue("-tai"));
}

TEST(IsBlank, OnlySpacesAreBlank) {
    for (const char* s : {"", " ", "   "}) EXPECT_EQ(1, is_blank(s)) << s;
    for (const char* s : {"\t", " a ", "\n", "  \t  "}) EXPECT_EQ(0, is_blank(s)) << s;
    EXPECT_EQ(1, is_blank(nullptr));
}

} // namespace
