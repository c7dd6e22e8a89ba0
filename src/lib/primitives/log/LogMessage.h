// One message on its way through a log.
#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string_view>

#include "primitives/log/ILog.h"
#include "primitives/log/LogText.h"
#include "primitives/message/MsgStruct.h"

struct PackedView;

// The arguments of a message that its text can use.
struct LogArguments {
    std::array<std::string_view, ULOG_MAX_ARGS> views; // null data for one that is no string
    size_t count = 0;
    bool more = false; // the message has others behind them

    ArgViews span() const { return {views.data(), count}; }
};

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
    MsgStruct* structp;       // may be null
    const PackedView* packed; // an application message of type 0 without a structure, or null

    // What was found out about it.
    int type = 0; // message number of the structure's header
    bool is_debug = false;
    int logical_sev = 0; // 0 to 57, or beyond for a level outside the scale
    int level = 0;       // debug level
    int obj_tag = 0;
    bool is_recorded = true; // a log data file can hold it
    uint32_t msgcat_id = 0;
    int line_flags = 0;        // the flags that rule the parts of the line
    std::string_view text{};   // English
    std::string_view source{}; // file name without directories; empty when there is none

    unsigned catalog() const { return i18n_category_of(msgcat_id); }
    unsigned number() const { return i18n_number_of(msgcat_id); }
    bool leaves_out(int part) const { return (line_flags & part) != 0; }
    LogArguments arguments() const;

    // The message as a structure, built on the first call if there was none; refers only.
    MsgStruct* structure();
    std::unique_ptr<MsgStruct> built{};
};
