// Stands in front of the C library's system log, so that nothing leaves the test and everything can be seen.
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "LogFixture.h"

namespace {
std::mutex lock;
std::vector<SyslogLine> lines;

void record(int priority, const char* format, va_list args) {
    char text[8192];
    vsnprintf(text, sizeof text, format, args);
    std::lock_guard guard(lock);
    lines.push_back({priority, text});
}
} // namespace

std::vector<SyslogLine> syslog_lines() {
    std::lock_guard guard(lock);
    return lines;
}

void clear_syslog() {
    std::lock_guard guard(lock);
    lines.clear();
}

extern "C" {
void openlog(const char*, int, int) {}
void closelog() {}
void vsyslog(int priority, const char* format, va_list args) {
    record(priority, format, args);
}
void syslog(int priority, const char* format, ...) {
    va_list args;
    va_start(args, format);
    record(priority, format, args);
    va_end(args);
}
void __syslog_chk(int priority, int, const char* format, ...) {
    va_list args;
    va_start(args, format);
    record(priority, format, args);
    va_end(args);
}
}
