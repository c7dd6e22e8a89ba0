#include "cmd/taqmsg/CommandTest.h"

namespace {

class FilterTest : public CommandTest {
protected:
    // Expects the records with these texts (a letter each), in order.
    void expect_shown(const std::vector<std::string>& args, const std::string& letters) const {
        std::string line;
        for (const std::string& arg : args) line += arg + " ";
        SCOPED_TRACE(line);
        const CommandResult result = run(args);
        EXPECT_EQ(0, result.status);
        std::string shown;
        for (size_t at = 0; (at = result.out.find("letter ", at)) != std::string::npos; ++at)
            shown += result.out[at + 7];
        EXPECT_EQ(letters, shown) << result.out;
        EXPECT_EQ(letters.empty() ? NO_MATCH : "", result.err);
    }
};

TEST_F(FilterTest, Combinations) {
    LdfBuilder file;
    const auto record = [&](const char* letter, uint8_t sev, uint8_t obj, uint16_t cat, uint16_t num,
                            std::vector<std::string> args) {
        args.insert(args.begin(), std::string("letter ") + letter);
        file.record({.sev = sev, .obj = obj, .cat = cat, .num = num, .args = args});
    };
    record("a", 0, 0, 25, 0, {});
    record("b", 1, 6, 25, 7, {"res1", "ONLINE"});
    record("c", 2, 3, 100, 7, {"grp1:sys1"});
    record("d", 3, 4, 100, 1, {"sys1"});
    record("e", 4, 6, 40000, 65535, {"Res1"});
    record("f", 1, 6, 25, 8, {"res2"});
    write("f", file);
    const std::string every = "abcdef";

    for (const auto& [letter, shown] : std::map<std::string, std::string>{
             {"C", "a"}, {"c", "a"}, {"e", "bf"}, {"W", "c"}, {"n", "d"}, {"I", "e"}})
        expect_shown({"-sev", letter, "f"}, shown);
    expect_shown({"-otype", "RES", "f"}, "bef");
    expect_shown({"-otype", "sys", "f"}, "d");
    expect_shown({"-otype", "QEN", "f"}, "a");
    expect_shown({"-otype", "XLK", "f"}, "");
    expect_shown({"-msgid", "7", "f"}, "bc");
    expect_shown({"-msgid", "65535", "f"}, "e");
    expect_shown({"-msgid", "%-1", "f"}, every); // any
    expect_shown({"-msgid", "word", "f"}, "a");  // 0
    expect_shown({"-category", "100", "f"}, "cd");
    expect_shown({"-category", "40000", "f"}, "e");

    expect_shown({"-oname", "RES1", "f"}, "be");
    expect_shown({"-oname", "sys1", "f"}, "cd"); // a piece of an argument counts
    expect_shown({"-oname", "grp1:sys1", "f"}, "c");
    expect_shown({"-oname", "res", "f"}, "");
    expect_shown({"-oname", "res1", "res2", "nothing", "res1", "f"}, "bef");
    expect_shown({"-oname", "%res1", "f"}, "be");
    expect_shown({"-oname", "res1", "-sev", "E", "f"}, "b");
    expect_shown({"-oname", "res1", "-sev", "E", "-any", "f"}, "bef");

    // All given filters must match, or with -any one of them.
    expect_shown({"-sev", "E", "-msgid", "8", "f"}, "f");
    expect_shown({"-any", "-sev", "E", "-msgid", "7", "f"}, "bcf");
    expect_shown({"-otype", "RES", "-oname", "res2", "sys1", "f"}, "f");
    expect_shown({"-any", "-otype", "RES", "-oname", "sys1", "f"}, "bcdef");
    expect_shown({"-sev", "E", "-otype", "RES", "-category", "25", "-msgid", "7", "-oname", "ONLINE", "f"},
                 "b");
    expect_shown({"-sev", "E", "-otype", "RES", "-category", "25", "-msgid", "7", "-oname", "other", "f"},
                 "");
    expect_shown(
        {"-any", "-sev", "C", "-otype", "GRP", "-category", "40000", "-msgid", "1", "-oname", "res2", "f"},
        "acdef");
    expect_shown({"-any", "f"}, every);
}

} // namespace
