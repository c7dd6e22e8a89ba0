// The system log, failed checks, and events.
#include "platform/unix/QENAssert.h"
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"
#include "support/Prelude.h"
#include "support/SyslogTrap.h"

#include <syslog.h>

TEST(Syslog, PriorityAndTextArriveUnderTheNameThatWasGiven) {
    clear_syslog();
    QENSyslog(0, "%s", "100% %s %n");
    QENSyslog(2, "%s", std::string(5000, 'a').c_str());
    QENSyslog((LOG_LOCAL7 << 8) + 4, "facility");
    QENSyslog((1 << 16) + 5, "x");
    EXPECT_EQ(syslog_texts(), (std::vector<std::string>{std::to_string(LOG_CRIT) + "100% %s %n",
                                                        std::to_string(LOG_WARNING) + std::string(4094, 'a'),
                                                        std::to_string(LOG_LOCAL7 | LOG_INFO) + "facility",
                                                        std::to_string(LOG_DEBUG) + "x"}));

    std::string module = "engine";
    QENInitEventLog(module.c_str());
    module = "xxxxxx";
    EXPECT_STREQ("engine", openlog_identity);
    EXPECT_TRUE(openlog_options == (LOG_PID | LOG_CONS) && openlog_facility == LOG_DAEMON);
    QENInitEventLog(nullptr);
    EXPECT_STREQ("PlatformTest", openlog_identity);
}

TEST(AssertDeathTest, ReportsReasonThenPositionHereAndInTheSystemLog) {
    EXPECT_EXIT(
        (syslog_echo = true, QENAssert("e", "f.cpp", 3, "why")), testing::KilledBySignal(SIGABRT),
        "^\\[3 why\\]why\n\\[3 ASSERTION FAILED: file f.cpp, line 3, expression \\(e\\)\n\\]ASSERTION");
    EXPECT_DEATH(QEN_CHECK(1 == 2), "SyslogTest.cpp, line [0-9]+, expression \\(1 == 2\\)");
}

static std::string events;

TEST(Events, OnlySeriousOnesReachTheHook) {
    auto* msg = reinterpret_cast<MsgStruct*>(0x40);
    QENSetHooks({.report_event = [](int sev, uint32_t id, MsgStruct*, const char*, int line) {
        events += std::to_string(sev) + ":" + std::to_string(id) + ":" + std::to_string(line) + " ";
    }});
    for (int sev = -2; sev < 60; ++sev) QENReportEvent(sev, 50878, msg);
    QENReportEvent(0, 1, nullptr);
    QENSetHooks({});
    QENReportEvent(0, 1, msg);
    EXPECT_EQ("0:50878:1489 1:50878:1489 41:50878:1489 ", events);
}
