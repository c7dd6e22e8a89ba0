#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <string>
#include <unistd.h>

#include "primitives/files/Generations.h"
#include "support/SystemCalls.h"
#include "support/TempDir.h"

namespace fs = std::filesystem;

class GenerationsTest : public testing::Test {
protected:
    GenerationsTest() { EXPECT_TRUE(files.locate(folder, "n", ".ldf")); }
    ~GenerationsTest() override { system_call_plan = nullptr; }

    // Files by the letter of their generation, "N" for the new one.
    using Contents = std::map<char, std::string>;
    std::string path(char letter) const {
        return folder + (letter == 'N' ? std::string("n_A.new") : std::string("n_") + letter + ".ldf");
    }
    void lay(const Contents& contents) const {
        fs::remove_all(folder);
        fs::create_directory(folder);
        for (const auto& [letter, content] : contents) {
            if (content.ends_with('/')) // a directory, and one that holds something
                fs::create_directories(path(letter) + "/" + content);
            else
                std::ofstream(path(letter)) << content;
        }
    }
    Contents found() const {
        Contents contents;
        for (const char letter : {'A', 'B', 'C', 'N'}) {
            std::ifstream in(path(letter));
            if (fs::is_regular_file(path(letter)))
                contents[letter] = {std::istreambuf_iterator<char>(in), {}};
        }
        return contents;
    }
    bool rotate(const char* content = "new") const {
        const int fd = files.make_new(content, O_RDWR);
        if (fd < 0) return false;
        close(fd);
        return files.rotate();
    }
    static bool is(const SystemCall& call, std::string_view name, std::string_view ending) {
        return call.name == name && call.path.ends_with(ending);
    }

    const TempDir temp;
    const std::string folder = temp.path() + "/";
    Generations files;
};

TEST_F(GenerationsTest, MovesOnWhatIsThere) {
    const struct {
        const char* name;
        Contents before, after;
        SystemCallPlan plan = nullptr;
    } cases[] = {
        {"all", {{'A', "a"}, {'B', "b"}, {'C', "c"}}, {{'A', "new"}, {'B', "a"}, {'C', "b"}}},
        {"first", {}, {{'A', "new"}}},
        {"no B costs no C", {{'A', "a"}, {'C', "c"}}, {{'A', "new"}, {'B', "a"}, {'C', "c"}}},
        {"no A costs nothing", {{'B', "b"}, {'C', "c"}}, {{'A', "new"}, {'B', "b"}, {'C', "c"}}},
        {"what a dead process left", {{'A', "a"}, {'N', "stale"}}, {{'A', "new"}, {'B', "a"}}},
        {"an empty directory gives way",
         {{'A', "a"}, {'B', "b"}, {'C', "/"}},
         {{'A', "new"}, {'B', "a"}, {'C', "b"}}},
        {"no hard links",
         {{'A', "a"}, {'B', "b"}, {'C', "c"}},
         {{'A', "new"}, {'B', "a"}, {'C', "b"}},
         [](const SystemCall& call) { return call.name == "link" ? -EPERM : PASS; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        lay(c.before);
        system_call_plan = c.plan;
        EXPECT_TRUE(rotate());
        system_call_plan = nullptr;
        EXPECT_EQ(c.after, found());
    }
    lay({{'A', "a"}});
    fs::create_hard_link(path('A'), path('B')); // as a death between two steps leaves it
    files.mend();
    EXPECT_EQ((Contents{{'A', "a"}}), found());
}

// However often it is tried, it costs no more than the oldest generation, and A is where it was.
TEST_F(GenerationsTest, BlockedRotationLeavesTheCurrentFile) {
    const auto no = [](std::string_view name, std::string_view ending, int why = EIO) {
        return [=](const SystemCall& call) { return is(call, name, ending) ? -why : PASS; };
    };
    const Contents all = {{'A', "a"}, {'B', "b"}, {'C', "c"}}, oldest_gone = {{'A', "a"}, {'C', "b"}};
    const struct {
        const char* name;
        Contents before, after;
        SystemCallPlan plan = nullptr;
    } cases[] = {
        {"no room for the new file", all, all,
         [](const SystemCall& call) { return call.size > 0 ? -ENOSPC : PASS; }},
        {"directory for the new file", {{'A', "a"}, {'N', "full/"}}, {{'A', "a"}}},
        {"directory C", {{'A', "a"}, {'B', "b"}, {'C', "full/"}}, {{'A', "a"}, {'B', "b"}}},
        {"directory B and no C", {{'A', "a"}, {'B', "/"}}, {{'A', "a"}}},
        {"directory B", {{'A', "a"}, {'B', "/"}, {'C', "c"}}, {{'A', "a"}, {'C', "c"}}},
        {"directory A", {{'A', "/"}, {'B', "b"}, {'C', "c"}}, {{'B', "b"}, {'C', "c"}}},
        {"B stays", all, all, no("rename", "_B.ldf", EACCES)},
        {"A can neither be linked nor renamed", all, oldest_gone,
         [](const SystemCall& call) { return call.path.ends_with("_A.ldf") ? -EACCES : PASS; }},
        {"new file stays", all, oldest_gone, no("rename", ".new")},
        {"new file stays, no hard links", all, oldest_gone,
         [](const SystemCall& call) {
             return call.name == "link" || is(call, "rename", ".new") ? -EPERM : PASS;
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        lay(c.before);
        system_call_plan = c.plan;
        for (int i = 0; i < 3; ++i) EXPECT_FALSE(rotate());
        system_call_plan = nullptr;
        EXPECT_EQ(c.after, found());
    }
}

TEST_F(GenerationsTest, NamesMayBeAsLongAsTheFileSystemTakesThem) {
    for (const size_t length : {245u, 246u, 249u, 250u}) {
        SCOPED_TRACE(length);
        const std::string name(length, 'n');
        ASSERT_TRUE(files.locate(folder, name, ".ldf"));
        for (int i = 0; i < 3; ++i) EXPECT_EQ(length <= 249, rotate());
        if (length > 249) break;
        EXPECT_TRUE(fs::exists(folder + name + "_C.ldf"));
        files.set_aside();
        EXPECT_TRUE(fs::exists(folder + name + (length == 245 ? "_A.ldf.err" : "_A.err")));
    }
}
