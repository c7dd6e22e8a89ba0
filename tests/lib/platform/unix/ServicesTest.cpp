// Files, directories, environment, identity of process and host, and time.
#include "platform/unix/QENPlatform.h"
#include "support/TempDir.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/prctl.h>
#include <sys/utsname.h>
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

TEST(System, NamesComeFromTheKernelAndAreCut) {
    utsname host;
    ASSERT_EQ(0, uname(&host));
    const std::string node = host.nodename;
    const std::string info = "Linux:" + node + "," + host.version + "," + host.release + "," + host.machine;
    EXPECT_EQ(node, std::unique_ptr<char[]>(QENGetSystemName(nullptr, 0)).get());
    char text[512];
    for (const size_t size : {sizeof text, size_t{9}}) {
        QENGetSysInfo(text, size);
        EXPECT_EQ(info.substr(0, size - 1), text);
    }
    prctl(PR_SET_NAME, "fifteen: chars)"); // of the first thread, which is the process's
    EXPECT_STREQ("fifteen: chars)", std::unique_ptr<char[]>(QENGetProcName()).get());
}

TEST(System, TimeIsLocalAndCut) {
    setenv("TZ", "XXX-05:30", 1); // five and a half hours east
    tzset();
    char text[64], small[] = "zzzzzz";
    const time_t before = time(nullptr);
    ASSERT_EQ(0, QENTime(text, sizeof text));
    tm parsed = {};
    ASSERT_NE(nullptr, strptime(text, "%Y/%m/%d %H:%M:%S ", &parsed));
    const time_t shown = timegm(&parsed) - (5 * 60 + 30) * 60;
    EXPECT_EQ(20u, std::strlen(text));
    EXPECT_TRUE(before <= shown && shown <= before + 5);
    ASSERT_EQ(0, QENTime(small, 6));
    EXPECT_EQ(std::string(text, 5), small);
    EXPECT_EQ(-1, QENTime(small, 0));
}

} // namespace
