// Lets one thread at a time into a log. Each write of a message and each change of a log's state passes here.
#pragma once

#include <atomic>

#include "platform/unix/Linux/QENSingleThreaded.h"
#include "platform/unix/QENThread.h"

inline namespace taq_1 {

// A log can be called from within its own write: the stream may be the program's and log by itself. Such a
// nested call must not wait for the write that it is part of, so the lock knows the thread inside.
//
// While the process has one thread the mutex is not touched: showing a record costs less than locking twice.
class LogLock {
public:
    LogLock() { QENMutexInit(&_mutex); }
    ~LogLock() = default; // exit may destroy a log in the middle of a write, with the mutex held
    LogLock(const LogLock&) = delete;
    LogLock& operator=(const LogLock&) = delete;

    // Whether the calling thread is inside.
    bool is_mine() const { return _inside.load(std::memory_order_relaxed) == _this_thread(); }

    // Whether the calling thread is inside any log. It must not wait for another thread then, which may
    // itself wait for that log.
    static bool is_within_a_log() { return _depth != 0; }

    // Waits for the thread inside and goes in, for the length of a scope. False when the thread inside is the
    // calling one.
    class Guard {
    public:
        explicit Guard(LogLock& lock) : _lock(lock), _entry(lock._enter()) {}
        ~Guard() {
            if (_entry == ALONE)
                _lock._go_out();
            else if (_entry == LOCKED)
                _lock._unlock();
        }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;
        explicit operator bool() const { return _entry != NESTED; }

    private:
        LogLock& _lock;
        const int _entry;
    };

    // Around the calls for each log. In between, other threads wait outside unless they are in a log already:
    // mutexes are not fair, and writers that come one after the other could keep the fork out for seconds.
    static void give_way_to_fork();
    static void end_fork();

    // Around a fork. before_fork waits until nobody is inside, but no longer than the deadline, and keeps
    // others out; the calling thread itself may be inside.
    void before_fork(const timespec& deadline);
    void after_fork_in_parent();
    // False: another thread was inside, so that the log's state in this process may be half changed.
    bool after_fork_in_child();

private:
    enum entry { NESTED, ALONE, LOCKED }; // ALONE: the process had one thread

    static const void* _this_thread() { return &_depth; }
    entry _enter() {
        if (!QENIsSingleThreaded()) return _lock_and_enter();
        if (_inside.load(std::memory_order_relaxed) != nullptr) return NESTED; // who else
        _go_in();
        return ALONE;
    }
    entry _lock_and_enter();
    void _unlock();
    void _go_in() {
        _inside.store(_this_thread(), std::memory_order_relaxed);
        ++_depth;
    }
    void _go_out() {
        --_depth;
        _inside.store(nullptr, std::memory_order_release);
    }

    // Logs that the thread is inside. Its address stands for the thread.
    static constinit thread_local unsigned _depth;

    pthread_mutex_t _mutex;
    std::atomic<const void*> _inside{nullptr}; // the thread inside
    enum { UNTOUCHED, TAKEN, BUSY } _at_fork = UNTOUCHED;
};

} // namespace taq_1
