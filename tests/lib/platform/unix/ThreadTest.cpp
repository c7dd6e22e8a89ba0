// Threads and the reports of their failures, owner-checked locks, and condition variables.
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENThread.h"
#include "support/Prelude.h"
#include "support/SyslogTrap.h"

static std::vector<std::string> reports; // "number function: text|first argument|second argument"

static void report(const QENThreadFailure& f) {
    std::string line = std::to_string(f.number) + " " + f.function + ": " + f.text;
    for (const char* arg : f.args)
        if (arg != nullptr) line += std::string("|") + arg;
    reports.push_back(line);
}

static void* exits(void* arg) {
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

struct LockTest : testing::Test {
    LockTest() { QENLockInit(&lock), QENCondCvinit(&cond, nullptr); }
    ~LockTest() override { QENCondCvdestroy(&cond), QENLockDeinit(&lock); }
    QENLock lock;
    pthread_cond_t cond;
};
using LockDeathTest = LockTest;

TEST_F(LockDeathTest, MisuseEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static pthread_cond_t other = PTHREAD_COND_INITIALIZER;
    void (*const misuses[])(QENLock&) = {
        [](QENLock& l) { QENLockRelease(&l); },
        [](QENLock& l) { QENLockAcquire(&l), std::thread([&] { QENLockRelease(&l); }).join(); },
        [](QENLock& l) { QENCondCvwait(&other, &l, 1); },
        [](QENLock& l) { QENMutexLock(&l.mutex), QENMutexDestroy(&l.mutex); },
    };
    for (const auto& misuse : misuses)
        EXPECT_DEATH(misuse(lock), "FAILED: file .*QENLock.cpp, line [0-9]+, expression \\(0\\)");
    EXPECT_DEATH((QENLockAcquire(&lock), QENLockDeinit(&lock)), "expression \\(lockp->owner == NULL\\)");
}

TEST(CondDeadline, CarriesIntoTheSeconds) {
    const std::tuple<timeval, long, timespec> cases[] = {
        {{10, 900'000}, 1500, {12, 400'000'000}},
        {{10, 1'000}, 999, {11, 0}},
        {{1'700'000'000, 500'000}, INT_MAX, {1'702'147'484, 147'000'000}}};
    for (const auto& [now, milliseconds, expected] : cases) {
        const timespec at = QENCondDeadline(now, milliseconds);
        EXPECT_TRUE(expected.tv_sec == at.tv_sec && expected.tv_nsec == at.tv_nsec) << milliseconds;
    }
}

// A waiter lets the other thread own the lock meanwhile, and is its owner again afterwards.
TEST_F(LockTest, WaitsHandTheLockOverAndTakeItBack) {
    const timeval span = {0, 30'999}; // whole milliseconds count
    QENLockAcquire(&lock);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ETIMEDOUT, QENCondCvwait(&cond, &lock, 30));
    EXPECT_EQ(ETIMEDOUT, QENCondCvwait(&cond, &lock.mutex, 30));
    QENCondCvwait(&cond, &lock, &span);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 80ms); // the clocks differ a little
    int ready = 0;
    std::thread other([&] {
        for (auto* wake : {QENCondCvsignal, QENCondCvbcast}) {
            while (!QENLockTryAcquire(&lock)) std::this_thread::yield();
            ++ready, wake(&cond);
            QENLockRelease(&lock);
        }
    });
    while (ready < 1) QENCondCvwait(&cond, &lock, -1);
    while (ready < 2) QENCondCvwait(&cond, &lock, static_cast<const timeval*>(nullptr));
    QENLockAssertCallerIsOwner(&lock);
    QENLockRelease(&lock);
    other.join();
    EXPECT_EQ(nullptr, lock.owner);
}
