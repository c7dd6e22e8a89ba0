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

TEST_F(Files, CheckDirFollowsLinksAndRefusesTheRest) {
    make_file("file", 1);
    fs::create_directory("dir");
    fs::create_symlink("dir", "link-to-dir");
    fs::create_symlink("nowhere", "dangling");
    EXPECT_EQ(1, QENCheckDir("dir"));
    EXPECT_EQ(1, QENCheckDir("link-to-dir"));
    for (const char* name : {"file", "dangling", "missing", "file/below", ""})
        EXPECT_EQ(0, QENCheckDir(name)) << name;
    EXPECT_EQ(0, QENCheckDir(nullptr));
}

TEST_F(Files, FileSizeSaturatesInsteadOfWrapping) {
    const struct {
        off_t size;
        int32_t expect;
    } cases[] = {{0, 0},
                 {117, 117},
                 {2147483646, 2147483646},
                 {2147483647, 2147483647},
                 {2147483648, 2147483647},
                 {4294967296 + 5, 2147483647}};
    for (const auto& c : cases) {
        make_file("file", c.size);
        EXPECT_EQ(c.expect, QENGetFileSize("file")) << c.size;
    }
    EXPECT_EQ(-1, QENGetFileSize("missing"));
    EXPECT_EQ(-1, QENGetFileSize(nullptr));
}

TEST_F(Files, DeleteReportsWhyNothingWasRemoved) {
    make_file("file", 0);
    fs::create_directories("full/sub");
    fs::create_directory("empty");
    const struct {
        const char* name;
        int expect, error;
    } cases[] = {{"file", 0, 0},
                 {"empty", 0, 0},
                 {"file", -1, ENOENT},
                 {"full", -1, ENOTEMPTY},
                 {nullptr, -1, EINVAL}};
    for (const auto& c : cases) {
        int error = 0;
        EXPECT_EQ(c.expect, QENDeleteFile(c.name, &error));
        EXPECT_EQ(c.error, error) << (c.name != nullptr ? c.name : "null");
    }
    EXPECT_EQ(-1, QENDeleteFile("missing"));
}

// Each name passes through a shell and must arrive byte for byte.
TEST_F(Files, MakeDirCreatesExactlyTheNamedDirectory) {
    const char* names[] = {"a/b/c",          "with blank",      "quo\"te",
                           "$(touch pwned)", "`touch pwned`",   "; touch pwned",
                           "back\\slash",    "trailing\\",      "-p",
                           "--help",         "$HOME",           "new\nline",
                           "'single'",       "* ? [x] ~ ! # &", "\\$(touch pwned)",
                           "\xC3\xA4\xFF"};
    for (const char* name : names) {
        EXPECT_EQ(0, QENMakeDir(name));
        EXPECT_EQ(1, QENCheckDir(name)) << name;
        EXPECT_EQ(0, QENMakeDir(name)) << "existing: " << name;
        fs::remove_all(*fs::path(name).begin());
    }
    EXPECT_TRUE(fs::is_empty("."));
}

TEST_F(Files, MakeDirTellsOnlyWhetherTheChildRan) {
    make_file("file", 0);
    EXPECT_EQ(0, QENMakeDir("file/below"));
    EXPECT_EQ(0, QENCheckDir("file/below"));
    EXPECT_EQ(-1, QENMakeDir(nullptr));

    const auto old = std::signal(SIGCHLD, SIG_IGN); // nothing is left to wait for then
    EXPECT_EQ(0, QENMakeDir("ignoring"));
    std::signal(SIGCHLD, old);
    EXPECT_EQ(1, QENCheckDir("ignoring"));
}

TEST_F(Files, BasenameOfPaths) {
    const struct {
        const char *path, *expect;
    } cases[] = {{"/usr/bin/taqmsg", "taqmsg"}, {"taqmsg", "taqmsg"}, {"/a/b//", "b"}, {"/", "/"}, {"", "."}};
    for (const auto& c : cases) {
        std::string path = c.path;
        EXPECT_STREQ(c.expect, QENCLIBasename(path.data())) << c.path;
    }
}

TEST_F(Files, WriteAllEndsAtTheFirstError) {
    const std::string data(100'000, 'x');
    int fd = open("out", O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    EXPECT_TRUE(QENWriteAll(fd, data.data(), data.size()));
    close(fd);
    EXPECT_EQ(100'000, QENGetFileSize("out"));
    fd = open("/dev/full", O_WRONLY | O_CLOEXEC);
    EXPECT_FALSE(QENWriteAll(fd, "x", 1));
    EXPECT_EQ(ENOSPC, errno);
    close(fd);
}

TEST(Environment, GetenvCopiesCutsAndClears) {
    setenv("QEN_TEST_VARIABLE", "0123456789", 1);
    setenv("QEN_TEST_EMPTY", "", 1);
    const struct {
        const char* name;
        size_t size;
        int result;
        const char* text;
    } cases[] = {{"QEN_TEST_VARIABLE", 11, 0, "0123456789"},
                 {"QEN_TEST_VARIABLE", 10, 0, "012345678"},
                 {"QEN_TEST_VARIABLE", 1, 0, ""},
                 {"QEN_TEST_VARIABLE", 0, 0, "zzz"},
                 {"QEN_TEST_EMPTY", 8, 0, ""},
                 {"QEN_TEST_UNSET", 8, -1, ""},
                 {nullptr, 8, -1, ""}};
    for (const auto& c : cases) {
        char text[16] = "zzz";
        EXPECT_EQ(c.result, QENGetenv(c.name, text, c.size));
        EXPECT_STREQ(c.text, text) << (c.name != nullptr ? c.name : "null") << " " << c.size;
    }
}

} // namespace
