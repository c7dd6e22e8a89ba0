// The system log, failed checks, and events.
#include "SyslogTrap.h"
#include "platform/unix/QENAssert.h"
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"

#include <gtest/gtest.h>
#include <string>
#include <syslog.h>
#include <vector>

namespace {

TEST(Syslog, SeverityAndFacilityMakeThePriority) {
    const struct {
        int sev, priority;
    } cases[] = {{0, LOG_CRIT},
                 {1, LOG_ERR},
                 {2, LOG_WARNING},
                 {3, LOG_NOTICE},
                 {4, LOG_INFO},
                 {5, LOG_DEBUG},
                 {7, LOG_DEBUG},
                 {255, LOG_DEBUG},
                 {(LOG_DAEMON << 8) + 1, LOG_DAEMON | LOG_ERR},
                 {(LOG_LOCAL7 << 8) + 4, LOG_LOCAL7 | LOG_INFO},
                 {(1 << 16) + 2, LOG_WARNING}};
    for (const auto& c : cases) {
        syslog_lines.clear();
        QENSyslog(c.sev, "n=%d", 7);
        ASSERT_EQ(1u, syslog_lines.size());
        EXPECT_EQ(c.priority, syslog_lines[0].priority) << c.sev;
        EXPECT_EQ("n=7", syslog_lines[0].text);
    }
}

TEST(Syslog, TextArrivesAsFormattedAndCut) {
    const std::string longest(4094, 'a'), longer(5000, 'a');
    const struct {
        std::string given, expect;
    } cases[] = {
        {"100% %s %n", "100% %s %n"}, {longest, longest}, {longest + "b", longest}, {longer, longest}};
    for (const auto& c : cases) {
        syslog_lines.clear();
        QENSyslog(1, "%s", c.given.c_str());
        ASSERT_EQ(1u, syslog_lines.size());
        EXPECT_EQ(c.expect, syslog_lines[0].text);
    }
}

TEST(Syslog, IdentityOutlivesTheCallersText) {
    std::string module = "engine";
    QENInitEventLog(module.c_str());
    module = "xxxxxx";
    EXPECT_STREQ("engine", openlog_identity);
    EXPECT_EQ(LOG_PID | LOG_CONS, openlog_options);
    EXPECT_EQ(LOG_DAEMON, openlog_facility);
    QENInitEventLog(nullptr);
    EXPECT_EQ(nullptr, openlog_identity);
}

TEST(AssertDeathTest, ReportsReasonThenPositionAndAborts) {
    EXPECT_EXIT(QENAssert("a < b", "x.cpp", 12, "why"), testing::KilledBySignal(SIGABRT),
                "^why\nASSERTION FAILED: file x.cpp, line 12, expression \\(a < b\\)\n");
    EXPECT_DEATH(QENAssert(nullptr, nullptr, 1), "file \\(null\\), line 1, expression \\(\\(null\\)\\)");
    const std::string huge(10'000, 'e');
    EXPECT_DEATH(QENAssert(huge.c_str(), "x.cpp", 1), "expression \\(eeee");
}

TEST(AssertDeathTest, TheSystemLogHearsTheSame) {
    const auto fail = [] {
        syslog_echo = true;
        QENAssert("e", "f.cpp", 3, "why");
    };
    EXPECT_DEATH(fail(),
                 "^\\[3 why\\]why\n"
                 "\\[3 ASSERTION FAILED: file f.cpp, line 3, expression \\(e\\)\n\\]ASSERTION FAILED");
}

TEST(AssertDeathTest, CheckNamesItsExpressionAndEvaluatesItOnce) {
    int n = 0;
    QEN_CHECK(++n == 1);
    EXPECT_EQ(1, n);
    EXPECT_DEATH(QEN_CHECK(n == 2), "SyslogTest.cpp, line [0-9]+, expression \\(n == 2\\)");
}

struct Event {
    int sev;
    uint32_t id;
    const void* msg;
    int line;
};
std::vector<Event> events;

TEST(Events, OnlySeriousOnesReachTheHook) {
    auto* msg = reinterpret_cast<MsgStruct*>(0x40);
    QENReportEvent(0, 1, msg); // no hook yet: nothing happens
    QENHooks hooks;
    hooks.report_event = [](int sev, uint32_t id, MsgStruct* msgp, const char*, int line) {
        events.push_back({sev, id, msgp, line});
    };
    QENSetHooks(hooks);
    for (int sev = -2; sev < 60; ++sev) QENReportEvent(sev, 50878, msg);
    QENReportEvent(0, 1, nullptr);
    QENSetHooks({});
    QENReportEvent(0, 1, msg);
    ASSERT_EQ(3u, events.size());
    EXPECT_EQ(0, events[0].sev);
    EXPECT_EQ(1, events[1].sev);
    EXPECT_EQ(41, events[2].sev);
    EXPECT_EQ(50878u, events[1].id);
    EXPECT_EQ(msg, events[1].msg);
    EXPECT_EQ(1489, events[1].line);
}

} // namespace
