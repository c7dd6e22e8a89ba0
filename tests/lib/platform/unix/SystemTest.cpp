// Identity of process and host, and time.
#include "platform/unix/QENPlatform.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/prctl.h>
#include <sys/utsname.h>

namespace {

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
