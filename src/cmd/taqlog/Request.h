// What the command line of taqlog asks for. main writes it to the log.
#pragma once

#include <string>
#include <vector>

#include "primitives/message/severity.h"

inline constexpr size_t LONGEST_TEXT =
    3800; // bytes that line and record have room for, beside their other parts

struct Request {
    enum Kind { MESSAGE, TEXT, LINES, HELP, VERSION };
    Kind kind = LINES;
    std::string name = "taqlog";
    ulog_app_sev severity = SEV_INFO;
    int flags = 0; // what the message is about
    unsigned category = 0, number = 0;
    std::string text;
    std::vector<std::string> args;
};

// False, after telling why on standard error: the arguments are wrong.
bool parse_request(int argc, char** argv, Request& request);

void refuse(const std::string& reason); // tells it, with the way to the help

extern const char TAQLOG_HELP[];
