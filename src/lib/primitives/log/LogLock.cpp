// Goes into a log while other threads exist, and around forks. Each write of a message passes here.
#include "primitives/log/LogLock.h"

inline namespace taq_1 {

constinit thread_local unsigned LogLock::_depth = 0;

namespace {

std::atomic<bool> fork_waits{false};
pthread_mutex_t gate = PTHREAD_MUTEX_INITIALIZER; // held by the fork that waits

} // namespace

LogLock::entry LogLock::_lock_and_enter() {
    if (is_mine()) return NESTED;
    if (fork_waits.load(std::memory_order_relaxed) && !is_within_a_log()) {
        QENMutexLock(&gate);
        QENMutexUnlock(&gate);
    }
    QENMutexLock(&_mutex);
    // Rarely, the process's first thread went in alone and started another one from there.
    while (_inside.load(std::memory_order_acquire) != nullptr) QENThreadYield();
    _go_in();
    return LOCKED;
}

void LogLock::_unlock() {
    _go_out();
    QENMutexUnlock(&_mutex);
}

void LogLock::give_way_to_fork() {
    QENMutexLock(&gate);
    fork_waits.store(true, std::memory_order_relaxed);
}

void LogLock::end_fork() {
    fork_waits.store(false, std::memory_order_relaxed);
    QENMutexUnlock(&gate);
}

void LogLock::before_fork(const timespec& deadline) {
    _at_fork = UNTOUCHED;
    if (!is_mine()) _at_fork = QENMutexLockUntil(&_mutex, deadline) ? TAKEN : BUSY;
}

void LogLock::after_fork_in_parent() {
    if (_at_fork == TAKEN) QENMutexUnlock(&_mutex);
}

bool LogLock::after_fork_in_child() {
    if (_at_fork == TAKEN) QENMutexUnlock(&_mutex);
    const void* const inside = _inside.load(std::memory_order_relaxed); // it may be in without the mutex
    if (_at_fork != BUSY && (inside == nullptr || inside == _this_thread())) return true;
    QENMutexInit(&_mutex); // its holder does not exist here
    _inside.store(nullptr, std::memory_order_relaxed);
    return false;
}

} // namespace taq_1
