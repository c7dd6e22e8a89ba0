#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

#include "cmd/taqmsg/CommandTest.h"

namespace {

class ListTest : public CommandTest {
protected:
    void touch(const std::string& name) const { std::ofstream(root() + "/ldf/" + name) << "x"; }
};

TEST_F(ListTest, ShowsLogDataFilesOnly) {
    for (const char* name : {"N_A.ldf", "N_B.ldf", "a.b.ldf", "two words.ldf", ".hidden.ldf", "x.LDF",
                             "x.ldf.err", "x.ldf~", "ldf", "xldf", ".ldf"})
        touch(name);
    std::filesystem::create_directory(root() + "/ldf/z.ldf");
    std::filesystem::create_symlink(root(), root() + "/ldf/link.ldf");
    std::filesystem::create_symlink("nowhere", root() + "/ldf/dangling.ldf");
    const CommandResult result = run({"-list"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    std::istringstream out(result.out);
    std::vector<std::string> lines;
    for (std::string line; std::getline(out, line);) lines.push_back(line);
    std::sort(lines.begin() + 1, lines.end() - 1); // directories yield the names as they like
    EXPECT_THAT(lines,
                testing::ElementsAre("#Log data files", "N_A", "N_B", "a.b", "dangling", "two words", ""));
}

TEST_F(ListTest, IgnoresAllOtherOptions) {
    touch("N_A.ldf");
    for (const std::vector<std::string>& args : {std::vector<std::string>{"-list", "file"},
                                                 {"-list", "-sev"},
                                                 {"-sev", "X", "-list"},
                                                 {"-info", "-list"}})
        expect(args, 0, "#Log data files\nN_A\n\n", "");
}

TEST_F(ListTest, MissingDirectoriesAreSilentAnEmptyOneIsNot) {
    expect({"-list"}, 0, "", warning(30521, "No log files available"));
    std::filesystem::remove(root() + "/ldf");
    expect({"-list"}, 1, "", "");
    std::ofstream(root() + "/ldf") << "a file";
    expect({"-list"}, 1, "", "");
    env["TAQ_LDF"] = root() + "/nowhere";
    expect({"-list"}, 1, "", "");
    env["TAQ_LDF"] = std::string(100000, 'd');
    expect({"-list"}, 1, "", "");
}

TEST_F(ListTest, LongestRoot) {
    touch("N_A.ldf");
    std::ofstream(root() + "/not-below-ldf.ldf"); // is what a path that was cut would find
    const auto root_of = [this](size_t size) { return root() + std::string(size - root().size(), '/'); };
    env["TAQ_LDF"] = root_of(4090);
    expect({"-list"}, 0, "#Log data files\nN_A\n\n", "");
    for (const size_t size : {4094u, 4095u, 4096u}) {
        env["TAQ_LDF"] = root_of(size);
        expect({"-list"}, 1, "", "");
    }
}

TEST_F(ListTest, LongListIsCut) {
    const std::string stem(200, 'n');
    for (int i = 100; i < 140; ++i) touch(stem + std::to_string(i) + ".ldf");
    const CommandResult result = run({"-list"});
    EXPECT_EQ(0, result.status);
    ASSERT_EQ(4096u, result.out.size()); // 4095 and a newline
    EXPECT_EQ('\n', result.out.back());
    EXPECT_EQ(1 + 19 + 1, std::count(result.out.begin(), result.out.end(), '\n')); // 4079 / 204 whole names
}

} // namespace
