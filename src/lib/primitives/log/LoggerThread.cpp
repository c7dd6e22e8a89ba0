// Takes queued records in order and writes them. Producers come before it, RecordWriter (LogQueue.cpp) after.
#include "primitives/log/LoggerThread.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "primitives/log/Capture.h"
#include "primitives/log/FFDC.h"
#include "primitives/log/LogFork.h"
#include "primitives/log/LogLock.h"
#include "primitives/log/LogQueue.h"
#include "primitives/log/RecordPool.h"
#include "primitives/message/MsgStruct.h"

inline namespace taq_1 {

namespace {

constexpr int FOR_EVER = -1;
constexpr int WAIT_MS = 1000;     // longest sleep of the idle thread
constexpr int YIELD_EVERY = 1000; // records that are written without a pause

thread_local bool is_writer = false; // the thread writes the records of the queue

// How long the calling thread may wait for the logger thread. When exit is called from within a log's write,
// that log stays locked, and the logger thread may never get past it.
int patience() {
    constexpr int LOCKED_OUT_MS = 1000;
    return LogLock::is_within_a_log() ? LOCKED_OUT_MS : FOR_EVER;
}

// Whether a full queue may cost the message. One for the administrator is not dropped either.
bool may_be_dropped(const vlog_msg_t& record) {
    return record.logp != nullptr && (record.is_debug() || record.sev > SEV_ERR);
}

} // namespace

LoggerThread& logger_thread() {
    static auto* logger = new LoggerThread;
    return *logger;
}

LoggerThread::LoggerThread() : _queue(new DList), _batch(new DList) {
    QENLockInit(&_lock);
    _init_conditions();
    log_prepare_for_forks();
}

void LoggerThread::_init_conditions() {
    QENCondCvinit(&_records_cond, nullptr);
    QENCondCvinit(&_written_cond, nullptr);
}

// ---- Start and stop

void LoggerThread::start() {
    {
        QENLockGuard guard(&_lock);
        if (is_on()) return;
        _bound = QueueBound::from_environment();
        _has_ended = false;
        _running.store(true, std::memory_order_release);
        _on.store(true, std::memory_order_release);
        if (!_exit_handled) _exit_handled = std::atexit(_at_exit) == 0;
    }
    if (_attributes == nullptr) QENThreadInit(&_attributes);
    pthread_t tid;
    if (QENThreadCreate(_attributes, &tid, _run, this, 0) == 0) return;
    // No thread: what others have queued meanwhile is written here, and all write by themselves as before.
    _running.store(false, std::memory_order_release);
    _switch_off();
    QENThreadDeinit(&_attributes);
}

void LoggerThread::stop() {
    if (!is_writer && !LogLock::is_within_a_log()) _stop();
}

void LoggerThread::_stop() {
    if (!_ask_for_end()) return;
    QENThreadJoin(_tid, nullptr);
    _switch_off();
    QENThreadDeinit(&_attributes);
}

// Returns when the thread has ended. False: logger mode is off, or the thread cannot end.
bool LoggerThread::_ask_for_end() {
    QENLockGuard guard(&_lock);
    if (!is_on()) return false;
    const bool is_first = is_running(); // of the threads that stop it
    _running.store(false, std::memory_order_release);
    QENCondCvbcast(&_records_cond);
    while (is_on() && !(is_first && _has_ended))
        if (QENCondCvwait(&_written_cond, &_lock, patience()) == ETIMEDOUT) return false;
    return is_on();
}

// Writes what was appended after the thread last took the queue; then the producers write by themselves.
// Nothing is dropped any more, and no message may follow that tells what was.
void LoggerThread::_switch_off() {
    logs_owe_tellings();
    const bool was_writer = std::exchange(is_writer, true);
    do {
        _write_batch();
    } while (_next_batch(0) || !_switch_off_when_empty());
    is_writer = was_writer;
}

bool LoggerThread::_switch_off_when_empty() {
    QENLockGuard guard(&_lock);
    if (_queue->count() != 0) return false;
    _on.store(false, std::memory_order_release);
    QENCondCvbcast(&_written_cond);
    return true;
}

// exit may be called by any thread, the logger thread included, while others log. The handler is registered
// again when a destructor of a static object starts the thread after this.
void LoggerThread::_at_exit() {
    LoggerThread& self = logger_thread();
    {
        QENLockGuard guard(&self._lock);
        self._exit_handled = false;
        if (!is_on()) return;
        if (is_writer) _running.store(false, std::memory_order_release);
    }
    if (is_writer)
        self._switch_off();
    else
        self._stop();
}

void* LoggerThread::_run(void* object) {
    auto* self = static_cast<LoggerThread*>(object);
    is_writer = true;
    Capture::add_thread(FFDC_ROLE_UBO, /*module=*/nullptr, /*logdir=*/nullptr, /*print_seqno=*/0);
    while (self->_next_batch(WAIT_MS) || is_running()) self->_write_batch();
    Capture::remove_thread();
    {
        QENLockGuard guard(&self->_lock);
        self->_tid = QENThreadGetCurrent();
        self->_has_ended = true;
        QENCondCvbcast(&self->_written_cond);
    }
    QENThreadExit(nullptr);
}

// ---- The producers' side

void LoggerThread::_append_locked(vlog_msg_t* record) {
    _queue->append_fresh(&record->link);
    ++_appended;
    if (_signalled) return;
    QENCondCvsignal(&_records_cond);
    _signalled = true;
}

void LoggerThread::append(vlog_msg_t* record) {
    QENLockGuard guard(&_lock);
    _append_locked(record);
}

bool LoggerThread::post(vlog_msg_t* record) {
    const Fate fate = _place(record);
    if (fate == Fate::TO_BE_WRITTEN) RecordWriter().write(record);
    if (fate != Fate::DROPPED) return true;
    delete[] record->en_msgp;
    delete record->msg_structp;
    delete record;
    return false;
}

// While the thread is being stopped a producer waits and then writes by itself: busy producers would keep the
// thread from ever ending. Two kinds of threads must not wait, nor for room. The one that writes the records
// appends this one, or writes it at once when it is being stopped. One that is within a log, for which the
// writing thread may wait, appends: what is appended before logger mode is off gets written.
LoggerThread::Fate LoggerThread::_place(vlog_msg_t* record) {
    QENLockGuard guard(&_lock);
    const bool may_wait = !is_writer && !LogLock::is_within_a_log();
    while (is_on()) {
        const bool lacks_room = is_running() && _is_full();
        if (lacks_room && _bound.drops && may_be_dropped(*record)) return Fate::DROPPED;
        if (!may_wait || (is_running() && !lacks_room)) break;
        ++_waiting;
        QENCondCvwait(&_written_cond, &_lock, FOR_EVER);
        --_waiting;
    }
    if (!is_on() || (is_writer && !is_running())) return Fate::TO_BE_WRITTEN;
    _append_locked(record);
    return Fate::APPENDED;
}

void LoggerThread::finish() {
    if (!is_on()) return;
    if (is_writer) { // within the write of a record
        do {
            _write_batch();
        } while (_next_batch(0));
        return;
    }
    QENLockGuard guard(&_lock);
    const uint64_t last = _appended;
    ++_waiting;
    while (is_on() && _written < last)
        if (QENCondCvwait(&_written_cond, &_lock, patience()) == ETIMEDOUT) break;
    --_waiting;
}

// ---- The writing side

void LoggerThread::_wait_for_records(int ms) {
    if (ms < 0)
        while (_queue->count() == 0) QENCondCvwait(&_records_cond, &_lock, FOR_EVER);
    else if (ms > 0 && _queue->count() == 0)
        QENCondCvwait(&_records_cond, &_lock, ms);
}

DList* LoggerThread::take(int ms) {
    QENLockGuard guard(&_lock);
    _wait_for_records(ms);
    if (_queue->count() == 0) return nullptr;
    DList* records = std::exchange(_queue, new DList);
    _signalled = false;
    _written += static_cast<uint64_t>(records->count()); // the caller writes them
    return records;
}

// A producer that wakes a sleeping thread pays more for that than for all else. While messages come in short
// intervals, the thread looks for them by itself.
void LoggerThread::_nap() {
    _signalled = true; // it is awake soon
    QENLockRelease(&_lock);
    QENThreadNap();
    QENLockAcquire(&_lock);
    _signalled = false;
}

// Of the records that were taken, in order.
void LoggerThread::_count_written(uint64_t records) {
    if (records == 0) return;
    _taken -= records;
    _written += records;
    if (_waiting != 0) QENCondCvbcast(&_written_cond);
}

// Moves the queue to the batch, waiting for it up to ms milliseconds. False: there was nothing.
bool LoggerThread::_next_batch(int ms) {
    QENLockGuard guard(&_lock);
    if (!_in_batch) _count_written(_taken);
    if (is_running() && ms > 0 && _queue->count() == 0) _nap();
    if (is_running()) _wait_for_records(ms);
    const auto count = static_cast<uint64_t>(_queue->count());
    if (count == 0) return false;
    if (_batch->count() == 0)
        std::swap(_queue, _batch);
    else
        _batch->dlistcat(_queue);
    _taken += count;
    _signalled = false;
    return true;
}

// The write of a record may come here again: it may delete a log, or call exit.
void LoggerThread::_write_batch() {
    const bool was_in_batch = std::exchange(_in_batch, true);
    {
        RecordWriter writer;
        int written = 0;
        while (DLink* link = _batch->head()) {
            link->unlink();
            writer.write(static_cast<vlog_msg_t*>(link->object()));
            if (++written % YIELD_EVERY != 0) continue;
            writer.flush();
            if (!was_in_batch) {
                QENLockGuard guard(&_lock);
                _count_written(YIELD_EVERY);
            }
            QENThreadYield();
        }
    }
    _in_batch = was_in_batch;
}

// ---- Forks

void LoggerThread::before_fork() {
    QENLockAcquire(&_lock);
    RecordPool::before_fork();
}

void LoggerThread::after_fork_in_parent() {
    RecordPool::after_fork();
    QENLockRelease(&_lock);
}

// The parent's records are neither written nor deleted: most children are about to start another program. The
// new lists lead to them, so that leak checkers do not complain.
void LoggerThread::after_fork_in_child() {
    RecordPool::after_fork();
    _on.store(false, std::memory_order_relaxed);
    _running.store(false, std::memory_order_relaxed);
    _queue = new DList(_queue);
    _batch = new DList(_batch);
    _signalled = _in_batch = is_writer = false;
    _waiting = 0;
    _appended = _written = _taken = 0;
    _init_conditions(); // threads that are not here may have waited for them
    QENLockRelease(&_lock);
}

} // namespace taq_1
