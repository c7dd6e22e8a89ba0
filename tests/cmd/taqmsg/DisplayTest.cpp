#include <gmock/gmock.h>

#include "cmd/taqmsg/CommandTest.h"

namespace {

using testing::HasSubstr;

class DisplayTest : public CommandTest {
protected:
    // Records that carry their number as their text.
    static LdfBuilder numbered(int count) {
        LdfBuilder file;
        for (int i = 1; i <= count; ++i) file.record({.num = 0, .args = {std::to_string(i)}});
        return file;
    }
    static std::string lines(int first, int last) {
        std::string all;
        for (int i = first; i <= last; ++i) all += line_of(std::to_string(i));
        return all;
    }
};

TEST_F(DisplayTest, SummaryShowsTheHeader) {
    LdfBuilder file;
    const struct {
        uint8_t sev, obj;
        int count;
    } kinds[] = {{0, 0, 1}, {1, 1, 2}, {2, 2, 3}, {3, 3, 4}, {4, 4, 5}, {4, 5, 6}, {0, 6, 7}};
    for (const auto& k : kinds) file.records(k.count, {.sev = k.sev, .obj = k.obj});
    write("f", file.system("host-with-32-characters-xxxxxxxx"));
    const std::string expected = "#Attribute             Value\n"
                                 "Version                3.0\n"
                                 "System name            host-with-32-characters-xxxxxxxx\n"
                                 "Platform               LINUX\n"
                                 "Create Date            Mon Nov 16 18:38:10 2026\n"
                                 "Last Modify Time       Mon Nov 16 18:38:19 2026\n"
                                 "\n"
                                 "CRITICAL Messages      8\n"
                                 "ERROR Messages         2\n"
                                 "WARNING Messages       3\n"
                                 "NOTICE Messages        4\n"
                                 "INFO Messages          11\n"
                                 "\n"
                                 "QEN Messages           1\n"
                                 "Cluster Messages       3\n"
                                 "System Messages        5\n"
                                 "Group Messages         4\n"
                                 "Agent Messages         6\n"
                                 "Resource Messages      7\n"
                                 "\n"
                                 "Total Messages         28\n"
                                 "\n";
    expect({"-info", "f"}, 0, expected, "");
    expect({"-info", "-sev", "X", "-path", root() + "/ldf", "-dbg", "f.ldf"}, 0, expected, "");
}

TEST_F(DisplayTest, SummaryOfOddHeaders) {
    const struct {
        const char* name;
        LdfBuilder file;
        std::string part;
    } cases[] = {
        {"platform out of range", LdfBuilder().platform(INT32_MIN), "Platform               UNKNOWN\n"},
        {"format in the host name", LdfBuilder().system("%s%n%d"), "System name            %s%n%d\n"},
        {"host name without NUL", LdfBuilder().system(std::string(33, 'h')),
         "System name            " + std::string(32, 'h') + "\n"},
        {"time before 1970", LdfBuilder().created(-1), "Create Date            Wed Dec 31 23:59:59 1969\n"},
        {"total without records", LdfBuilder().total_msgs(-5), "Total Messages         -5\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        write("f", c.file);
        const CommandResult result = run({"-info", "f"});
        EXPECT_EQ(0, result.status);
        EXPECT_THAT(result.out, HasSubstr(c.part));
    }
}

TEST_F(DisplayTest, Tail) {
    write("f", numbered(25).flags(1));
    const struct {
        std::vector<std::string> args;
        int first;
    } cases[] = {
        {{"-tail", "f"}, 6},
        {{"-tail", "1", "f"}, 25},
        {{"-tail", "25", "f"}, 1},
        {{"-tail", "2147483648", "f"}, 1},
        {{"-tail", "-sev", "C", "-dbg", "f"}, 6}, // takes no filter and no columns
        {{"-trace", "-dbg", "-tail", "1", "f"}, 25},
    };
    for (const auto& c : cases) expect(c.args, 0, lines(c.first, 25), "");
    write("g", LdfBuilder());
    expect({"-tail", "g"}, 0, "", NO_MATCH);
    // A header that promises more records than there are.
    write("g", numbered(3).total_msgs(30));
    expect({"-tail", "5", "g"}, 7, "", "");
    expect({"-tail", "40", "g"}, 0, lines(1, 3), "");
}

TEST_F(DisplayTest, WholeFileAndWhatFollowsIt) {
    const struct {
        const char* name;
        LdfBuilder file;
        int lines;
    } cases[] = {
        {"the header decides", numbered(3).total_msgs(2), 2},
        {"the last record is cut off", numbered(3).offset_end(117).cut(3), 2},
        {"ends at what it does not know", numbered(1).record({.version = 2}).record(), 1},
        {"off the scale: no line", numbered(1).record({.sev = 58}).record({.num = 0, .args = {"2"}}), 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        write("f", c.file);
        expect({"f"}, 0, lines(1, c.lines), "");
    }
    write("f", LdfBuilder());
    expect({"f"}, 0, "", NO_MATCH);
    env["TZ"] = "XYZ-5:30";
    write("f", numbered(1));
    expect({"f"}, 0, "Tue Nov 17 00:08:11 2026 QEN INFO K-16-25-0  1\n", "");
    EXPECT_THAT(run({"-info", "f"}).out, HasSubstr("Create Date            Tue Nov 17 00:08:10 2026\n"));
}

TEST_F(DisplayTest, DebugColumns) {
    LdfBuilder file;
    file.record({.num = 0, .line = 4294967295, .seq = 12, .file = "%s%n", .func = "%d", .args = {"%s"}});
    file.record({.num = 0, .seq = 0, .args = {"2"}});
    file.record({.line = 9, .text = std::string(1, '\0')}); // no text at all: nothing is left from above
    const std::string first = line_of("%s") + "\t%s%n:%d[4294967295]\n";
    const std::string second = line_of("2") + "\tLog:open[42]\n";
    const std::string third = "Mon Nov 16 18:38:11 2026 QEN INFO K-16-25-30001 Could not find message "
                              "K-16-25-30001 : \n\t:[9]\n";
    write("f", file);
    expect({"-dbg", "f"}, 0, first + second + third, "");
    write("f", file.flags(3)); // bit 0 decides
    expect({"-dbg", "f"}, 0, "0000000012 " + first + "---------- " + second + "4294967295 " + third, "");

    // Direct prints stay with their lines, which are beyond any buffer of the way.
    const std::string name(2000, 'f'), arg(1000, 'a');
    write("f", LdfBuilder().flags(1).records(
                   200, {.num = 0, .seq = 1, .file = name, .func = "g", .args = {arg, "b"}}));
    std::string expected;
    for (int i = 0; i < 200; ++i) expected += "0000000001 " + line_of(arg + " b") + "\t" + name + ":g[42]\n";
    expect({"-dbg", "f"}, 0, expected, "");
}

TEST_F(DisplayTest, Trace) {
    write("f", LdfBuilder()
                   .flags(1)
                   .record({.sev = 1, .obj = 6, .cat = 40000, .num = 7, .seq = 5, .args = {"res1", "100%s"}})
                   .record({.sev = 9, .obj = 200, .args = {"1", "2", "3", "4", "5", "6", "7"}}));
    expect({"-trace", "-dbg", "f"}, 0, "",
           "data size   = 21\n"
           "version     = 0x1\n"
           "severity    = ERROR\n"
           "timestamp   = Mon Nov 16 18:38:11 2026\n"
           "message ID  = -1673527289\n"
           "object type = 6\n"
           "seq number  = 5\n"
           "    arg 1   = res1\n"
           "    arg 2   = 100%s\n"
           "\n"
           "data size   = 24\n"
           "version     = 0x1\n"
           "severity    = \n"
           "timestamp   = Mon Nov 16 18:38:11 2026\n"
           "message ID  = 1668401\n"
           "object type = -56\n"
           "seq number  = -1\n"
           "    arg 1   = 1\n    arg 2   = 2\n    arg 3   = 3\n    arg 4   = 4\n"
           "    arg 5   = 5\n    arg 6   = 6\n    arg 7   = 7\n"
           "\n");
    write("f", LdfBuilder().record({.args = {std::string(2040, 'x'), std::string(2040, 'y')}}));
    const std::string err = run({"-trace", "f"}).err;
    EXPECT_EQ(4096u, err.size()); // 4095 and a newline
    EXPECT_EQ("yy\n", err.substr(err.size() - 3));
}

TEST_F(DisplayTest, FilesThatCannotBeOpened) {
    const auto bad = [](const std::string& name) {
        return warning(30523,
                       "Unable to open file '" + name + "'. The file may be corrupted or does not exist.");
    };
    const auto newer = [](const std::string& name) {
        return warning(30522, "Unable to open file '" + name +
                                  "'. This file was generated by a newer version of the QEN engine.");
    };
    write("newer", LdfBuilder().version(4, 0));
    write("signature", LdfBuilder().signature(1));
    const std::string ldf = root() + "/ldf";
    const struct {
        std::vector<std::string> args; // without the mode
        int status;
        std::string message;
    } cases[] = {
        {{"missing.ldf"}, 7, bad("missing")},
        {{"-path", ldf, "missing"}, 7, bad(ldf + "/missing.ldf")},
        {{"-path", ldf + "/", "newer"}, 10, newer("newer")}, // a newer file goes by its bare name
        {{"signature"}, 7, bad("signature")},
        {{""}, 7, bad("")},
        {{"%%s%n"}, 7, bad("%s%n")},
    };
    const auto modes = {"-info", "-tail", "-any"};
    for (const std::string mode : modes) {
        for (auto [args, status, message] : cases) {
            args.insert(args.begin(), mode);
            expect(args, status, "", message);
        }
    }
    for (const std::string mode : modes) {
        env["TAQ_LDF"] = root() + "/nowhere";
        expect({mode, "f"}, 5, "", bad("f"));
        env["TAQ_LDF"] = ldf; // a root without "ldf"
        expect({mode, "f"}, 7, "", bad("f"));
    }
}

} // namespace
