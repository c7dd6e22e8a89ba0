// The system log, and the events that reach it through the log above.
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENThread.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <syslog.h>

inline namespace taq_1 {

namespace {

constexpr size_t SYSLOG_TEXT_SIZE = 4095; // with the NUL

// The source position under which events appear. The line is a constant, so that an event looks the same in
// every release.

// The C library has its own lock for the system log. In a child that is forked while another thread holds it,
// that lock stays taken for ever. So this lock is held around each call, and a fork waits for it.
pthread_mutex_t syslog_lock = PTHREAD_MUTEX_INITIALIZER;
bool is_lost = false;                          // the C library's lock is taken for ever
bool held_at_fork = false;                     // syslog_lock, by the thread that forks
constinit thread_local bool is_inside = false; // the thread holds syslog_lock

// A nested call, for instance of a check that fails inside, is dropped: it would wait for itself.
template <class Call>
void call_syslog(Call call) {
    if (is_inside) return;
    is_inside = true;
    QENMutexLock(&syslog_lock);
    if (!is_lost) call();
    QENMutexUnlock(&syslog_lock);
    is_inside = false;
}

void before_fork() {
    constexpr long WAIT_MS = 1000;
    timeval now;
    gettimeofday(&now, nullptr);
    held_at_fork = !is_inside && QENMutexLockUntil(&syslog_lock, QENCondDeadline(now, WAIT_MS)) != 0;
}

void after_fork_in_parent() {
    if (held_at_fork) QENMutexUnlock(&syslog_lock);
}

void after_fork_in_child() {
    if (held_at_fork) return QENMutexUnlock(&syslog_lock);
    if (is_inside) return; // the thread goes on with its call in both processes
    QENMutexInit(&syslog_lock);
    is_lost = true;
}

int level_of(int sev) {
    static constexpr std::array levels = {LOG_CRIT, LOG_ERR, LOG_WARNING, LOG_NOTICE, LOG_INFO};
    const auto code = static_cast<size_t>(sev & 0xFF);
    return code < levels.size() ? levels[code] : LOG_DEBUG;
}

} // namespace

// openlog() keeps the pointer that it is given and ignores a null one. So every identity is kept, in a list
// that leak checkers can follow, and null becomes the program's name. Programs set one or two.
void QENInitEventLog(const char* module) {
    struct Identity {
        std::string name;
        Identity* older;
    };
    static std::atomic<Identity*> newest{nullptr};
    const char* name = program_invocation_short_name;
    if (module != nullptr) {
        auto* identity = new Identity{module, newest.load(std::memory_order_relaxed)};
        while (!newest.compare_exchange_weak(identity->older, identity, std::memory_order_release)) {
        }
        name = identity->name.c_str();
    }
    call_syslog([=] { openlog(name, LOG_PID | LOG_CONS, LOG_DAEMON); });
}

void QENKeepSyslogAcrossForks() {
    [[maybe_unused]] static const int once =
        pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child);
}

void QENSyslog(int sev, const char* format, ...) {
    if (format == nullptr) return;
    char text[SYSLOG_TEXT_SIZE];
    va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (length < 0) return;
    const int facility = (sev >> 8) & 0xFF; // a facility value, added as it stands
    call_syslog([&] { syslog(level_of(sev) + facility, "%s", text); });
}

void QENReportEvent(int logical_sev, uint32_t dwEventID, MsgStruct* msg_structp) {
    if (msg_structp == nullptr || !QENIsEvent(logical_sev)) return;
    const auto report = QENGetHooks().report_event;
    if (report != nullptr) report(logical_sev, dwEventID, msg_structp, QEN_EVENT_FILE, QEN_EVENT_LINE);
}

} // namespace taq_1
