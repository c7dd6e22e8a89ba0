// Identity of process and host, and time.
#include "platform/unix/QENPlatform.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/prctl.h>
#include <sys/utsname.h>

namespace {

TEST(System, ProcNameIsTheNameOfTheProcess) {
    prctl(PR_SET_NAME, "fifteen: chars)"); // of the first thread, which is the process's
    EXPECT_STREQ("fifteen: chars)", std::unique_ptr<char[]>(QENGetProcName()).get());
}

TEST(System, NamesComeFromTheKernelAndAreCut) {
    utsname host;
    ASSERT_EQ(0, uname(&host));
    const std::string node = host.nodename;
    const std::string info = "Linux:" + node + "," + host.version + "," + host.release + "," + host.machine;
    char text[512];

    EXPECT_EQ(node, std::unique_ptr<char[]>(QENGetSystemName(nullptr, 0)).get());
    EXPECT_EQ(text, QENGetSystemName(text, sizeof text));
    EXPECT_EQ(node, text);
    QENGetSysInfo(text, sizeof text);
    EXPECT_EQ(info, text);
    text[9] = 'z';
    QENGetSysInfo(text, 9);
    EXPECT_EQ(info.substr(0, 8), text);
    EXPECT_EQ('z', text[9]);
}

TEST(System, TimeIsLocalAndCut) {
    setenv("TZ", "XXX-05:30", 1); // five and a half hours east
    tzset();
    char text[64];
    const time_t before = time(nullptr);
    ASSERT_EQ(0, QENTime(text, sizeof text));
    ASSERT_EQ(20u, std::strlen(text));
    tm parsed = {};
    ASSERT_NE(nullptr, strptime(text, "%Y/%m/%d %H:%M:%S ", &parsed));
    const time_t shown = timegm(&parsed) - (5 * 60 + 30) * 60;
    EXPECT_LE(before, shown);
    EXPECT_GE(before + 5, shown);

    char small[] = "zzzzzz";
    ASSERT_EQ(0, QENTime(small, 6));
    EXPECT_EQ(std::string(text, 5), small);
    EXPECT_EQ(-1, QENTime(small, 0));
    EXPECT_EQ(-1, QENTime(nullptr, 6));
}

TEST(System, MemAlignAligns) {
    const std::unique_ptr<void, decltype(&std::free)> p(QENMemAlign(4096, 100), std::free);
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(p.get()) % 4096);
}

} // namespace
