#include "SyslogTrap.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

std::atomic<bool> syslog_echo = false;
const char* openlog_identity = nullptr;
int openlog_options = 0, openlog_facility = 0;

namespace {

std::mutex lock;
std::vector<std::string> texts;

void keep(int priority, const char* format, va_list args) {
    static char text[16384]; // not on the stack, which a test measures
    const std::lock_guard guard(lock);
    std::vsnprintf(text, sizeof text, format, args);
    if (syslog_echo) std::fprintf(stderr, "[%d %s]", priority, text);
    if (texts.size() < 50'000) texts.push_back(std::to_string(priority) + text);
}

} // namespace

std::vector<std::string> syslog_texts() {
    const std::lock_guard guard(lock);
    return texts;
}

void clear_syslog() {
    const std::lock_guard guard(lock);
    texts.clear();
}

extern "C" {

void openlog(const char* identity, int options, int facility) {
    openlog_identity = identity;
    openlog_options = options;
    openlog_facility = facility;
}

void syslog(int priority, const char* format, ...) {
    va_list args;
    va_start(args, format);
    keep(priority, format, args);
    va_end(args);
}

// What syslog() is in builds with checked library calls.
void __syslog_chk(int priority, int, const char* format, ...) {
    va_list args;
    va_start(args, format);
    keep(priority, format, args);
    va_end(args);
}
}
