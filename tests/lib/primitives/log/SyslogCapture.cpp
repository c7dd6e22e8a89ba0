// Stands in front of the C library's system log, so that nothing leaves the test and everything can be seen.
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "LogFixture.h"

namespace {
std::mutex lock;
std::vector<std::string> texts;

void record(int priority, const char* format, va_list args) {
    char text[8192];
    vsnprintf(text, sizeof text, format, args);
    std::lock_guard guard(lock);
    texts.push_back(std::to_string(priority) + text);
}
} // namespace

std::vector<std::string> syslog_texts() {
    std::lock_guard guard(lock);
    return texts;
}

void clear_syslog() {
    std::lock_guard guard(lock);
    texts.clear();
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
