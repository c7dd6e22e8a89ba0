// One message on its way through Log::write_log.
#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <string_view>

#include "primitives/log/ILog.h"

class MsgStruct;

struct LogMessage {
    // What the caller gave.
    time_t time; // a message of type 2056 brings its own
    int sev;     // severity or debug level
    const char* whop;
    const char* filep;
    int line;
    int flags;
    int cat;
    int id;
    const char* debug_text;
    MsgStruct* structp; // may be null

    // What was found out about it.
    int type = 0; // message number of the structure's header
    bool is_debug = false;
    int logical_sev = 0; // 0 to 57, or beyond for a level outside the scale
    int level = 0;       // debug level
    int obj_tag = 0;
    uint32_t msgcat_id = 0;
    int line_flags = 0;        // the flags that rule the parts of the line
    std::string_view text{};   // English
    std::string_view source{}; // file name without directories; empty when there is none

    unsigned catalog() const { return msgcat_id >> 16; }
    unsigned number() const { return msgcat_id & 0xFFFF; }
    bool leaves_out(int part) const { return (line_flags & part) != 0; }
};
