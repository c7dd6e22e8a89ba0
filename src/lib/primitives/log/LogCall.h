// Site and fate of a message as one value: when, how serious, from where, how, under which number. A message
// site or an operation of Log makes one; capture, queue and log pass it on.
#pragma once

#include <cstdint>
#include <ctime>

#include "i18n/common/i18n_id.h"
#include "primitives/log/ILog.h"

inline namespace taq_1 {

struct LogCall {
    LogCall(time_t time, int severity, const char* function, const char* file, int line_no, int flag_word,
            int catalog, int number)
        : timet(time), sev(severity), line(line_no), flags(flag_word), cat(catalog), id(number),
          whop(function), filep(file) {}

    time_t timet; // when it was logged
    int sev;      // severity, or debug level when is_debug()
    int line;
    int flags; // write flags (ILog.h)
    int cat;
    int id;
    const char* whop;  // function; it and filep are literals, or null
    const char* filep; // source file

    bool is_debug() const { return (flags & ULOG_DEBUG) != 0; }
    uint32_t msgcat_id() const {
        return i18n_msgcat_id(static_cast<uint32_t>(cat), static_cast<uint32_t>(id));
    }
};

} // namespace taq_1
