// The logger thread and its queue. Producers append records; the thread takes the whole queue at once and
// writes it, so that a producer never waits for writing.
#include "primitives/log/LogQueue.h"

#include <memory>

#include "platform/unix/QENThread.h"
#include "primitives/log/Log.h"
#include "primitives/log/LogMessage.h"
#include "primitives/message/MsgStruct.h"

std::atomic<bool> Log::_mt{false};
std::atomic<bool> Log::_run_thread{true};

namespace {

constexpr int WAIT_MS = 1000;     // longest sleep of the idle thread
constexpr int YIELD_EVERY = 1000; // records that are written without a pause
constexpr int FFDC_ROLE_LOGGER = 6;

// Queue, lock and conditions live as long as the process: a producer may still be on its way to them while
// the thread ends. _q_lock guards the queue, _sig, and every change of Log::_mt and Log::_run_thread.
struct LoggerQueue {
    LoggerQueue() {
        QENLockInit(&_q_lock);
        QENCondCvinit(&_q_cond, nullptr);
        QENCondCvinit(&_stopped_cond, nullptr);
    }
    QENLock _q_lock;
    pthread_cond_t _q_cond;       // there are records, or the thread is to finish
    pthread_cond_t _stopped_cond; // logger mode is over
    DList* _queuep = new DList;   // of vlog_msg_t
    bool _sig = false;            // _q_cond was signalled since the last dequeue
};

LoggerQueue& logger_queue() {
    static auto* queue = new LoggerQueue; // never deleted
    return *queue;
}

pthread_t _tid;
pthread_attr_t* _thread_attrp = nullptr;
thread_local bool is_logger_thread = false;

void append_locked(LoggerQueue& queue, vlog_msg_t* msgp) {
    queue._queuep->append_fresh(&msgp->link);
    if (queue._sig) return;
    QENCondCvsignal(&queue._q_cond);
    queue._sig = true;
}

DList* take_locked(LoggerQueue& queue) {
    if (queue._queuep->count() == 0) return nullptr;
    DList* records = queue._queuep;
    queue._queuep = new DList;
    queue._sig = false;
    return records;
}

} // namespace

void Log::start_logger() {
    LoggerQueue& queue = logger_queue();
    {
        QENLockGuard guard(&queue._q_lock);
        if (_mt.load(std::memory_order_relaxed)) return;
        _run_thread.store(true, std::memory_order_release);
        _mt.store(true, std::memory_order_release);
    }
    QENThreadInit(&_thread_attrp);
    if (QENThreadCreate(_thread_attrp, &_tid, _logger_loop, nullptr, 0) == 0) return;
    // No thread: whoever queued meanwhile is served here, and all write by themselves as before.
    _run_thread.store(false, std::memory_order_release);
    _end_logger_mode();
}

void Log::stop_logger() {
    LoggerQueue& queue = logger_queue();
    {
        QENLockGuard guard(&queue._q_lock);
        if (!_mt.load(std::memory_order_relaxed)) return;
        _run_thread.store(false, std::memory_order_release);
        QENCondCvsignal(&queue._q_cond);
    }
    QENThreadJoin(_tid, nullptr);
    _end_logger_mode();
}

// Writes what was appended behind the thread's last dequeue and lets the producers write by themselves.
void Log::_end_logger_mode() {
    LoggerQueue& queue = logger_queue();
    for (;;) {
        DList* records;
        {
            QENLockGuard guard(&queue._q_lock);
            records = take_locked(queue);
            if (records == nullptr) {
                _mt.store(false, std::memory_order_release);
                QENCondCvbcast(&queue._stopped_cond);
                break;
            }
        }
        _write_records(records);
    }
    if (_thread_attrp != nullptr) QENThreadDeinit(&_thread_attrp);
}

void Log::enq(vlog_msg_t* msgp) {
    LoggerQueue& queue = logger_queue();
    QENLockGuard guard(&queue._q_lock);
    append_locked(queue, msgp);
}

// A producer's end of the queue. While the thread finishes, nobody may overtake the records that it still
// has to write, nor write to its logs: the producer waits, then writes itself. What the writing thread logs
// on its own account it writes at once.
void Log::_post(vlog_msg_t* msgp) {
    LoggerQueue& queue = logger_queue();
    {
        QENLockGuard guard(&queue._q_lock);
        while (_mt.load(std::memory_order_relaxed) && !run_thread() && !is_logger_thread)
            QENCondCvwait(&queue._stopped_cond, &queue._q_lock, -1);
        if (_mt.load(std::memory_order_relaxed) && run_thread()) {
            append_locked(queue, msgp);
            return;
        }
    }
    _write_record(msgp);
}

DList* Log::deq(int ms) {
    LoggerQueue& queue = logger_queue();
    QENLockGuard guard(&queue._q_lock);
    if (ms < 0)
        while (queue._queuep->count() == 0) QENCondCvwait(&queue._q_cond, &queue._q_lock, -1);
    else if (queue._queuep->count() == 0 && (run_thread() || !is_logger_thread))
        QENCondCvwait(&queue._q_cond, &queue._q_lock, ms);
    return take_locked(queue);
}

void* Log::_logger_loop(void*) {
    is_logger_thread = true;
    register_for_ffdc(FFDC_ROLE_LOGGER, /*module=*/nullptr, /*logdir=*/nullptr, /*print_seqno=*/0);
    DList* records;
    do { // at least once: the end may have been asked for before the thread ran
        records = deq(WAIT_MS);
        if (records != nullptr) _write_records(records);
    } while (records != nullptr || run_thread());
    unregister_for_ffdc();
    QENThreadExit(nullptr);
}

// Takes list and records over.
void Log::_write_records(DList* records) {
    const bool nested = is_logger_thread;
    is_logger_thread = true;
    int written = 0;
    while (DLink* link = records->head()) {
        link->unlink();
        _write_record(static_cast<vlog_msg_t*>(link->object()));
        if (++written % YIELD_EVERY == 0) QENThreadYield();
    }
    delete records;
    is_logger_thread = nested;
}

// Writes one record and deletes it.
void Log::_write_record(vlog_msg_t* record) {
    const std::unique_ptr<vlog_msg_t> r(record);
    const std::unique_ptr<char[]> text(r->en_msgp);
    std::unique_ptr<MsgStruct> msgp(r->msg_structp);
    if (r->logp == nullptr) {
        write_admin(r->timet, r->sev, r->whop, r->filep, r->line, r->cat, r->id, msgp.get());
        return;
    }
    if (r->packed_args >= 0) {
        const PackedView packed = PackedMessage::view_of(r->packed(), r->packed_args);
        LogMessage m{r->timet,
                     r->sev,
                     r->whop,
                     r->filep,
                     r->line,
                     r->flags,
                     r->cat,
                     r->id,
                     /*debug_text=*/nullptr,
                     /*structp=*/nullptr,
                     &packed};
        return static_cast<Log*>(r->logp)->_log(m); // only a Log packs
    }
    const bool is_handed_over = (r->flags & ULOG_HAND_OVER) != 0;
    MsgStruct* structp = is_handed_over ? msgp.release() : msgp.get(); // write_log deletes it, or we do
    r->logp->write_log(r->timet, r->sev, r->whop, r->filep, r->line, r->flags, r->cat, r->id, text.get(),
                       structp);
}
