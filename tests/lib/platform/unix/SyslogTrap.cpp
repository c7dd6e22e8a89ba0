#include "SyslogTrap.h"

#include <cstdarg>
#include <cstdio>

std::vector<SyslogLine> syslog_lines;
bool syslog_echo = false;
const char* openlog_identity = nullptr;
int openlog_options = 0, openlog_facility = 0;

extern "C" void openlog(const char* identity, int options, int facility) {
    openlog_identity = identity;
    openlog_options = options;
    openlog_facility = facility;
}

extern "C" void syslog(int priority, const char* format, ...) {
    char text[16384];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    syslog_lines.push_back({priority, text});
    if (syslog_echo) std::fprintf(stderr, "[%d %s]", priority, text);
}
