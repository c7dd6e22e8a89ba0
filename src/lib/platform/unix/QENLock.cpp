// Owner-checked locks and condition variables.
#include "platform/unix/QENAssert.h"
#include "platform/unix/QENThread.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>

inline namespace taq_1 {

// A failed check of this file reports the expression "0" at its own line.
#define CHECK_CALL(ok) QEN_CHECK_AS(ok, "0")

void QENMutexInit(pthread_mutex_t* mutexp) {
    CHECK_CALL(pthread_mutex_init(mutexp, nullptr) == 0);
}

void QENMutexDestroy(pthread_mutex_t* mutexp) {
    CHECK_CALL(pthread_mutex_destroy(mutexp) == 0);
}

void QENMutexLock(pthread_mutex_t* mutexp) {
    CHECK_CALL(pthread_mutex_lock(mutexp) == 0);
}

void QENMutexUnlock(pthread_mutex_t* mutexp) {
    CHECK_CALL(pthread_mutex_unlock(mutexp) == 0);
}

int QENMutexTryLock(pthread_mutex_t* mutexp) {
    const int rc = pthread_mutex_trylock(mutexp);
    CHECK_CALL(rc == 0 || rc == EBUSY);
    return rc == 0;
}

int QENMutexLockUntil(pthread_mutex_t* mutexp, const timespec& deadline) {
    const int rc = pthread_mutex_timedlock(mutexp, &deadline);
    CHECK_CALL(rc == 0 || rc == ETIMEDOUT);
    return rc == 0;
}

namespace {

// Threads that misuse a lock read the owner without holding the mutex, so both words are atomic. The holder
// writes the cell before the pointer: who sees the pointer sees no older cell than that, and never its own id
// unless it is the holder.
std::atomic_ref<pthread_t*> owner_of(QENLock* lockp) {
    return std::atomic_ref<pthread_t*>(lockp->owner);
}

bool is_free(QENLock* lockp) {
    return owner_of(lockp).load(std::memory_order_acquire) == nullptr;
}

bool is_held_by_caller(QENLock* lockp) {
    return !is_free(lockp) &&
           pthread_equal(std::atomic_ref(lockp->_holder).load(std::memory_order_relaxed), pthread_self());
}

void set_owner(QENLock* lockp) {
    std::atomic_ref(lockp->_holder).store(pthread_self(), std::memory_order_relaxed);
    owner_of(lockp).store(&lockp->_holder, std::memory_order_release);
}

void clear_owner(QENLock* lockp) {
    owner_of(lockp).store(nullptr, std::memory_order_relaxed);
}

} // namespace

void QENLockInit(QENLock* lockp) {
    QENMutexInit(&lockp->mutex);
    lockp->_holder = {};
    lockp->owner = nullptr;
}

void QENLockDeinit(QENLock* lockp) {
    QEN_CHECK_AS(is_free(lockp), "lockp->owner == NULL");
    QENMutexDestroy(&lockp->mutex);
}

void QENLockAcquire(QENLock* lockp) {
    CHECK_CALL(!is_held_by_caller(lockp)); // the mutex would wait for ever
    QENMutexLock(&lockp->mutex);
    CHECK_CALL(is_free(lockp));
    set_owner(lockp);
}

int QENLockTryAcquire(QENLock* lockp) {
    if (!QENMutexTryLock(&lockp->mutex)) return 0;
    CHECK_CALL(is_free(lockp));
    set_owner(lockp);
    return 1;
}

void QENLockAssertCallerIsOwner(QENLock* lockp) {
    CHECK_CALL(is_held_by_caller(lockp));
}

void QENLockRelease(QENLock* lockp) {
    CHECK_CALL(is_held_by_caller(lockp));
    clear_owner(lockp);
    QENMutexUnlock(&lockp->mutex);
}

void QENCondCvinit(pthread_cond_t* cond, const pthread_condattr_t* attr) {
    CHECK_CALL(pthread_cond_init(cond, attr) == 0);
}

void QENCondCvdestroy(pthread_cond_t* cond) {
    CHECK_CALL(pthread_cond_destroy(cond) == 0);
}

void QENCondCvsignal(pthread_cond_t* cond) {
    CHECK_CALL(pthread_cond_signal(cond) == 0);
}

void QENCondCvbcast(pthread_cond_t* cond) {
    CHECK_CALL(pthread_cond_broadcast(cond) == 0);
}

timespec QENCondDeadline(const timeval& now, long mSec) {
    constexpr long MSEC_PER_SEC = 1000, NSEC_PER_MSEC = 1'000'000, NSEC_PER_SEC = 1'000'000'000;
    timespec at;
    at.tv_sec = now.tv_sec + mSec / MSEC_PER_SEC;
    at.tv_nsec = now.tv_usec * 1000L + mSec % MSEC_PER_SEC * NSEC_PER_MSEC;
    if (at.tv_nsec >= NSEC_PER_SEC) {
        at.tv_sec += at.tv_nsec / NSEC_PER_SEC;
        at.tv_nsec %= NSEC_PER_SEC;
    }
    return at;
}

namespace {

constexpr long FOR_EVER = -1;

int wait_on(pthread_cond_t* cv, pthread_mutex_t* mutexp, long mSec) {
    int rc;
    if (mSec == FOR_EVER) {
        rc = pthread_cond_wait(cv, mutexp);
    } else {
        timeval now;
        CHECK_CALL(gettimeofday(&now, nullptr) == 0);
        const timespec deadline = QENCondDeadline(now, std::max(mSec, 0L));
        rc = pthread_cond_timedwait(cv, mutexp, &deadline);
    }
    CHECK_CALL(rc == 0 || rc == ETIMEDOUT);
    return rc;
}

// The mutex is free during the wait, so others take and release the lock with their own owner checks.
int wait_on(pthread_cond_t* cv, QENLock* lockp, long mSec) {
    CHECK_CALL(is_held_by_caller(lockp));
    clear_owner(lockp);
    const int rc = wait_on(cv, &lockp->mutex, mSec);
    set_owner(lockp);
    return rc;
}

// In milliseconds, cut to a span that can be added to the time of day.
long msec_of(const timeval& span) {
    constexpr long LONGEST = INT_MAX; // seconds
    const long seconds = std::clamp(static_cast<long>(span.tv_sec), 0L, LONGEST);
    const long usec = std::clamp(static_cast<long>(span.tv_usec), 0L, LONGEST);
    return seconds * 1000 + usec / 1000;
}

} // namespace

int QENCondCvwait(pthread_cond_t* cv, pthread_mutex_t* extlock, int mSec) {
    return wait_on(cv, extlock, mSec);
}

int QENCondCvwait(pthread_cond_t* cv, QENLock* extlock, int mSec) {
    return wait_on(cv, extlock, mSec);
}

void QENCondCvwait(pthread_cond_t* cv, QENLock* extlock, const timeval* span) {
    (void)wait_on(cv, extlock, span != nullptr ? msec_of(*span) : FOR_EVER); // the caller looks at its state
}

} // namespace taq_1
