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
    EXPECT_EQ(nullptr, lock.owner);
}

TEST_F(LockDeathTest, MisuseEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static pthread_cond_t other = PTHREAD_COND_INITIALIZER;
    void (*const misuses[])(QENLock&) = {
        [](QENLock& l) { QENLockRelease(&l); },
        [](QENLock& l) { QENLockAcquire(&l), std::thread([&] { QENLockRelease(&l); }).join(); },
        [](QENLock& l) { QENLockAcquire(&l), QENLockAcquire(&l); },
        [](QENLock& l) { QENLockAssertCallerIsOwner(&l); },
        [](QENLock& l) { QENCondCvwait(&other, &l, 1); },
        [](QENLock& l) { QENMutexLock(&l.mutex), QENMutexDestroy(&l.mutex); },
    };
    for (const auto& misuse : misuses)
        EXPECT_DEATH(misuse(lock), "FAILED: file .*QENLock.cpp, line [0-9]+, expression \\(0\\)");
    EXPECT_DEATH((QENLockAcquire(&lock), QENLockDeinit(&lock)), "expression \\(lockp->owner == NULL\\)");
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

// A waiter lets the other thread own the lock meanwhile, and is its owner again afterwards.
TEST_F(LockTest, WaitsHandTheLockOverAndTakeItBack) {
    const timeval span = {0, 30'999}; // whole milliseconds count
    QENLockAcquire(&lock);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ETIMEDOUT, QENCondCvwait(&cond, &lock, 30));
    EXPECT_EQ(ETIMEDOUT, QENCondCvwait(&cond, &lock.mutex, 30));
    QENCondCvwait(&cond, &lock, &span);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 80ms); // the clocks differ a little
    for (const bool by_span : {false, true}) {
        bool ready = false;
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
        QENLockAcquire(&lock);
    }
    QENLockRelease(&lock);
}

} // namespace
