#include "platform/unix/QENThread.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

struct Locked : testing::Test {
    Locked() {
        QENLockInit(&lock);
        QENCondCvinit(&cond, nullptr);
    }
    ~Locked() override {
        QENCondCvdestroy(&cond);
        QENLockDeinit(&lock);
    }
    QENLock lock;
    pthread_cond_t cond;
};

using LockTest = Locked;
using LockDeathTest = Locked;

TEST_F(LockTest, OwnerIsTheHolderAndNullWhileFree) {
    const auto taken_by_another = [&] {
        int taken = -1;
        std::thread([&] {
            taken = QENLockTryAcquire(&lock);
            if (taken) QENLockRelease(&lock);
        }).join();
        return taken;
    };
    EXPECT_EQ(1, taken_by_another());
    EXPECT_EQ(1, QENLockTryAcquire(&lock));
    EXPECT_EQ(0, taken_by_another());
    EXPECT_EQ(0, QENLockTryAcquire(&lock));
    EXPECT_TRUE(pthread_equal(*lock.owner, pthread_self()));
    QENLockRelease(&lock);
    EXPECT_EQ(nullptr, lock.owner);
}

TEST_F(LockDeathTest, MisuseEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static constexpr const char* OTHERS =
        "ASSERTION FAILED: file .*QENLock.cpp, line [0-9]+, expression \\(0\\)";
    static pthread_cond_t other = PTHREAD_COND_INITIALIZER;
    const struct {
        const char* name;
        std::function<void(QENLock&)> misuse;
        const char* report = OTHERS;
    } cases[] = {
        {"release of a free lock", [](QENLock& l) { QENLockRelease(&l); }},
        {"release by another thread",
         [](QENLock& l) { QENLockAcquire(&l), std::thread([&] { QENLockRelease(&l); }).join(); }},
        {"acquired twice", [](QENLock& l) { QENLockAcquire(&l), QENLockAcquire(&l); }},
        {"owner of a free lock", [](QENLock& l) { QENLockAssertCallerIsOwner(&l); }},
        {"wait without the lock", [](QENLock& l) { QENCondCvwait(&other, &l, 1); }},
        {"deinit while held", [](QENLock& l) { QENLockAcquire(&l), QENLockDeinit(&l); },
         "expression \\(lockp->owner == NULL\\)"},
        {"destroying a held mutex", [](QENLock& l) { QENMutexLock(&l.mutex), QENMutexDestroy(&l.mutex); }},
    };
    for (const auto& c : cases) EXPECT_DEATH(c.misuse(lock), c.report) << c.name;
}

TEST_F(LockTest, ExcludesThreads) {
    constexpr int THREADS = 4, ROUNDS = 5000;
    long counter = 0;
    std::vector<std::jthread> threads;
    for (int t = 0; t < THREADS; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < ROUNDS; ++i) {
                if ((i + t) % 2 == 0)
                    QENLockAcquire(&lock);
                else
                    while (!QENLockTryAcquire(&lock)) std::this_thread::yield();
                ++counter;
                QENLockRelease(&lock);
            }
        });
    threads.clear();
    EXPECT_EQ(THREADS * ROUNDS, counter);
}

TEST(CondDeadline, CarriesIntoTheSeconds) {
    const struct {
        timeval now;
        long mSec;
        timespec expect;
    } cases[] = {{{10, 900'000}, 1500, {12, 400'000'000}},
                 {{10, 0}, 999, {10, 999'000'000}},
                 {{10, 1'000}, 999, {11, 0}},
                 {{1'700'000'000, 500'000}, INT_MAX, {1'702'147'484, 147'000'000}}};
    for (const auto& c : cases) {
        const timespec at = QENCondDeadline(c.now, c.mSec);
        EXPECT_EQ(c.expect.tv_sec, at.tv_sec) << c.mSec;
        EXPECT_EQ(c.expect.tv_nsec, at.tv_nsec) << c.mSec;
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
    for (const int at_once : {0, -999}) EXPECT_EQ(ETIMEDOUT, QENCondCvwait(&cond, &lock, at_once));
    QENLockAssertCallerIsOwner(&lock);
}

// The waiter lets the other thread own the lock meanwhile, and is its owner again afterwards.
TEST_F(LockTest, WaitHandsTheLockOverAndTakesItBack) {
    for (const bool by_span : {false, true}) {
        bool ready = false;
        QENLockAcquire(&lock);
        std::thread other([&] {
            QENLockAcquire(&lock);
            ready = true;
            by_span ? QENCondCvbcast(&cond) : QENCondCvsignal(&cond);
            QENLockRelease(&lock);
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
