// One message on its way through a log. The three shapes that a message has meet here: a structure, packed
// bytes, and the record of the logger's queue, which holds one of them.
#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string_view>

#include "primitives/log/LogCall.h"
#include "primitives/log/LogText.h"
#include "primitives/message/MsgStruct.h"

inline namespace taq_1 {

class LogDebugTags;
struct PackedView;

// The arguments of a message that its text can use.
struct LogArguments {
    std::array<std::string_view, ULOG_MAX_ARGS> views; // null data for one that is no string
    size_t count = 0;
    bool more = false; // the message has others behind them

    ArgViews span() const { return {views.data(), count}; }
};

// Refers to what it is made of.
struct LogMessage {
    // A debug text, or a message as a structure; both may be null.
    LogMessage(const LogCall& c, const char* text_of_debug, MsgStruct* msg_structp)
        : call(c), debug_text(text_of_debug), structp(msg_structp), time(c.timet) {}
    // An application message of type 0 without a structure.
    LogMessage(const LogCall& c, const PackedView& view) : call(c), packed(&view), time(c.timet) {}

    const LogCall& call;
    const char* debug_text = nullptr;
    MsgStruct* structp = nullptr;
    const PackedView* packed = nullptr;

    // Finds out what follows, from the call and from the elements of the structure. open_flags: of the log.
    // False: the message lacks something that its type must have, or its debug level is off.
    bool classify(int open_flags, const LogDebugTags& tags);

    time_t time;  // a message of type MSG_LOG_ADD brings its own
    int type = 0; // message number of the structure's header
    bool is_debug = false;
    int logical_sev = 0; // 0 to 57, or beyond for a level outside the scale
    int level = 0;       // debug level
    int obj_tag = 0;
    bool is_recorded = true; // a log data file can hold it
    uint32_t msgcat_id = 0;
    int line_flags = 0;        // the flags that rule the parts of the line
    int16_t cache_args_id = 0; // element whose strings the cache keeps; 0: the cache does not take it
    std::string_view text{};   // English
    std::string_view source{}; // file name without directories; empty when there is none

    unsigned catalog() const { return i18n_category_of(msgcat_id); }
    unsigned number() const { return i18n_number_of(msgcat_id); }
    bool leaves_out(int part) const { return (line_flags & part) != 0; }
    LogArguments arguments() const;

    // The message as a structure, built on the first call if there was none; refers only.
    MsgStruct* structure();
    std::unique_ptr<MsgStruct> built{};

private:
    bool _classify_plain();
    bool _classify_log_add(const LogDebugTags& tags);
    bool _classify_identified();
};

} // namespace taq_1
