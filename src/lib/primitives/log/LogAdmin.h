// Messages for the administrator: a text in the system log. Logs mirror their serious messages here, and the
// library reports its own failures here.
#pragma once

#include <atomic>
#include <memory>
#include <string_view>

#include "primitives/log/LogCall.h"
#include "primitives/message/MsgStruct.h"

inline namespace taq_1 {

// Any thread may call any function.
class LogAdmin {
public:
    // Writes a message's text; in logger mode the logger thread does. Nothing in verify mode, or without
    // text.
    static void send(const LogCall& call, std::unique_ptr<MsgStruct> msgp);
    // The same at once, on the caller's thread, in verify mode too.
    static void write(int sev, std::string_view text);

    // A report of the library about itself: offered to first-failure capture, then sent.
    static void report(int sev, const char* whop, const char* filep, int line, int id,
                       std::unique_ptr<MsgStruct> msgp);
    // A message of a log that is an event (QENIsEvent): offered to first-failure capture, then sent.
    static void mirror(int logical_sev, int number, std::string_view text);

    // Facility of these messages, the system log's value times 256; 0 at first.
    static void set_facility(int facility) { _syslog_facility.store(facility, std::memory_order_relaxed); }
    static int facility() { return _syslog_facility.load(std::memory_order_relaxed); }
    // The code of "LOG_LOCAL0" to "LOG_LOCAL7" in any case; 0 for null and "", -1 for any other name.
    static int verify_facility(const char* facility);

    // Between the two the platform's failures (QENHooks.h) become messages of the process's output log.
    static void install_hooks();
    static void remove_hooks();

private:
    static inline std::atomic<int> _syslog_facility{0};
};

} // namespace taq_1
