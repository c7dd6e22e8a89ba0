// Files, directories, environment, identity of process and host, and time.
#include "platform/unix/QENPlatform.h"
#include "support/TempDir.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <gtest/gtest.h>
#include <memory>
#include <sys/prctl.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

TEST(Files, EachNameHasItsAnswers) {
    const TempDir dir;
    for (const auto& [name, size] : {std::pair{"last", 2147483647L}, {"beyond", 2147483648L}})
        ASSERT_EQ(0, truncate(dir.write(name, "").c_str(), size));
    fs::create_symlink(dir.make("full"), dir.make("full/sub") + "/../../link");
    const struct {
        const char* name;
        int is_dir, size, removed, error;
    } cases[] = {{"last", 0, 2147483647, 0, 0}, {"beyond", 0, 2147483647, 0, 0},
                 {"last", 0, -1, -1, ENOENT},   {"link", 1, 0, 0, 0},
                 {"full", 1, 0, -1, ENOTEMPTY}, {nullptr, 0, -1, -1, EINVAL}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const std::string path = dir.path(c.name != nullptr ? c.name : "x");
        const char* name = c.name != nullptr ? path.c_str() : nullptr;
        EXPECT_EQ(c.is_dir, QENCheckDir(name));
        EXPECT_TRUE(c.is_dir || c.size == QENGetFileSize(name));
        int error = 0;
        EXPECT_EQ(c.removed, QENDeleteFile(name, &error));
        EXPECT_EQ(c.error, error);
    }
}

// Each name passes through a shell and must arrive byte for byte.
TEST(Files, MakeDirCreatesExactlyTheNamedDirectory) {
    const TempDir dir;
    fs::current_path(dir.path());
    for (const char* name :
         {"a/b/c", "quo\"te", "$(touch pwned)", "`touch pwned`", "; touch pwned", "trailing\\", "-p", "$HOME",
          "new\nline", "* ? [x] ~ ! # &'", "\\$(touch pwned)", "\xC3\xA4\xFF"}) {
        for (int i = 0; i < 2; ++i) EXPECT_EQ(0, QENMakeDir(name));
        EXPECT_EQ(1, QENCheckDir(name)) << name;
        fs::remove_all(*fs::path(name).begin());
    }
    EXPECT_TRUE(fs::is_empty("."));
    EXPECT_EQ(0, QENMakeDir("/dev/null/below")) << "it tells only whether the child ran";
    const auto old = std::signal(SIGCHLD, SIG_IGN); // nothing is left to wait for then
    EXPECT_EQ(0, QENMakeDir("ignoring"));
    std::signal(SIGCHLD, old);
    fs::current_path("/");
}

TEST(System, NamesComeFromTheKernelAndAllTextsAreCut) {
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
    EXPECT_EQ(-1, QENGetenv("QEN_TEST_UNSET", text, 10));
    EXPECT_STREQ("", text);
    setenv("QEN_TEST_VARIABLE", "0123456789", 1);
    EXPECT_EQ(0, QENGetenv("QEN_TEST_VARIABLE", text, 10));
    EXPECT_STREQ("012345678", text);
}

TEST(System, TimeIsLocalAndCut) {
    setenv("TZ", "XXX-05:30", 1); // five and a half hours east
    tzset();
    char text[64], small[] = "zzzzzz";
    const time_t before = time(nullptr);
    ASSERT_EQ(0, QENTime(text, sizeof text));
    tm parsed = {};
    ASSERT_STREQ("", strptime(text, "%Y/%m/%d %H:%M:%S ", &parsed));
    const time_t shown = timegm(&parsed) - (5 * 60 + 30) * 60;
    EXPECT_TRUE(before <= shown && shown <= before + 5);
    ASSERT_EQ(0, QENTime(small, 6));
    EXPECT_EQ(std::string(text, 5), small);
    EXPECT_EQ(-1, QENTime(small, 0));
}

} // namespace
