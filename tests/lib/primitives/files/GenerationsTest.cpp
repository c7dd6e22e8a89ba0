#include "primitives/files/Generations.h"
#include "support/ChildProcess.h"
#include "support/Prelude.h"
#include "support/SystemCalls.h"
#include "support/TempDir.h"

struct GenerationsTest : testing::Test {
    ~GenerationsTest() override { system_call_plan = nullptr; }

    // The files A, B, C and the new one as a character each: "-" for none, "/" for an empty directory, "#"
    // for one that holds something, else what the file holds.
    void lay(const std::string& state) const {
        fs::remove_all(folder);
        fs::create_directory(folder);
        for (size_t i = 0; i < state.size(); ++i) {
            const std::string name = std::string("n/") + NAMES[i], content = state.substr(i, 1);
            if (content == "#" || content == "/")
                temp.make(content == "#" ? name + "/full" : name);
            else if (content != "-")
                temp.write(name, content);
        }
    }
    std::string found() const {
        std::string state;
        for (const std::string name : NAMES) {
            const fs::path path = folder + name;
            state += !fs::exists(path)         ? "-"
                     : !fs::is_directory(path) ? temp.read("n/" + name)
                     : fs::is_empty(path)      ? "/"
                                               : "#";
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
            return call.name.ends_with(name) && call.path.ends_with(ending) ? -why : PASS;
        };
    };
    const std::tuple<const char*, std::string, SystemCallPlan> cases[] = {
        {"abc-", "+ab-", nullptr},
        {"----", "+---", nullptr},
        {"a-c-", "+ac-", nullptr},
        {"-bc-", "+bc-", nullptr},
        {"a--s", "+a--", nullptr}, // what a dead process left
        {"ab/-", "+ab-", nullptr},
        {"abc-", "+ab-", no("link", "", EPERM)},
        // blocked
        {"a--#", "a--#", nullptr},
        {"ab#-", "ab#-", nullptr},
        {"a/--", "a/--", nullptr},
        {"/bc-", "/bc-", nullptr},
        {"abc-", "abc-", no("pwrite", "", ENOSPC)},
        {"abc-", "abc-", no("rename", "_B.ldf", EACCES)},
        {"abc-", "a-b-", no("", "_A.ldf", EACCES)},
        {"abc-", "a-b-", no("rename", ".new")},
        {"abc-", "a-b-",
         [&](const SystemCall& call) { return call.name == "link" ? -EPERM : no("rename", ".new")(call); }},
    };
    ASSERT_TRUE(files.locate(folder, "n", ".ldf"));
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const auto& [before, after, plan] = c;
        lay(before);
        system_call_plan = plan;
        const bool rotates = after[0] == '+';
        for (int i = rotates ? 2 : 0; i < 3; ++i) EXPECT_EQ(rotates, rotate());
        system_call_plan = nullptr;
        EXPECT_EQ(after, found());
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
