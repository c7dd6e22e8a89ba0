#include <fstream>

#include "cmd/taqmsg/CommandTest.h"

namespace {

const std::string LINE = "Mon Nov 16 18:38:11 2026 QEN INFO K-16-25-0  ";

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
        for (int i = first; i <= last; ++i) all += LINE + std::to_string(i) + "\n";
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
        {"platform 0", LdfBuilder().platform(0), "Platform               UNKNOWN\n"},
        {"platform 7", LdfBuilder().platform(7), "Platform               AIX\n"},
        {"platform 8", LdfBuilder().platform(8), "Platform               UNKNOWN\n"},
        {"platform -1", LdfBuilder().platform(-1), "Platform               UNKNOWN\n"},
        {"platform far off", LdfBuilder().platform(INT32_MIN), "Platform               UNKNOWN\n"},
        {"format in the host name", LdfBuilder().system("%s%n%d"), "System name            %s%n%d\n"},
        {"host name without NUL", LdfBuilder().system(std::string(33, 'h')),
         "System name            " + std::string(32, 'h') + "\n"},
        {"times before 1970", LdfBuilder().created(-1).modified(INT32_MIN),
         "Create Date            Wed Dec 31 23:59:59 1969\nLast Modify Time       Fri Dec 13 20:45:52 "
         "1901\n"},
        {"negative counter", LdfBuilder().total_msgs(-5), "Total Messages         -5\n"},
        {"total without records", LdfBuilder().total_msgs(7), "Total Messages         7\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        write("f", c.file);
        const CommandResult result = run({"-info", "f"});
        EXPECT_EQ(0, result.status);
        EXPECT_NE(std::string::npos, result.out.find(c.part)) << result.out;
    }
}

TEST_F(DisplayTest, Tail) {
    write("f", numbered(25));
    const struct {
        std::vector<std::string> args;
        int first;
    } cases[] = {
        {{"-tail", "f"}, 6},       {{"-tail", "1", "f"}, 25}, {{"-tail", "24", "f"}, 2},
        {{"-tail", "25", "f"}, 1}, {{"-tail", "26", "f"}, 1}, {{"-tail", "2147483648", "f"}, 1},
    };
    for (const auto& c : cases) expect(c.args, 0, lines(c.first, 25), "");
    write("g", numbered(3));
    expect({"-tail", "g"}, 0, lines(1, 3), "");
    write("g", LdfBuilder());
    expect({"-tail", "g"}, 0, "", NO_MATCH);
    // A header that promises more records than there are.
    write("g", numbered(3).total_msgs(30));
    expect({"-tail", "5", "g"}, 7, "", "");
    expect({"-tail", "40", "g"}, 0, lines(1, 3), "");
}

TEST_F(DisplayTest, TailIgnoresFiltersTraceAndDebugColumns) {
    write("f", numbered(2).flags(1));
    expect({"-trace", "-dbg", "-tail", "1", "f"}, 0, lines(2, 2), "");
    expect({"-tail", "-sev", "C", "-dbg", "f"}, 0, lines(1, 2), "");
}

TEST_F(DisplayTest, WholeFileAndWhatFollowsIt) {
    write("f", numbered(3));
    expect({"f"}, 0, lines(1, 3), "");
    write("f", numbered(3).total_msgs(2)); // the header decides
    expect({"f"}, 0, lines(1, 2), "");
    write("f", LdfBuilder());
    expect({"f"}, 0, "", NO_MATCH);
    write("f", numbered(3).offset_end(117).cut(3)); // the last record is cut off
    expect({"f"}, 0, lines(1, 2), "");
    write("f", numbered(1).record({.version = 2}).record()); // reading ends at what it does not know
    expect({"f"}, 0, lines(1, 1), "");
    write("f", numbered(1).record({.sev = 58}).record({.num = 0, .args = {"2"}})); // off the scale: no line
    expect({"f"}, 0, lines(1, 2), "");
}

TEST_F(DisplayTest, DebugColumns) {
    LdfBuilder file;
    file.record({.num = 0, .line = 4294967295, .seq = 12, .file = "Res.cpp", .func = "up", .args = {"1"}});
    file.record({.num = 0, .seq = 0, .args = {"2"}});
    file.record({.num = 0, .args = {"3"}});
    file.record({.line = 9, .text = std::string(1, '\0')}); // no text at all: nothing is left from above
    const std::string unknown =
        "Mon Nov 16 18:38:11 2026 QEN INFO K-16-25-30001 Could not find message K-16-25-30001 : \n\t:[9]\n";
    write("f", file);
    expect({"-dbg", "f"}, 0,
           LINE + "1\n\tRes.cpp:up[4294967295]\n" + LINE + "2\n\tLog:open[42]\n" + LINE +
               "3\n\tLog:open[42]\n" + unknown,
           "");
    write("f", file.flags(3)); // bit 0 decides
    expect({"-dbg", "f"}, 0,
           "0000000012 " + LINE + "1\n\tRes.cpp:up[4294967295]\n---------- " + LINE +
               "2\n\tLog:open[42]\n4294967295 " + LINE + "3\n\tLog:open[42]\n4294967295 " + unknown,
           "");
    write("f", LdfBuilder().record({.num = 0, .file = "%s%n", .func = "%d", .args = {"%s"}}));
    expect({"-dbg", "f"}, 0, LINE + "%s\n\t%s%n:%d[42]\n", "");
}

TEST_F(DisplayTest, DebugColumnsStayWithLongLines) {
    // Lines beyond any buffer of the way, between direct prints.
    const std::string name(2000, 'f'), arg(1000, 'a');
    LdfBuilder file;
    file.flags(1).records(200, {.num = 0, .seq = 1, .file = name, .func = "g", .args = {arg, "b"}});
    write("f", file);
    std::string expected;
    for (int i = 0; i < 200; ++i) expected += "0000000001 " + LINE + arg + " b\n\t" + name + ":g[42]\n";
    expect({"-dbg", "f"}, 0, expected, "");
}

TEST_F(DisplayTest, Trace) {
    write("f", LdfBuilder()
                   .flags(1)
                   .record({.sev = 1, .obj = 6, .cat = 40000, .num = 7, .seq = 5, .args = {"res1", "100%s"}})
                   .record({.sev = 9, .obj = 200}));
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
           "data size   = 10\n"
           "version     = 0x1\n"
           "severity    = \n"
           "timestamp   = Mon Nov 16 18:38:11 2026\n"
           "message ID  = 1668401\n"
           "object type = -56\n"
           "seq number  = -1\n"
           "\n");
    expect({"-trace", "-sev", "C", "f"}, 0, "", NO_MATCH);
}

TEST_F(DisplayTest, TraceNumbersEveryArgumentWithinItsBound) {
    const std::vector<std::string> eight = {"a", "b", "c", "d", "e", "f", "g", "h"};
    write("f", LdfBuilder().record({.args = eight}));
    std::string err = run({"-trace", "f"}).err;
    EXPECT_NE(std::string::npos, err.find("    arg 6   = f\n    arg 7   = g\n    arg 8   = h\n\n")) << err;

    write("f", LdfBuilder().record({.args = {std::string(2040, 'x'), std::string(2040, 'y')}}));
    err = run({"-trace", "f"}).err;
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
    write("minor", LdfBuilder().version(3, 1));
    write("signature", LdfBuilder().signature(1));
    write("end", LdfBuilder().offset_end(118));
    std::filesystem::create_directory(ldf_path("directory"));
    const std::string ldf = root() + "/ldf";
    const struct {
        std::vector<std::string> args; // without the mode
        int status;
        std::string message;
    } cases[] = {
        {{"missing.ldf"}, 7, bad("missing")},
        {{"-path", ldf, "missing"}, 7, bad(ldf + "/missing.ldf")},
        {{"-path", "/d", "name"}, 7, bad("/d/name.ldf")},
        {{"-path", ldf + "/", "newer"}, 10, newer("newer")}, // a newer file goes by its bare name
        {{"minor"}, 10, newer("minor")},
        {{"signature"}, 7, bad("signature")},
        {{"end"}, 7, bad("end")},
        {{"directory"}, 7, bad("directory")},
        {{""}, 7, bad("")},
        {{"%%s%n"}, 7, bad("%s%n")},
    };
    for (const auto& c : cases) {
        for (const std::string mode : {"-info", "-tail", "-any"}) {
            SCOPED_TRACE(mode + " " + c.args.back());
            std::vector<std::string> args = c.args;
            args.insert(args.begin(), mode);
            expect(args, c.status, "", c.message);
        }
    }
    env["TAQ_LDF"] = root() + "/nowhere";
    expect({"-info", "f"}, 5, "", bad("f"));
    env["TAQ_LDF"] = "";
    expect({"f"}, 5, "", bad("f"));
    env["TAQ_LDF"] = ldf; // a root without "ldf"
    expect({"-tail", "f"}, 7, "", bad("f"));
}

TEST_F(DisplayTest, ShortFileIsRemovedAndNothingElse) {
    write("short", LdfBuilder().truncate(116));
    write("exact", LdfBuilder());
    std::filesystem::create_directory(ldf_path("directory"));
    for (const char* name : {"short", "exact", "directory"}) (void)run({"-info", name});
    EXPECT_FALSE(std::filesystem::exists(ldf_path("short")));
    EXPECT_TRUE(std::filesystem::exists(ldf_path("exact")));
    EXPECT_TRUE(std::filesystem::exists(ldf_path("directory")));
}

TEST_F(DisplayTest, TimesFollowTheZone) {
    write("f", numbered(1));
    env["TZ"] = "XYZ-5:30";
    expect({"f"}, 0, "Tue Nov 17 00:08:11 2026 QEN INFO K-16-25-0  1\n", "");
    EXPECT_NE(std::string::npos,
              run({"-info", "f"}).out.find("Create Date            Tue Nov 17 00:08:10 2026\n"));
}

} // namespace
