// Owner-checked locks and condition variables.
#include "platform/unix/QENThread.h"
#include "support/Prelude.h"

namespace {

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

} // namespace
