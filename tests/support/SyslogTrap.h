// Catches what a program sends to the system log: the C library's functions are replaced, so that nothing
// leaves the test. A test program gets it with taq_test(... SYSLOG).
#pragma once

#include <atomic>
#include <string>
#include <vector>

struct SyslogLine {
    int priority;
    std::string text;
};

std::vector<SyslogLine> syslog_lines();  // a copy
std::vector<std::string> syslog_texts(); // the same as "3text"
void clear_syslog();

extern std::atomic<bool> syslog_echo; // show each line on standard error as "[priority text]"

// The last call of openlog().
extern const char* openlog_identity;
extern int openlog_options, openlog_facility;
