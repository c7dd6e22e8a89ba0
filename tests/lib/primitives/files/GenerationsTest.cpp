#include "primitives/files/Generations.h"
#include "support/ChildProcess.h"
#include "support/Prelude.h"
#include "support/SystemCalls.h"
#include "support/TempDir.h"

class GenerationsTest : public testing::Test {
protected:
    ~GenerationsTest() override { system_call_plan = nullptr; }

    // The files A, B, C and the new one as a character each: "-" for none, "/" for an empty directory, "#"
    // for one that holds something, else what the file holds.
    void lay(const std::string& state) const {
        fs::remove_all(folder);
        fs::create_directory(folder);
        for (size_t i = 0; i < state.size(); ++i) {
            if (state[i] == '/' || state[i] == '#')
                fs::create_directories(folder + NAMES[i] + (state[i] == '#' ? "/full" : ""));
            else if (state[i] != '-')
                temp.write(std::string("n/") + NAMES[i], state.substr(i, 1));
        }
    }
    std::string found() const {
        std::string state;
        for (const std::string name : NAMES) {
            if (fs::is_directory(folder + name))
                state += fs::is_empty(folder + name) ? "/" : "#";
            else
                state += fs::exists(folder + name) ? temp.read("n/" + name) : "-";
        }
        return state;
    }
    bool rotate() const {
        const int fd = files.make_new("+", QENAccess::UPDATE);
        return fd >= 0 && close(fd) == 0 && files.rotate();
    }

    static constexpr const char* NAMES[] = {"n_A.ldf", "n_B.ldf", "n_C.ldf", "n_A.new"};
    const TempDir temp;
    const std::string folder = temp.path("n") + "/";
    Generations files;
};

// However often a blocked rotation is tried, it costs no more than the oldest generation, and A is where it
// was.
TEST_F(GenerationsTest, MovesOnWhatIsThereOrLeavesTheCurrentFile) {
    const auto no = [](std::string_view name, std::string_view ending, int why = EIO) {
        return [=](const SystemCall& call) {
            return call.name == name && call.path.ends_with(ending) ? -why : PASS;
        };
    };
    const struct {
        std::string before, after;
        SystemCallPlan plan = nullptr;
    } cases[] = {
        {"abc-", "+ab-"},
        {"----", "+---"},
        {"a-c-", "+ac-"},
        {"-bc-", "+bc-"},
        {"a--s", "+a--"}, // what a dead process left
        {"ab/-", "+ab-"},
        {"abc-", "+ab-", no("link", "", EPERM)},
        // blocked
        {"a--#", "a--#"},
        {"ab#-", "ab#-"},
        {"a/--", "a/--"},
        {"a/c-", "a/c-"},
        {"/bc-", "/bc-"},
        {"abc-", "abc-", no("pwrite", "", ENOSPC)},
        {"abc-", "abc-", no("rename", "_B.ldf", EACCES)},
        {"abc-", "a-b-",
         [](const SystemCall& call) { return call.path.ends_with("_A.ldf") ? -EACCES : PASS; }},
        {"abc-", "a-b-", no("rename", ".new")},
        {"abc-", "a-b-",
         [&](const SystemCall& call) { return call.name == "link" ? -EPERM : no("rename", ".new")(call); }},
    };
    ASSERT_TRUE(files.locate(folder, "n", ".ldf"));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.before + " " + c.after + " " + std::to_string(&c - cases));
        lay(c.before);
        system_call_plan = c.plan;
        const bool rotates = c.after[0] == '+';
        for (int i = rotates ? 2 : 0; i < 3; ++i) EXPECT_EQ(rotates, rotate());
        system_call_plan = nullptr;
        EXPECT_EQ(c.after, found());
    }
    lay("a---");
    fs::create_hard_link(folder + NAMES[0], folder + NAMES[1]); // as a death between two steps leaves it
    files.mend();
    EXPECT_EQ("a---", found());
    EXPECT_EQ(0, in_child([this] { return close(0), files.make_new("+", QENAccess::UPDATE) < 3; }))
        << "no standard stream";
}

TEST_F(GenerationsTest, NamesMayBeAsLongAsTheFileSystemTakesThem) {
    lay("");
    for (const size_t length : {245u, 249u, 250u}) {
        const std::string name(length, 'n');
        ASSERT_TRUE(files.locate(folder, name, ".ldf"));
        for (int i = 0; i < 3; ++i) EXPECT_EQ(length <= 249, rotate()) << length;
        files.set_aside();
        const std::string aside = folder + name + (length == 245 ? "_A.ldf.err" : "_A.err");
        EXPECT_EQ(length <= 249, access(aside.c_str(), F_OK) == 0);
    }
}
