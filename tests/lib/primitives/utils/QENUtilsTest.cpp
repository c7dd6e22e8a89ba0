#include "primitives/utils/QENUtils.h"

#include <sys/stat.h>
#include <sys/utsname.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

class SystemName : public testing::Test {
protected:
    void SetUp() override {
        char dir[] = "/tmp/taq_utils_XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(dir));
        _dir = dir;
        setenv("TAQ_CONF", dir, 1);
        unsetenv("ZORQ_LOCAL_NAME");
    }
    void TearDown() override {
        unsetenv("TAQ_CONF");
        unsetenv("ZORQ_LOCAL_NAME");
        std::filesystem::remove_all(_dir);
    }
    std::string conf() const { return _dir + "/taq.conf"; }
    void configure(const std::string& text) const { std::ofstream(conf(), std::ios::binary) << text; }
    static std::string name() { return std::unique_ptr<char[]>(QENUtils::get_system()).get(); }
    static std::string node() {
        utsname u{};
        uname(&u);
        const std::string full = u.nodename;
        return full.substr(
            0, full.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_"));
    }

    std::string _dir;
};

TEST_F(SystemName, EnvironmentDecidesFirst) {
    configure("LOCAL_NAME=conf\n");
    setenv("ZORQ_LOCAL_NAME", "from env", 1);
    EXPECT_EQ("from env", name());
    setenv("ZORQ_LOCAL_NAME", std::string(64, 'e').c_str(), 1);
    EXPECT_EQ(std::string(63, 'e'), name());
    setenv("ZORQ_LOCAL_NAME", "", 1);
    EXPECT_EQ("", name());
}

TEST_F(SystemName, ConfigurationFileThenNode) {
    const std::string fill(5000, 'x');
    const struct {
        const char* title;
        std::string conf, expect;
    } cases[] = {
        {"no newline at the end", "OTHER=1\nLOCAL_NAME=alpha", "alpha"},
        {"white space, CR and comment", "  \t LOCAL_NAME \t= \t alpha beta # c\r\n", "alpha"},
        {"first word ends at a tab", "LOCAL_NAME=alpha\tbeta\n", "alpha"},
        {"value up to the comment", "LOCAL_NAME=al#pha\n", "al"},
        {"first of two, ignoring case", "Local_name=one=1\nLOCAL_NAME=two\n", "one=1"},
        {"commented out", "#LOCAL_NAME=alpha\n \t#LOCAL_NAME=beta\n", node()},
        {"longer and shorter names", "LOCAL_NAMES=a\nLOCAL_NAM=b\nXLOCAL_NAME=c\n", node()},
        {"lines that are none", "\n=\n=x\nLOCAL_NAME\n  \n\r\nLOCAL_NAME=ok\n", "ok"},
        {"no word in the value", "LOCAL_NAME=  # none\n", node()},
        {"value cut at the line", "LOCAL_NAME=" + fill + "\n", std::string(4095 - 11, 'x')},
        {"the longest line", fill.substr(0, 4094) + "=\nLOCAL_NAME=ok\n", "ok"},
        {"the rest of a long line is no line", fill.substr(0, 4095) + "LOCAL_NAME=evil\nLOCAL_NAME=ok\n",
         "ok"},
        {"a NUL hides no line end", "x=\0\nLOCAL_NAME=ok\n"s, "ok"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.title);
        configure(c.conf);
        EXPECT_EQ(c.expect, name());
    }
}

TEST_F(SystemName, OnlyARegularFileIsRead) {
    EXPECT_EQ(node(), name()) << "absent";
    ASSERT_EQ(0, mkfifo(conf().c_str(), 0600));
    EXPECT_EQ(node(), name()) << "a FIFO must not be waited for";
    std::filesystem::remove(conf());
    std::filesystem::create_symlink("/dev/zero", conf());
    EXPECT_EQ(node(), name()) << "a device without end";
    setenv("TAQ_CONF", std::string(5000, 'd').c_str(), 1);
    EXPECT_EQ(node(), name()) << "a path too long";
}

TEST(QENUtils, AsciiIs32To127) {
    for (int c = 1; c < 256; ++c) {
        const std::string s = "ab"s + static_cast<char>(c);
        EXPECT_EQ(c >= 32 && c <= 127, QENUtils::is_ascii(c)) << c;
        EXPECT_EQ(c >= 32 && c <= 127, QENUtils::is_ascii_str(s.c_str())) << c;
    }
    for (const int c : {-1, 256 + 'a'}) EXPECT_EQ(0, QENUtils::is_ascii(c)) << c;
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
    const long before = time(nullptr);
    tm parsed{};
    ASSERT_NE(nullptr, strptime(QENUtils::i18n_localtime(nullptr, buf, sizeof buf), "%c", &parsed));
    EXPECT_NEAR(static_cast<double>(before), static_cast<double>(timegm(&parsed) - 2 * 3600), 5);
}

} // namespace
