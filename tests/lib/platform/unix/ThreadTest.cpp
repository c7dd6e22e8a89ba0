#include "platform/unix/QENThread.h"

#include "SyslogTrap.h"
#include "platform/unix/QENHooks.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <syslog.h>
#include <vector>

#if defined(__SANITIZE_THREAD__)
constexpr bool THREAD_SANITIZER = true; // keeps its own books of threads and stops at an unknown one
#else
constexpr bool THREAD_SANITIZER = false;
#endif

namespace {

struct Report {
    int number;
    std::string text, function;
    std::vector<std::string> args;
};
std::vector<Report> reports;

struct ThreadTest : testing::Test {
    ThreadTest() {
        reports.clear();
        syslog_lines.clear();
        QENHooks hooks;
        hooks.thread_failure = [](const QENThreadFailure& f) {
            Report report = {f.number, f.text, f.function, {}};
            for (const char* arg : f.args)
                if (arg != nullptr) report.args.push_back(arg);
            reports.push_back(report);
        };
        QENSetHooks(hooks);
        QENThreadInit(&attr);
    }
    ~ThreadTest() override {
        QENThreadDeinit(&attr);
        QENSetHooks({});
    }
    pthread_attr_t* attr = nullptr;
};

void* plus_one(void* arg) {
    return static_cast<char*>(arg) + 1;
}
void* exits(void* arg) {
    QENThreadYield();
    QENThreadExit(static_cast<char*>(arg) + 2);
}

TEST_F(ThreadTest, ValueOfAThreadReachesTheJoiner) {
    int state;
    ASSERT_NE(nullptr, attr);
    ASSERT_EQ(0, pthread_attr_getdetachstate(attr, &state));
    EXPECT_EQ(PTHREAD_CREATE_JOINABLE, state);
    char base[3];
    const struct {
        void* (*body)(void*);
        char* expect;
    } cases[] = {{plus_one, base + 1}, {exits, base + 2}};
    for (const auto& c : cases) {
        pthread_t tid;
        void* value = nullptr;
        ASSERT_EQ(0, QENThreadCreate(attr, &tid, c.body, base, 0));
        EXPECT_FALSE(pthread_equal(tid, QENThreadGetCurrent()));
        EXPECT_EQ(0, QENThreadJoin(tid, &value));
        EXPECT_EQ(c.expect, value);
    }
    pthread_t tid;
    ASSERT_EQ(0, QENThreadCreate(nullptr, &tid, plus_one, base, 0));
    EXPECT_EQ(0, QENThreadJoin(tid, nullptr));
    EXPECT_TRUE(reports.empty());
}

TEST_F(ThreadTest, JoinOfNoThreadIsReported) {
    if (THREAD_SANITIZER) GTEST_SKIP();
    pthread_t ended;
    ASSERT_EQ(0, QENThreadCreate(attr, &ended, plus_one, nullptr, 0));
    ASSERT_EQ(0, QENThreadJoin(ended, nullptr));
    for (const pthread_t tid :
         {pthread_t{0}, pthread_t{1}, pthread_t{0x1000}, ~pthread_t{0}, ~pthread_t{15}, ended}) {
        reports.clear();
        void* value = &value;
        EXPECT_EQ(ESRCH, QENThreadJoin(tid, &value));
        EXPECT_EQ(nullptr, value);
        ASSERT_EQ(1u, reports.size());
        EXPECT_EQ(13163, reports[0].number);
        EXPECT_EQ("QENThreadJoin", reports[0].function);
        EXPECT_EQ("Could not join thread(" + std::to_string(tid) + ") - No such thread", reports[0].text);
        EXPECT_EQ((std::vector<std::string>{std::to_string(tid), "No such thread"}), reports[0].args);
    }
}

void* waits_for_lock(void* mutex) {
    QENMutexLock(static_cast<pthread_mutex_t*>(mutex));
    QENMutexUnlock(static_cast<pthread_mutex_t*>(mutex));
    return nullptr;
}

TEST_F(ThreadTest, JoinOfADetachedThreadIsReported) {
    if (THREAD_SANITIZER) GTEST_SKIP();
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // outlives the thread
    QENMutexLock(&mutex);
    ASSERT_EQ(0, pthread_attr_setdetachstate(attr, PTHREAD_CREATE_DETACHED));
    pthread_t tid;
    ASSERT_EQ(0, QENThreadCreate(attr, &tid, waits_for_lock, &mutex, 0));
    EXPECT_EQ(EINVAL, QENThreadJoin(tid, nullptr));
    QENMutexUnlock(&mutex);
    ASSERT_EQ(1u, reports.size());
    EXPECT_EQ("Thread is not joinable", reports[0].args.at(1));
}

TEST_F(ThreadTest, CreateFailureIsReportedToTheLogOrElseTheSystemLog) {
    ASSERT_EQ(0, pthread_attr_setstacksize(attr, size_t{1} << 46)); // no address space has that much left
    pthread_t tid;
    EXPECT_EQ(-1, QENThreadCreate(attr, &tid, plus_one, nullptr, 0));
    ASSERT_EQ(1u, reports.size());
    EXPECT_EQ(13162, reports[0].number);
    EXPECT_EQ("Could not create thread", reports[0].text);
    EXPECT_TRUE(syslog_lines.empty());

    QENSetHooks({});
    EXPECT_EQ(-1, QENThreadCreate(attr, &tid, plus_one, nullptr, 0));
    EXPECT_EQ(1u, reports.size());
    ASSERT_EQ(1u, syslog_lines.size());
    EXPECT_EQ(LOG_WARNING, syslog_lines[0].priority);
    EXPECT_EQ("Could not create thread", syslog_lines[0].text);
}

TEST_F(ThreadTest, AttributesNeedAPlace) {
    QENThreadInit(nullptr);
    ASSERT_EQ(1u, reports.size());
    EXPECT_EQ(17357, reports[0].number);
    EXPECT_EQ("Thread attributes object is NULL", reports[0].text);
    QENThreadDeinit(&attr);
    EXPECT_EQ(nullptr, attr);
    QENThreadDeinit(&attr);
    QENThreadDeinit(nullptr);
}

TEST_F(ThreadTest, TsdKeysLiveUntilDeinit) {
    for (int round = 0; round < 2000; ++round) { // more than a process has keys
        ASSERT_EQ(0, QENThreadInitTsdKeys());
        ASSERT_EQ(0, QENThreadInitTsdKeys());
        ASSERT_NE(qen_key_logfd, qen_key_logfile);
        ASSERT_EQ(nullptr, pthread_getspecific(qen_key_logfd));
        ASSERT_EQ(0, pthread_setspecific(qen_key_logfd, &round));
        QENThreadDeinit(nullptr);
    }
}

} // namespace
