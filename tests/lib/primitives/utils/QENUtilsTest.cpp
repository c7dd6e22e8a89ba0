// The system's name, local time, and tests for plain ASCII.
#include "primitives/utils/QENUtils.h"

#include <sys/utsname.h>

#include "support/Prelude.h"
#include "support/TempDir.h"

static constexpr char WORD[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";

TEST(SystemName, ComesFromTheEnvironmentThenTheFileThenTheNode) {
    const TempDir dir;
    setenv("TAQ_CONF", dir.path().c_str(), 1);
    unsetenv("ZORQ_LOCAL_NAME");
    const auto name = [] { return std::string(std::unique_ptr<char[]>(QENUtils::get_system()).get()); };
    utsname host{};
    uname(&host);
    const std::string node = std::string(host.nodename).substr(0, std::strspn(host.nodename, WORD));
    EXPECT_EQ(node, name()) << "no file";

    const std::string fill(5000, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {"OTHER=1\n  \t LOCAL_NAME \t= \t alpha beta # c\r\n", "alpha"},
        {"LOCAL_NAME=al#pha\n", "al"},
        {"Local_name=one=1\nLOCAL_NAME=two\n", "one=1"},
        {"#LOCAL_NAME=alpha\n \t#LOCAL_NAME=beta\nLOCAL_NAMES=a\nLOCAL_NAM=b\nXLOCAL_NAME=c\n", node},
        {"\n=\n=x\nLOCAL_NAME\n  \n\r\nLOCAL_NAME=ok\n", "ok"},
        {"LOCAL_NAME=" + fill + "\n", std::string(4095 - 11, 'x')},
        {fill.substr(0, 4096) + "LOCAL_NAME=evil\nx=\0\nLOCAL_NAME=ok\n"s, "ok"}};
    for (const auto& [conf, expect] : cases) {
        dir.write("taq.conf", conf);
        EXPECT_EQ(expect, name()) << conf.substr(0, 80);
    }
    setenv("ZORQ_LOCAL_NAME", std::string(64, 'e').c_str(), 1);
    EXPECT_EQ(std::string(63, 'e'), name());
    unsetenv("ZORQ_LOCAL_NAME");
    fs::remove(dir.path("taq.conf"));
    ASSERT_EQ(0, mkfifo(dir.path("taq.conf").c_str(), 0600));
    EXPECT_EQ(node, name()) << "a FIFO must not be waited for";
}

TEST(QENUtils, AsciiIs32To127) {
    for (int c = 1; c < 256; ++c)
        EXPECT_EQ(c >= 32 && c <= 127, QENUtils::is_ascii_str(("ab"s + static_cast<char>(c)).c_str())) << c;
}

TEST(QENUtils, LocalTimeIsOfTheEnvironmentAndTakesNoMoreThanItsBuffer) {
    setenv("TZ", "XXX-2", 1);
    setenv("LC_ALL", "C", 1);
    tzset();
    const long t = 1795805520, beyond = LONG_MAX; // 2026-11-27 18:52:00 UTC, by date -u
    char buf[64];
    EXPECT_EQ(nullptr, QENUtils::i18n_localtime(&t, buf, 0));
    EXPECT_STREQ("", QENUtils::i18n_localtime(&t, buf, 24)) << "no room for the NUL";
    EXPECT_STREQ("Fri Nov 27 20:52:00 2026", QENUtils::i18n_localtime(&t, buf, 25));
    EXPECT_STREQ("", QENUtils::i18n_localtime(&beyond, buf, sizeof buf)) << "a year no int can hold";
}
