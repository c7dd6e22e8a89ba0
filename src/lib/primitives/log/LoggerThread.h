// The logger thread and its queue: between the message site, which appends a record and goes on, and the log,
// which writes it.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/unix/QENThread.h"
#include "primitives/log/QueueBound.h"

inline namespace taq_1 {

class DList;
struct vlog_msg_t;

// Producers append records under one lock. The thread takes the whole queue at once and writes it without the
// lock, so no producer waits for writing. Records are written in the order in which they were appended. All
// that was appended is written: by the thread, or at its end by the thread that stops it. What comes together
// for one file log is written together (RecordWriter, LogQueue.h): when the process is killed, at most 64
// messages that the thread had taken from the queue are lost with the queue. An error message is in the files
// before the administrator hears of it. After 1,000 messages the thread pauses for a millisecond, with
// nothing gathered.
//
// What was queued is written before a log is deleted and when the program calls exit; not before _exit or a
// fatal signal. exit is called by a thread, one that waits for signals with sigwait for instance, not within
// a signal handler: the thread that the handler interrupted may hold what the logger thread needs.
//
// There is one object in a process, logger_thread(). Any thread may call any function.
class LoggerThread {
public:
    LoggerThread();
    LoggerThread(const LoggerThread&) = delete;
    LoggerThread& operator=(const LoggerThread&) = delete;

    // Logger mode: from start() until the end of stop(). Messages go through post() meanwhile.
    static bool is_on() { return _on.load(std::memory_order_acquire); }
    // False while stop() waits for the end, and after it.
    static bool is_running() { return _running.load(std::memory_order_acquire); }

    // Starts the thread. No effect in logger mode. When the program calls exit, its queue is written first.
    void start();
    // Ends the thread; returns when all is written and logger mode is off. Of several threads that call it
    // at once, each waits for the end. No effect within the write of a log.
    void stop();

    // The producer's end of the queue: appends the record, or writes it at once when logger mode is off. When
    // there is a bound (QueueBound.h) and as many messages are not yet written, waits, or deletes the record
    // and returns false. A call from within the write of a log never waits, nor do those of the logger
    // thread: the queue grows beyond its bound then.
    [[nodiscard]] bool post(vlog_msg_t* record);
    // Returns when all that was appended before has been written.
    void finish();

    // The bare queue, without its bound. take: all records, in order, for the caller to write and delete
    // together with the list; null when there are none within ms milliseconds; ms negative waits until there
    // is one.
    void append(vlog_msg_t* record);
    DList* take(int ms);

    // Around a fork. In the child logger mode is off and the queue is empty.
    void before_fork();
    void after_fork_in_parent();
    void after_fork_in_child();

private:
    static void* _run(void* self);
    static void _at_exit();

    void _init_conditions();
    void _stop();
    bool _ask_for_end();
    void _switch_off();
    bool _switch_off_when_empty();
    enum class Fate : unsigned char { APPENDED, TO_BE_WRITTEN, DROPPED };
    Fate _place(vlog_msg_t* record);
    bool _is_full() const { return _bound.most != 0 && _appended - _written >= _bound.most; }
    void _append_locked(vlog_msg_t* record);
    void _wait_for_records(int ms);
    void _nap();
    bool _next_batch(int ms);
    void _count_written(uint64_t records);
    void _write_batch();

    static inline std::atomic<bool> _on{false}; // this and the next change under _lock only
    static inline std::atomic<bool> _running{true};

    QENLock _lock;                // guards all below up to _batch
    pthread_cond_t _records_cond; // there are records, or the thread is to finish
    pthread_cond_t _written_cond; // _written has grown, the thread has ended, or logger mode is off
    DList* _queue;                // of vlog_msg_t, owned
    bool _signalled = false; // _records_cond was signalled since the queue was last taken, or the thread naps
    bool _has_ended = false; // the thread writes no more and can be joined
    bool _exit_handled = false; // exit will call _at_exit
    int _waiting = 0;           // threads that wait for _written
    QueueBound _bound;
    uint64_t _appended = 0; // records
    uint64_t _written = 0;  // of these, written
    pthread_t _tid{};

    // Of the thread that writes: the logger thread, then the one in stop().
    DList* _batch;          // records taken from the queue and still to be written, owned
    uint64_t _taken = 0;    // records taken since _written was last brought up to date
    bool _in_batch = false; // a record is being written
    pthread_attr_t* _attributes = nullptr;
};

// Made at the first call and never deleted: a producer may still use it while the program ends.
LoggerThread& logger_thread();

} // namespace taq_1
