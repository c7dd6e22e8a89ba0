// Owner-checked locks, condition variables and threads. Misuse of a lock or an unexpected error of a lock or
// condition call is a mistake of our own and ends the process through QENAssert; a thread that cannot be
// created or joined is reported through the log (QENHooks.h) and returned.
#pragma once

#include <pthread.h>
#include <sys/time.h>
#include <time.h>

inline namespace taq_1 {

// ---- Locks

// A mutex that knows its holder. Not recursive: taking a lock that the caller holds is misuse. Fields are
// for reading; only the functions below change them.
struct QENLockStruct {
    pthread_mutex_t mutex;
    pthread_t* owner; // null while the lock is free, else points to _holder
    pthread_t _holder;
};
using QENLock = QENLockStruct;

void QENLockInit(QENLock* lockp);      // before first use
void QENLockDeinit(QENLock* lockp);    // the lock must be free
void QENLockAcquire(QENLock* lockp);   // waits
int QENLockTryAcquire(QENLock* lockp); // 1: taken; 0: held by some thread
void QENLockAssertCallerIsOwner(QENLock* lockp);
void QENLockRelease(QENLock* lockp); // by the holder only

// The bare mutex.
void QENMutexInit(pthread_mutex_t* mutexp);
void QENMutexDestroy(pthread_mutex_t* mutexp);
void QENMutexLock(pthread_mutex_t* mutexp);
void QENMutexUnlock(pthread_mutex_t* mutexp);
int QENMutexTryLock(pthread_mutex_t* mutexp);                             // 1: taken; 0: busy
int QENMutexLockUntil(pthread_mutex_t* mutexp, const timespec& deadline); // wall clock; 1: taken; 0: too late

// Holds a lock for the length of a scope.
class QENLockGuard {
public:
    explicit QENLockGuard(QENLock* lockp) : _lockp(lockp) { QENLockAcquire(_lockp); }
    ~QENLockGuard() { QENLockRelease(_lockp); }
    QENLockGuard(const QENLockGuard&) = delete;
    QENLockGuard& operator=(const QENLockGuard&) = delete;

private:
    QENLock* _lockp;
};

// ---- Condition variables

void QENCondCvinit(pthread_cond_t* cond, const pthread_condattr_t* attr);
void QENCondCvdestroy(pthread_cond_t* cond);
void QENCondCvsignal(pthread_cond_t* cond);
void QENCondCvbcast(pthread_cond_t* cond);

// Wait on a mutex or lock that the caller holds: for ever when mSec is -1, else up to mSec milliseconds by
// the wall clock (other negative values: no time at all). 0, which may be a spurious wake-up, or ETIMEDOUT;
// either way the caller holds the lock again.
int QENCondCvwait(pthread_cond_t* cv, pthread_mutex_t* extlock, int mSec);
int QENCondCvwait(pthread_cond_t* cv, QENLock* extlock, int mSec);

// The same up to a span of time, in whole milliseconds; null waits for ever.
void QENCondCvwait(pthread_cond_t* cv, QENLock* extlock, const timeval* span);

// The wall-clock time mSec milliseconds after now.
timespec QENCondDeadline(const timeval& now, long mSec);

// ---- Threads

// A new attribute object in *attrp: joinable, system contention scope. On failure *attrp is null and the
// failure is reported.
void QENThreadInit(pthread_attr_t** attrp);

// Destroys and frees *attrp and sets it null; also deletes the keys of QENThreadInitTsdKeys. Null is fine.
void QENThreadDeinit(pthread_attr_t** attrp);

// Starts start_func(arg) with the attributes (null: default ones). 0 and *pthread_id set, or -1 after
// reporting. flags is not used.
int QENThreadCreate(const pthread_attr_t* attrp, pthread_t* pthread_id, void* (*start_func)(void*), void* arg,
                    int flags);

// Waits for the thread's end: 0 and its exit value in *valp when valp is given; else the POSIX error code,
// *valp null, after reporting. An id that never named a thread, or one joined before, gives ESRCH as far as
// the system can tell; the id of an ended thread that has been reused is the caller's mistake.
int QENThreadJoin(pthread_t tid, void** valp);

pthread_t QENThreadGetCurrent();
[[noreturn]] void QENThreadExit(void* retval);
void QENThreadYield(); // sleeps a millisecond
void QENThreadNap();   // half of one

// Two keys for thread-specific data, without destructors; valid between QENThreadInitTsdKeys and the next
// QENThreadDeinit.
extern pthread_key_t qen_key_logfd;
extern pthread_key_t qen_key_logfile;
int QENThreadInitTsdKeys(); // 0, also when they exist; -1 when the system has no key left

} // namespace taq_1
