// Keeps the logs usable in forked children: takes every lock of the room before a fork and frees it after.
#include "primitives/log/LogFork.h"

#include <set>

#include "platform/unix/QENFork.h"
#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENThread.h"
#include "primitives/log/Capture.h"
#include "primitives/log/LogCore.h"
#include "primitives/log/LogQueue.h"
#include "primitives/log/LoggerThread.h"

inline namespace taq_1 {

namespace {

constexpr int WAIT_MS = 1000;

struct LiveLogs {
    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    std::set<Log*> logs;
};

LiveLogs& live() {
    static auto* logs = new LiveLogs; // static logs may come later and go earlier
    return *logs;
}

} // namespace

// What happens around a fork. Friend of Log and LogCore.
struct LogFork {
    static void prepare() {
        QENMutexLock(&live().lock);
        timeval now;
        gettimeofday(&now, nullptr);
        const timespec deadline = QENCondDeadline(now, WAIT_MS);
        LogLock::give_way_to_fork();
        for (Log* log : live().logs) log->_core->_lock.before_fork(deadline);
        LogCatalog::lock().before_fork(deadline);
        logger_thread().before_fork();
        Capture::before_fork();
    }
    static void request_telling(Log* log) {
        if (!log->_core->_loss.is_due()) return;
        const LogCall nothing(0, SEV_INFO, nullptr, nullptr, 0, 0, 0, 0);
        auto* request = new vlog_msg_t(log, nothing, /*debug_text=*/nullptr, /*structp=*/nullptr);
        request->only_tells = true;
        logger_thread().append(request);
    }
    static void in_parent() {
        Capture::after_fork(/*in_child=*/false);
        logger_thread().after_fork_in_parent();
        LogCatalog::lock().after_fork_in_parent();
        for (Log* log : live().logs) log->_core->_lock.after_fork_in_parent();
        LogLock::end_fork();
        QENMutexUnlock(&live().lock);
    }
    static void in_child() {
        Capture::after_fork(/*in_child=*/true);
        logger_thread().after_fork_in_child();
        (void)LogCatalog::lock().after_fork_in_child();
        for (Log* log : live().logs)
            log->_core->_continue_in_child(/*is_whole=*/log->_core->_lock.after_fork_in_child());
        LogLock::end_fork();
        QENMutexUnlock(&live().lock);
    }
};

bool LogCore::_is_inherited() const {
    return _process != QENForkCount();
}

// In a forked child. What the parent had not yet given to the file stays its own to write. When the state of
// the log is not whole, not even the stream can be closed.
void LogCore::_continue_in_child(bool is_whole) {
    _loss.forget();
    if (is_whole) return _file.forget_unflushed();
    _file.abandon();
    _fp = nullptr;
    _enabled = 0;
    _displayp.reset(); // its lines may be half changed
}

// The system log first: what is registered last is prepared first.
void log_prepare_for_forks() {
    QENKeepSyslogAcrossForks();
    [[maybe_unused]] static const bool once =
        (QENAtFork(LogFork::prepare, LogFork::in_parent, LogFork::in_child), true);
}

void log_was_made(Log* log) {
    log_prepare_for_forks();
    QENMutexLock(&live().lock);
    live().logs.insert(log);
    QENMutexUnlock(&live().lock);
}

void log_goes(Log* log) {
    QENMutexLock(&live().lock);
    live().logs.erase(log);
    QENMutexUnlock(&live().lock);
}

void logs_owe_tellings() {
    QENMutexLock(&live().lock);
    for (Log* log : live().logs) LogFork::request_telling(log);
    QENMutexUnlock(&live().lock);
}

} // namespace taq_1
