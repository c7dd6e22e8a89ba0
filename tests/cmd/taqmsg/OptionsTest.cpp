#include "cmd/taqmsg/CommandTest.h"

namespace {

using Args = std::vector<std::string>;

const std::string BAD_SEV = warning(30534, "Incorrect message severity specified");

class OptionsTest : public CommandTest {
protected:
    OptionsTest() { // each file's record names it
        for (const char* name : {"f", "5", "-x"})
            write(name, LdfBuilder().record({.num = 0, .args = {name}}));
    }
};

TEST_F(OptionsTest, WrongArgumentsAreReportedWithTheUsage) {
    const struct {
        std::string message;
        std::vector<Args> arguments; // that lead to it
    } cases[] = {
        {warning(30527, "Please enter valid English arguments"),
         {{"a\x01", "-x"}, {"-sev", "\xC3\xA9", "f"}}},
        {warning(30529, "Tail value must be an integer value greater than 0"),
         {{"-tail", "0", "-sev", "X"}, {"-tail", "abc", "f"}, {"-tail", "%-9223372036854775809", "f"}}},
        {warning(30530, "Invalid number of arguments"),
         {{"a", "b"},
          {"-info"},
          {"-tail"},
          {"-info", "a", "b"},
          {"-info", "-path", "/d"},
          {"-tail", "5", "a", "b"},
          {"-tail", "-path", "/d"},
          {"-tail", "5", "-dbg", "f"}, // a count makes the file the last option's value
          {"-path", "d", "e", "f"},
          {"f", "-info"},
          {"-sev", "E", "-any"},
          {"-list", "a", "b"},
          {"-oname", "a"}}},
        {warning(30531, "Incorrect LDF path specified"),
         {{"-path"}, {"-info", "-path", "-dbg", "f"}, {"-tail", "-path", "-dbg", "f"}}},
        {warning(30532, "QEN object tag does not have an object name"),
         {{"-otype", "qen", "-oname", "a", "f"}}},
        {warning(30533, "Incorrect language specified"), // the language comes before the path
         {{"-lang"}, {"-tail", "-lang", "-dbg", "f"}, {"-lang", "-path", "-dbg", "f"}}},
        {BAD_SEV, {{"-sev"}, {"-sev", "X", "f"}, {"-sev", "EE", "f"}, {"-sev", "%", "f"}}},
        {warning(30535, "Incorrect object type specified"),
         {{"-otype"}, {"-otype", "RESX", "f"}, {"-otype", "", "f"}}},
        {warning(30536, "Incorrect object name specified"),
         {{"-oname", "-dbg", "f"}, {"-oname", "a", "  ", "f"}}},
        {warning(30537, "Incorrect message ID specified"), {{"-msgid", "-dbg", "f"}}},
        {warning(30538, "Incorrect category ID specified"), {{"-category"}}},
    };
    for (const auto& c : cases)
        for (const Args& args : c.arguments) expect(args, 1, "", c.message + USAGE);
}

TEST_F(OptionsTest, UnknownOptions) {
    const std::pair<Args, std::string> cases[] = {
        {{"-"}, "-"},
        {{"-l", "f"}, "-l"},        // -lang, -list, -listapp
        {{"-ta", "f"}, "-ta"},      // -tag, -tail, -takeover
        {{"-listapp"}, "-listapp"}, // known to other commands
        {{"-INFO", "f"}, "-INFO"},
        {{"-%n%s%100$s", "f"}, "-%n%s%100$s"},
        {{"-x", "a\tb"}, "-x"}, // looking ends there
        {{"-help", "-x"}, "-x"},
    };
    for (const auto& [args, option] : cases)
        expect(args, 1, "", warning(30528, "Unknown option: " + option) + USAGE);
}

TEST_F(OptionsTest, UsageOnRequestIsNoError) {
    for (const Args& args : {Args{}, {"-help"}, {"-h"}, {"-help", "f"}, {"f", "-help", "-tail", "0", "g"}})
        expect(args, 0, "", USAGE);
}

TEST_F(OptionsTest, AcceptedShapes) {
    const std::string of_f = line_of("f");
    const struct {
        Args args;
        std::string out;
    } cases[] = {
        {{"f.anything"}, of_f},
        {{"%f"}, of_f},
        {{"%-x"}, line_of("-x")},
        {{"-tai", "f"}, of_f},
        {{"-tail", "5"}, line_of("5")}, // the last word is the file
        {{"-tail", "5", "5"}, line_of("5")},
        {{"-tail", "7x", "f"}, of_f},
        {{"-tail", "99999999999999999999", "f"}, of_f},
        {{"-tail", "-tail", "f"}, of_f},
        {{"-tail", "1", "-path", root() + "/ldf", "f"}, of_f},
        {{"-path", "/nowhere", "-path", root() + "/ldf", "f"}, of_f}, // the later one counts
        {{"-path", root() + "/ldf", "-info", "f"}, of_f},             // -info elsewhere counts for nothing
        {{"-dbg", "-dbg", "-dbg", "-tail", "1", "f"}, of_f},
        {{"-dbg", "-dbg", "-dbg", "-dbg", "-tail", "1", "f"}, of_f + "\tLog:open[42]\n"}, // -tail in a crowd
        {{"-sev", "i", "-otype", "qEn", "-category", "25", "-msgid", "0", "f"}, of_f},
    };
    for (const auto& c : cases) expect(c.args, 0, c.out, "");
}

TEST_F(OptionsTest, ArgumentCountLimit) {
    Args args(1024, "f");
    args[0] = "-oname";
    expect(args, 0, line_of("f"), "");
    for (const size_t count : {1025u, 100000u}) {
        args.resize(count, "-x");
        expect(args, 1, "", warning(30526, "Argument count limit (1024) exceeded") + USAGE);
    }
    const CommandResult result = run_command(TAQMSG_COMMAND, {}, {"TAQ_MESSAGES_DIR=/nowhere"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(USAGE, result.err) << "without even the program's name";
}

TEST_F(OptionsTest, OversizedWords) {
    // 4294967296 is 0 in 32 bits, and category 25 plus 2 to the 32nd is 25.
    expect({"-msgid", "4294967296", "f"}, 0, "", NO_MATCH);
    expect({"-category", "4294967321", "f"}, 0, "", NO_MATCH);

    const std::string big(60000, 'b');
    CommandResult result = run({"-" + big, "f"});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ(0u, result.err.find("QEN WARNING K-16-25-30528 Unknown option: -b"));
    EXPECT_EQ(USAGE, result.err.substr(result.err.find('\n') + 1));
    EXPECT_GE(result.err.find('\n'), 4000u); // as much of it as a text can hold

    for (const Args& args : {Args{big + ".ldf"}, {"-info", "-path", big, "f"}, {"-tail", big + "/" + big}}) {
        result = run(args);
        EXPECT_EQ(7, result.status);
        EXPECT_EQ(0u, result.err.find("QEN WARNING K-16-25-30523 Unable to open file '"));
    }
    expect({"-oname", big, "f"}, 0, "", NO_MATCH);
    expect({"-sev", big, "f"}, 1, "", BAD_SEV + USAGE);
}

} // namespace
