#include "platform/unix/QENPlatform.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// An empty directory of its own for each test, which is also the current one.
class Files : public testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/qen-files-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(name));
        _home = fs::current_path();
        _dir = name;
        fs::current_path(_dir);
    }
    void TearDown() override {
        fs::current_path(_home);
        fs::remove_all(_dir);
    }
    static void make_file(const char* name, off_t size) {
        std::ofstream(name).flush();
        ASSERT_EQ(0, truncate(name, size));
    }

    fs::path _home, _dir;
};

TEST_F(Files, EachNameHasItsAnswers) {
    make_file("file", 117);
    make_file("last", 2147483647);
    make_file("beyond", 4294967296 + 5); // saturates instead of wrapping
    fs::create_directories("full/sub");
    fs::create_symlink("full", "link");
    fs::create_symlink("nowhere", "dangling");
    constexpr int ANY = -2;
    const struct {
        const char* name;
        int is_dir, size, removed, error;
    } cases[] = {{"file", 0, 117, 0, 0},          {"last", 0, 2147483647, 0, 0},
                 {"beyond", 0, 2147483647, 0, 0}, {"file", 0, -1, -1, ENOENT}, // gone
                 {"link", 1, ANY, 0, 0},          {"full", 1, ANY, -1, ENOTEMPTY},
                 {"dangling", 0, -1, 0, 0},       {nullptr, 0, -1, -1, EINVAL}};
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
         {"a/b/c", "with blank", "quo\"te", "$(touch pwned)", "`touch pwned`", "; touch pwned", "back\\slash",
          "trailing\\", "-p", "--help", "$HOME", "new\nline", "'single'", "* ? [x] ~ ! # &",
          "\\$(touch pwned)", "\xC3\xA4\xFF"}) {
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
    EXPECT_EQ(1, QENCheckDir("ignoring"));
}

TEST_F(Files, WriteAllEndsAtTheFirstError) {
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    EXPECT_FALSE(QENWriteAll(full, "x", 1));
    EXPECT_EQ(ENOSPC, errno);
    close(full);
}

TEST(Environment, GetenvCopiesCutsAndClears) {
    setenv("QEN_TEST_VARIABLE", "0123456789", 1);
    const struct {
        const char* name;
        size_t size;
        int result;
        const char* text;
    } cases[] = {{"QEN_TEST_VARIABLE", 11, 0, "0123456789"},
                 {"QEN_TEST_VARIABLE", 10, 0, "012345678"},
                 {"QEN_TEST_VARIABLE", 0, 0, "zzz"},
                 {"QEN_TEST_UNSET", 8, -1, ""},
                 {nullptr, 8, -1, ""}};
    for (const auto& c : cases) {
        char text[16] = "zzz";
        EXPECT_EQ(c.result, QENGetenv(c.name, text, c.size));
        EXPECT_STREQ(c.text, text) << (c.name != nullptr ? c.name : "null") << " " << c.size;
    }
}

} // namespace
