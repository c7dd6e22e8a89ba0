// That each option reaches its filter. How filters combine is the reader's business.
#include "cmd/taqmsg/CommandTest.h"

namespace {

class FilterTest : public CommandTest {
protected:
    // Adds a record whose first argument names it by a letter.
    void record(const char* letter, uint8_t sev, uint8_t obj, uint16_t cat, uint16_t num,
                std::vector<std::string> args) {
        args.insert(args.begin(), std::string("letter ") + letter);
        _file.record({.sev = sev, .obj = obj, .cat = cat, .num = num, .args = args});
        write("f", _file);
    }
    // The letters of the records that the command shows.
    std::string shown(std::vector<std::string> args) const {
        args.push_back("f");
        const CommandResult result = run(args);
        EXPECT_EQ(0, result.status);
        std::string letters;
        for (size_t at = 0; (at = result.out.find("letter ", at)) != std::string::npos; ++at)
            letters += result.out[at + 7];
        EXPECT_EQ(letters.empty() ? NO_MATCH : "", result.err);
        return letters;
    }

private:
    LdfBuilder _file;
};

TEST_F(FilterTest, Options) {
    record("a", 0, 0, 25, 0, {});
    record("b", 1, 6, 25, 7, {"res1", "ONLINE"});
    record("c", 2, 3, 100, 7, {"grp1:sys1"});
    record("d", 3, 4, 100, 1, {"sys1"});
    record("e", 4, 6, 40000, 65535, {"Res1"});
    record("f", 1, 6, 25, 8, {"res2"});
    const struct {
        std::vector<std::string> args;
        const char* letters;
    } cases[] = {
        {{"-sev", "C"}, "a"},
        {{"-sev", "e"}, "bf"},
        {{"-sev", "W"}, "c"},
        {{"-sev", "n"}, "d"},
        {{"-sev", "I"}, "e"},
        {{"-otype", "sys"}, "d"},
        {{"-otype", "QEN"}, "a"},
        {{"-otype", "XLK"}, ""},
        {{"-msgid", "65535"}, "e"},
        {{"-msgid", "%-1"}, "abcdef"}, // any
        {{"-msgid", "word"}, "a"},     // 0
        {{"-category", "40000"}, "e"},
        {{"-oname", "sys1"}, "cd"}, // a piece of an argument counts
        {{"-oname", "res1", "%res2", "nothing", "res1"}, "bef"},
        {{"-any"}, "abcdef"},
        {{"-sev", "E", "-otype", "RES", "-category", "25", "-msgid", "7", "-oname", "ONLINE"}, "b"},
        {{"-sev", "E", "-otype", "RES", "-category", "25", "-msgid", "7", "-oname", "other"}, ""},
        {{"-any", "-sev", "C", "-otype", "GRP", "-category", "40000", "-msgid", "1", "-oname", "res2"},
         "acdef"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.letters, shown(c.args)) << c.args[0] << " " << c.args.back();
}

} // namespace
