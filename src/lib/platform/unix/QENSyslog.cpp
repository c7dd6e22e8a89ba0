// The system log, and the events that reach it through the log above.
#include "platform/unix/QENHooks.h"
#include "platform/unix/QENPlatform.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <syslog.h>

namespace {

constexpr size_t SYSLOG_TEXT_SIZE = 4095; // with the NUL

// The source position under which events appear. The line is a constant, so that an event looks the same in
// every release.
constexpr char EVENT_FILE[] = "QENPlatform.cpp";
constexpr int EVENT_LINE = 1489;

int level_of(int sev) {
    static constexpr std::array levels = {LOG_CRIT, LOG_ERR, LOG_WARNING, LOG_NOTICE, LOG_INFO};
    const auto code = static_cast<size_t>(sev & 0xFF);
    return code < levels.size() ? levels[code] : LOG_DEBUG;
}

bool is_serious(int logical_sev) {
    return logical_sev == 0 || logical_sev == 1 || logical_sev == 41;
}

} // namespace

// openlog() keeps the pointer that it is given, for as long as anybody may write; hence a copy, which is
// never freed. The last one stays reachable for leak checkers.
void QENInitEventLog(const char* module) {
    static std::atomic<const char*> identity{nullptr};
    const char* copy = module != nullptr ? strdup(module) : nullptr;
    openlog(copy, LOG_PID | LOG_CONS, LOG_DAEMON);
    identity.store(copy, std::memory_order_relaxed);
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
    syslog(level_of(sev) + facility, "%s", text);
}

void QENReportEvent(int logical_sev, uint32_t dwEventID, MsgStruct* msg_structp) {
    if (msg_structp == nullptr || !is_serious(logical_sev)) return;
    const auto report = QENGetHooks().report_event;
    if (report != nullptr) report(logical_sev, dwEventID, msg_structp, EVENT_FILE, EVENT_LINE);
}
