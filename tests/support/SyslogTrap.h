// Catches what a program sends to the system log: the C library's functions are replaced, so that nothing
// leaves the test. A test program gets it with taq_test(... SYSLOG).
#pragma once

#include <atomic>
#include <string>
#include <vector>

std::vector<std::string> syslog_texts(); // a copy, each line as "3text" with its priority in front
void clear_syslog();

extern std::atomic<bool> syslog_echo; // show each line on standard error as "[priority text]"

// The last call of openlog().
extern const char* openlog_identity;
extern int openlog_options, openlog_facility;
