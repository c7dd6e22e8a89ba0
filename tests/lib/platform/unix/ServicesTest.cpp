// Files, directories, and time.
#include "platform/unix/QENPlatform.h"
#include "support/Prelude.h"
#include "support/TempDir.h"

TEST(Files, SizesAndDeletionsHaveTheirAnswers) {
    const TempDir dir;
    const std::string full = dir.make("full"), file = dir.write("full/file", "");
    for (const long size : {2147483647L, 2147483648L}) { // the latter must not wrap
        ASSERT_EQ(0, truncate(file.c_str(), size));
        EXPECT_EQ(2147483647, QENGetFileSize(file.c_str()));
    }
    int error = 0;
    EXPECT_TRUE(QENCheckDir(full.c_str()) == 1 && QENCheckDir(file.c_str()) == 0);
    EXPECT_TRUE(QENDeleteFile(full.c_str(), &error) == -1 && error == ENOTEMPTY);
    EXPECT_TRUE(QENDeleteFile(file.c_str()) == 0 && QENDeleteFile(full.c_str()) == 0); // it is empty now
    EXPECT_TRUE(QENDeleteFile(nullptr, &error) == -1 && error == EINVAL);
    EXPECT_EQ(-1, QENGetFileSize(file.c_str()));
}

// Each name passes through a shell and must arrive byte for byte.
TEST(Files, MakeDirCreatesExactlyTheNamedDirectory) {
    const TempDir dir;
    fs::current_path(dir.path());
    for (const char* name : {"a/b/c", "quo\"te", "$(touch pwned)", "`touch pwned`", "trailing\\", "-p",
                             "$HOME", "new\nline", "* ? [x] ~ ! # &'", "\xC3\xA4\xFF"}) {
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

TEST(Time, IsLocalAndCut) {
    setenv("TZ", "XXX-05:30", 1); // five and a half hours east
    tzset();
    const auto shown = [](time_t at) {
        char text[64];
        return std::string(text, strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S ", gmtime(&at)));
    };
    char text[64];
    const time_t before = time(nullptr) + (5 * 60 + 30) * 60;
    ASSERT_EQ(0, QENTime(text, sizeof text));
    EXPECT_THAT(text, testing::AnyOf(shown(before), shown(before + 1)));
    ASSERT_EQ(0, QENTime(text, 5));
    EXPECT_EQ(shown(before).substr(0, 4), text);
}
