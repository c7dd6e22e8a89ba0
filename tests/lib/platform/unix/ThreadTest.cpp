// Making and joining threads, and the reports of failures.
#include "platform/unix/QENThread.h"

#include "platform/unix/QENHooks.h"
#include "support/SyslogTrap.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#if defined(__SANITIZE_THREAD__)
constexpr bool THREAD_SANITIZER = true; // keeps its own books of threads and stops at an unknown one
#else
constexpr bool THREAD_SANITIZER = false;
#endif

namespace {

using testing::ElementsAre;

std::vector<std::string> reports; // "number function: text|first argument|second argument"

struct ThreadTest : testing::Test {
    ThreadTest() {
        reports.clear();
        clear_syslog();
        QENSetHooks({.thread_failure = [](const QENThreadFailure& f) {
            std::string args;
            for (const char* arg : f.args)
                if (arg != nullptr) args += std::string("|") + arg;
            reports.push_back(std::to_string(f.number) + " " + f.function + ": " + f.text + args);
        }});
        QENThreadInit(&attr);
    }
    ~ThreadTest() override {
        QENThreadDeinit(&attr);
        QENSetHooks({});
    }
    pthread_attr_t* attr = nullptr;
};

void* exits(void* arg) {
    QENThreadYield();
    QENThreadExit(static_cast<char*>(arg) + 2);
}
void* waits_for_lock(void* mutex) {
    QENMutexLock(static_cast<pthread_mutex_t*>(mutex));
    QENMutexUnlock(static_cast<pthread_mutex_t*>(mutex));
    return nullptr;
}

TEST_F(ThreadTest, JoinGivesTheValueAndReportsWhoCannotBeJoined) {
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER; // outlives the thread
    char base[3];
    pthread_t ended, detached;
    void* value = nullptr;
    QENMutexLock(&mutex);
    ASSERT_EQ(0, pthread_attr_setdetachstate(attr, PTHREAD_CREATE_DETACHED));
    ASSERT_EQ(0, QENThreadCreate(attr, &detached, waits_for_lock, &mutex, 0));
    ASSERT_EQ(0, QENThreadCreate(nullptr, &ended, exits, base, 0));
    EXPECT_EQ(0, QENThreadJoin(ended, &value));
    EXPECT_EQ(base + 2, value);
    EXPECT_THAT(reports, ElementsAre());
    const std::pair<pthread_t, int> cases[] = {
        {0, ESRCH}, {0x1000, ESRCH}, {~pthread_t{15}, ESRCH}, {ended, ESRCH}, {detached, EINVAL}};
    for (const auto& [tid, error] : cases) {
        if (THREAD_SANITIZER) continue;
        reports.clear();
        value = &value;
        EXPECT_EQ(error, QENThreadJoin(tid, &value));
        EXPECT_EQ(nullptr, value);
        const std::string id = std::to_string(tid);
        const std::string why = error == ESRCH ? "No such thread" : "Thread is not joinable";
        EXPECT_THAT(reports, ElementsAre("13163 QENThreadJoin: Could not join thread(" + id + ") - " + why +
                                         "|" + id + "|" + why));
    }
    QENMutexUnlock(&mutex);
}

TEST_F(ThreadTest, FailuresAreReportedToTheLogOrElseTheSystemLog) {
    QENThreadInit(nullptr);
    ASSERT_EQ(0, pthread_attr_setstacksize(attr, size_t{1} << 46)); // no address space has that much left
    pthread_t tid;
    EXPECT_EQ(-1, QENThreadCreate(attr, &tid, exits, nullptr, 0));
    EXPECT_THAT(reports, ElementsAre("17357 QENThreadInit: Thread attributes object is NULL",
                                     "13162 QENThreadCreate: Could not create thread"));
    EXPECT_THAT(syslog_texts(), ElementsAre());
    QENSetHooks({});
    EXPECT_EQ(-1, QENThreadCreate(attr, &tid, exits, nullptr, 0));
    EXPECT_THAT(syslog_texts(), ElementsAre("4Could not create thread"));
}

TEST_F(ThreadTest, TsdKeysLiveUntilDeinit) {
    for (int round = 0; round < 2000; ++round) { // more than a process has keys
        ASSERT_EQ(0, QENThreadInitTsdKeys());
        ASSERT_EQ(0, QENThreadInitTsdKeys());
        ASSERT_EQ(nullptr, pthread_getspecific(qen_key_logfd));
        ASSERT_EQ(0, pthread_setspecific(qen_key_logfd, &round));
        QENThreadDeinit(nullptr);
    }
}

} // namespace
