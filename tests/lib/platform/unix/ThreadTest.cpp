// Making and joining threads, and the reports of failures.
#include "platform/unix/QENThread.h"

#include "platform/unix/QENHooks.h"
#include "support/Prelude.h"
#include "support/SyslogTrap.h"

namespace {

std::vector<std::string> reports; // "number function: text|first argument|second argument"

void report(const QENThreadFailure& f) {
    std::string args;
    for (const char* arg : f.args)
        if (arg != nullptr) args += std::string("|") + arg;
    reports.push_back(std::to_string(f.number) + " " + f.function + ": " + f.text + args);
}

void* exits(void* arg) {
    QENThreadYield();
    QENThreadExit(static_cast<char*>(arg) + 2);
}

TEST(ThreadTest, JoinGivesTheValueAndFailuresAreReported) {
    QENSetHooks({.thread_failure = report});
    char base[3];
    void* value = nullptr;
    pthread_t tid;
    pthread_attr_t* attr = nullptr;
    QENThreadInit(&attr);
    ASSERT_EQ(0, QENThreadCreate(attr, &tid, exits, base, 0));
    EXPECT_EQ(0, QENThreadJoin(tid, &value));
    EXPECT_EQ(base + 2, value);
    EXPECT_EQ(ESRCH, QENThreadJoin(0x1000, &value));
    EXPECT_EQ(nullptr, value);
    QENThreadInit(nullptr);
    ASSERT_EQ(0, pthread_attr_setstacksize(attr, size_t{1} << 46)); // no address space has that much left
    EXPECT_EQ(-1, QENThreadCreate(attr, &tid, exits, nullptr, 0));
    EXPECT_THAT(reports,
                testing::ElementsAre(
                    "13163 QENThreadJoin: Could not join thread(4096) - No such thread|4096|No such thread",
                    "17357 QENThreadInit: Thread attributes object is NULL",
                    "13162 QENThreadCreate: Could not create thread"));
    QENSetHooks({});
    clear_syslog();
    EXPECT_EQ(-1, QENThreadCreate(attr, &tid, exits, nullptr, 0));
    EXPECT_THAT(syslog_texts(), testing::ElementsAre("4Could not create thread"));
    QENThreadDeinit(&attr);
}

TEST(ThreadTest, TsdKeysLiveUntilDeinit) {
    for (int round = 0; round < 2000; ++round) { // more than a process has keys
        ASSERT_EQ(0, QENThreadInitTsdKeys());
        ASSERT_EQ(0, QENThreadInitTsdKeys());
        ASSERT_EQ(nullptr, pthread_getspecific(qen_key_logfd));
        ASSERT_EQ(0, pthread_setspecific(qen_key_logfd, &round));
        QENThreadDeinit(nullptr);
    }
}

} // namespace
