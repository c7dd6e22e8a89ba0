#include "cmd/taqmsg/CommandTest.h"

namespace {

using Args = std::vector<std::string>;

const std::string BAD_COUNT = warning(30530, "Invalid number of arguments");
const std::string BAD_TAIL = warning(30529, "Tail value must be an integer value greater than 0");
const std::string BAD_PATH = warning(30531, "Incorrect LDF path specified");
const std::string BAD_LANG = warning(30533, "Incorrect language specified");
const std::string BAD_SEV = warning(30534, "Incorrect message severity specified");
const std::string BAD_OTYPE = warning(30535, "Incorrect object type specified");
const std::string BAD_ONAME = warning(30536, "Incorrect object name specified");
const std::string BAD_MSGID = warning(30537, "Incorrect message ID specified");
const std::string BAD_CATEGORY = warning(30538, "Incorrect category ID specified");
const std::string NOT_ASCII = warning(30527, "Please enter valid English arguments");

std::string unknown(const std::string& option) {
    return warning(30528, "Unknown option: " + option);
}

std::string join(const Args& args) {
    std::string line;
    for (const std::string& arg : args) line += arg.substr(0, 40) + " ";
    return line;
}

// The line of the record in each test file, which names the file.
std::string line_of(const std::string& text) {
    return "Mon Nov 16 18:38:11 2026 QEN INFO K-16-25-0  " + text + "\n";
}

class OptionsTest : public CommandTest {
protected:
    OptionsTest() {
        for (const char* name : {"f", "5", "-x"})
            write(name, LdfBuilder().record({.num = 0, .args = {name}}));
    }
};

TEST_F(OptionsTest, WrongArgumentsAreReportedWithTheUsage) {
    const struct {
        Args args;
        std::string message;
    } cases[] = {
        {{"-"}, unknown("-")},
        {{"-l", "f"}, unknown("-l")},        // -lang, -list, -listapp
        {{"-ta", "f"}, unknown("-ta")},      // -tag, -tail, -takeover
        {{"-listapp"}, unknown("-listapp")}, // known to other commands
        {{"-INFO", "f"}, unknown("-INFO")},
        {{"-%n%s%100$s", "f"}, unknown("-%n%s%100$s")},
        {{"-x", "a\tb"}, unknown("-x")}, // looking ends there
        {{"-help", "-x"}, unknown("-x")},
        {{"a\x01", "-x"}, NOT_ASCII},
        {{"-sev", "\xC3\xA9", "f"}, NOT_ASCII},

        {{"-tail", "0", "-sev", "X"}, BAD_TAIL},
        {{"-tail", "abc", "f"}, BAD_TAIL},
        {{"-tail", "%-9223372036854775809", "f"}, BAD_TAIL},

        {{"a", "b"}, BAD_COUNT},
        {{"-info"}, BAD_COUNT},
        {{"-tail"}, BAD_COUNT},
        {{"-info", "a", "b"}, BAD_COUNT},
        {{"-info", "-path", "/d"}, BAD_COUNT},
        {{"-tail", "5", "a", "b"}, BAD_COUNT},
        {{"-tail", "-path", "/d"}, BAD_COUNT},
        {{"-tail", "5", "-dbg", "f"}, BAD_COUNT}, // a count makes the file the last option's value
        {{"-path", "d", "e", "f"}, BAD_COUNT},
        {{"f", "-info"}, BAD_COUNT},
        {{"-sev", "E", "-any"}, BAD_COUNT},
        {{"-list", "a", "b"}, BAD_COUNT},
        {{"-oname", "a"}, BAD_COUNT},

        {{"-path"}, BAD_PATH},
        {{"-info", "-path", "-dbg", "f"}, BAD_PATH},
        {{"-tail", "-path", "-dbg", "f"}, BAD_PATH},
        {{"-lang"}, BAD_LANG},
        {{"-tail", "-lang", "-dbg", "f"}, BAD_LANG},
        {{"-lang", "-path", "-dbg", "f"}, BAD_LANG}, // the language comes before the path

        {{"-sev"}, BAD_SEV},
        {{"-sev", "X", "f"}, BAD_SEV},
        {{"-sev", "EE", "f"}, BAD_SEV},
        {{"-sev", "%", "f"}, BAD_SEV}, // an empty one
        {{"-otype", "RESX", "f"}, BAD_OTYPE},
        {{"-otype", "", "f"}, BAD_OTYPE},
        {{"-otype"}, BAD_OTYPE},
        {{"-oname", "-dbg", "f"}, BAD_ONAME},
        {{"-oname", "a", "  ", "f"}, BAD_ONAME},
        {{"-otype", "qen", "-oname", "a", "f"},
         warning(30532, "QEN object tag does not have an object name")},
        {{"-msgid", "-dbg", "f"}, BAD_MSGID},
        {{"-category"}, BAD_CATEGORY},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(join(c.args));
        expect(c.args, 1, "", c.message + USAGE);
    }
}

TEST_F(OptionsTest, UsageOnRequestIsNoError) {
    for (const Args& args : {Args{}, {"-help"}, {"-h"}, {"-help", "f"}, {"f", "-help", "-tail", "0", "g"}}) {
        SCOPED_TRACE(join(args));
        expect(args, 0, "", USAGE);
    }
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
    for (const auto& c : cases) {
        SCOPED_TRACE(join(c.args));
        expect(c.args, 0, c.out, "");
    }
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
