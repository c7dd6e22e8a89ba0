// Owner-checked locks and condition variables.
#include "platform/unix/QENThread.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

struct LockTest : testing::Test {
    LockTest() { QENLockInit(&lock), QENCondCvinit(&cond, nullptr); }
    ~LockTest() override { QENCondCvdestroy(&cond), QENLockDeinit(&lock); }
    QENLock lock;
    pthread_cond_t cond;
};
using LockDeathTest = LockTest;

TEST_F(LockTest, ExcludesThreadsAndKnowsItsHolder) {
    long counter = 0;
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 5000; ++i) {
                if ((i + t) % 2 == 0)
                    QENLockAcquire(&lock);
                else
                    while (!QENLockTryAcquire(&lock)) std::this_thread::yield();
                ++counter;
                QENLockRelease(&lock);
            }
        });
    threads.clear();
    EXPECT_EQ(4 * 5000, counter);

    QENLockAcquire(&lock);
    int taken = -1;
    std::thread([&] { taken = QENLockTryAcquire(&lock); }).join();
    EXPECT_EQ(0, taken);
    EXPECT_TRUE(pthread_equal(*lock.owner, pthread_self()));
    QENLockRelease(&lock);
    EXPECT_EQ(nullptr, lock.owner);
}

TEST_F(LockDeathTest, MisuseEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static pthread_cond_t other = PTHREAD_COND_INITIALIZER;
    const struct {
        void (*misuse)(QENLock&);
        const char* expression = "0";
    } cases[] = {
        {[](QENLock& l) { QENLockRelease(&l); }},
        {[](QENLock& l) { QENLockAcquire(&l), std::thread([&] { QENLockRelease(&l); }).join(); }},
        {[](QENLock& l) { QENLockAcquire(&l), QENLockAcquire(&l); }},
        {[](QENLock& l) { QENLockAssertCallerIsOwner(&l); }},
        {[](QENLock& l) { QENCondCvwait(&other, &l, 1); }},
        {[](QENLock& l) { QENLockAcquire(&l), QENLockDeinit(&l); }, "lockp->owner == NULL"},
        {[](QENLock& l) { QENMutexLock(&l.mutex), QENMutexDestroy(&l.mutex); }},
    };
    for (const auto& c : cases)
        EXPECT_DEATH(c.misuse(lock), std::string("FAILED: file .*QENLock.cpp, line [0-9]+, expression \\(") +
                                         c.expression + "\\)")
            << &c - cases;
}

TEST(CondDeadline, CarriesIntoTheSeconds) {
    const std::tuple<timeval, long, long, long> cases[] = {
        // now, milliseconds, and seconds and nanoseconds then
        {{10, 900'000}, 1500, 12, 400'000'000},
        {{10, 1'000}, 999, 11, 0},
        {{1'700'000'000, 500'000}, INT_MAX, 1'702'147'484, 147'000'000}};
    for (const auto& [now, mSec, seconds, nanoseconds] : cases) {
        const timespec at = QENCondDeadline(now, mSec);
        EXPECT_TRUE(seconds == at.tv_sec && nanoseconds == at.tv_nsec) << mSec;
    }
}

TEST_F(LockTest, TimedWaitsEndByThemselvesWithTheLockHeld) {
    const timeval span = {0, 30'999}; // whole milliseconds count
    const QENLockGuard guard(&lock);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ETIMEDOUT, QENCondCvwait(&cond, &lock, 30));
    EXPECT_EQ(ETIMEDOUT, QENCondCvwait(&cond, &lock.mutex, 30));
    QENCondCvwait(&cond, &lock, &span);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 80ms); // the clocks differ a little
    EXPECT_EQ(ETIMEDOUT, QENCondCvwait(&cond, &lock, -999));
    QENLockAssertCallerIsOwner(&lock);
}

// The waiter lets the other thread own the lock meanwhile, and is its owner again afterwards.
TEST_F(LockTest, WaitHandsTheLockOverAndTakesItBack) {
    for (const bool by_span : {false, true}) {
        bool ready = false;
        QENLockAcquire(&lock);
        std::thread other([&] {
            const QENLockGuard guard(&lock);
            ready = true;
            by_span ? QENCondCvbcast(&cond) : QENCondCvsignal(&cond);
        });
        const timeval* for_ever = nullptr;
        while (!ready)
            by_span ? QENCondCvwait(&cond, &lock, for_ever) : (void)QENCondCvwait(&cond, &lock, -1);
        QENLockAssertCallerIsOwner(&lock);
        QENLockRelease(&lock);
        other.join();
    }
}

} // namespace
