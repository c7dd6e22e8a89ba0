// The system log, failed checks, and events.
#include "platform/unix/QENAssert.h"
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"
#include "support/SyslogTrap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <syslog.h>

namespace {

TEST(Syslog, PriorityAndTextArrive) {
    const std::string longest(4094, 'a');
    const struct {
        int sev, priority;
        std::string given, expect;
    } cases[] = {{0, LOG_CRIT, "100% %s %n", "100% %s %n"},
                 {2, LOG_WARNING, longest + "b", longest},
                 {(LOG_LOCAL7 << 8) + 4, LOG_LOCAL7 | LOG_INFO, "facility", "facility"},
                 {(1 << 16) + 5, LOG_DEBUG, "x", "x"}};
    for (const auto& c : cases) {
        clear_syslog();
        QENSyslog(c.sev, "%s", c.given.c_str());
        EXPECT_THAT(syslog_texts(), testing::ElementsAre(std::to_string(c.priority) + c.expect));
    }
}

TEST(Syslog, IdentityOutlivesTheCallersTextAndReturnsToTheProgramsName) {
    std::string module = "engine";
    QENInitEventLog(module.c_str());
    module = "xxxxxx";
    EXPECT_STREQ("engine", openlog_identity);
    EXPECT_EQ(LOG_PID | LOG_CONS, openlog_options);
    EXPECT_EQ(LOG_DAEMON, openlog_facility);
    QENInitEventLog(nullptr);
    EXPECT_STREQ("PlatformTest", openlog_identity);
}

TEST(AssertDeathTest, ReportsReasonThenPositionHereAndInTheSystemLog) {
    EXPECT_DEATH(QENAssert(nullptr, nullptr, 1), "file \\(null\\), line 1, expression \\(\\(null\\)\\)");
    EXPECT_EXIT(
        (syslog_echo = true, QENAssert("e", "f.cpp", 3, "why")), testing::KilledBySignal(SIGABRT),
        "^\\[3 why\\]why\n\\[3 ASSERTION FAILED: file f.cpp, line 3, expression \\(e\\)\n\\]ASSERTION");
    int n = 0;
    QEN_CHECK(++n == 1); // evaluated once
    EXPECT_DEATH(QEN_CHECK(n == 2), "SyslogTest.cpp, line [0-9]+, expression \\(n == 2\\)");
}

std::string events;

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

} // namespace
