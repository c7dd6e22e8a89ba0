// Files, directories and environment.
#include "platform/unix/QENPlatform.h"
#include "support/TempDir.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// An empty directory of its own for each test, which is also the current one.
struct Files : testing::Test {
    Files() { fs::current_path(dir.path()); }
    ~Files() override { fs::current_path("/"); }
    TempDir dir;
};

TEST_F(Files, EachNameHasItsAnswers) {
    constexpr int ANY = -2;
    for (const auto& [name, size] : {std::pair{"last", 2147483647L}, {"beyond", 2147483648L}}) {
        std::ofstream(name).flush();
        ASSERT_EQ(0, truncate(name, size));
    }
    fs::create_directories("full/sub");
    fs::create_symlink("full", "link");
    const struct {
        const char* name;
        int is_dir, size, removed, error;
    } cases[] = {{"last", 0, 2147483647, 0, 0},   {"beyond", 0, 2147483647, 0, 0},
                 {"last", 0, -1, -1, ENOENT},     {"link", 1, ANY, 0, 0},
                 {"full", 1, ANY, -1, ENOTEMPTY}, {nullptr, 0, -1, -1, EINVAL}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name != nullptr ? c.name : "null");
        EXPECT_EQ(c.is_dir, QENCheckDir(c.name));
        EXPECT_TRUE(c.size == ANY || c.size == QENGetFileSize(c.name));
        int error = 0;
        EXPECT_EQ(c.removed, QENDeleteFile(c.name, &error));
        EXPECT_EQ(c.error, error);
    }
}

// Each name passes through a shell and must arrive byte for byte.
TEST_F(Files, MakeDirCreatesExactlyTheNamedDirectory) {
    for (const char* name :
         {"a/b/c", "quo\"te", "$(touch pwned)", "`touch pwned`", "; touch pwned", "trailing\\", "-p", "$HOME",
          "new\nline", "* ? [x] ~ ! # &'", "\\$(touch pwned)", "\xC3\xA4\xFF"}) {
        EXPECT_EQ(0, QENMakeDir(name));
        EXPECT_EQ(1, QENCheckDir(name)) << name;
        EXPECT_EQ(0, QENMakeDir(name)) << "existing: " << name;
        fs::remove_all(*fs::path(name).begin());
    }
    EXPECT_TRUE(fs::is_empty("."));
    EXPECT_EQ(0, QENMakeDir("/dev/null/below")) << "it tells only whether the child ran";
    EXPECT_EQ(-1, QENMakeDir(nullptr));
    const auto old = std::signal(SIGCHLD, SIG_IGN); // nothing is left to wait for then
    EXPECT_EQ(0, QENMakeDir("ignoring"));
    std::signal(SIGCHLD, old);
}

TEST(Environment, GetenvCutsAndClears) {
    char text[16] = "zzz";
    setenv("QEN_TEST_VARIABLE", "0123456789", 1);
    EXPECT_EQ(0, QENGetenv("QEN_TEST_VARIABLE", text, 0));
    EXPECT_STREQ("zzz", text);
    EXPECT_EQ(0, QENGetenv("QEN_TEST_VARIABLE", text, 10));
    EXPECT_STREQ("012345678", text);
    EXPECT_EQ(-1, QENGetenv("QEN_TEST_UNSET", text, 10));
    EXPECT_STREQ("", text);
}

} // namespace
