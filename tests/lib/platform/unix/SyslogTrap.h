// Catches what the program sends to the system log: the C library's openlog() and syslog() are replaced.
#pragma once

#include <string>
#include <vector>

struct SyslogLine {
    int priority;
    std::string text;
};

extern std::vector<SyslogLine> syslog_lines;
extern bool syslog_echo; // show each line on standard error as "[priority text]"
extern const char* openlog_identity;
extern int openlog_options, openlog_facility;
