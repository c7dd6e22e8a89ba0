// The table of functions through which the platform reaches the log, which stands above it. The logging
// framework fills the table when it starts and clears it when it ends; a null entry does nothing.
#pragma once

#include <cstdint>

inline namespace taq_1 {

class MsgStruct;

// A failed thread operation, worded as an application message of category 25 and severity WARNING. All
// texts live for the duration of the call only.
struct QENThreadFailure {
    int number;           // message number within the category
    const char* text;     // the English text with its arguments filled in
    const char* args[2];  // the arguments as strings, in order; null past the last
    const char* function; // the operation that failed, e.g. "QENThreadJoin"
    const char* file;     // its source position
    int line;
};

inline constexpr int QEN_PLATFORM_CATEGORY = 25;        // of every message that the platform issues
inline constexpr int QEN_THREAD_FAILURE_SEVERITY = 2;   // WARNING
inline constexpr int QEN_THREAD_FAILURE_FLAGS = 0x8000; // the log deletes the message

// The source position that reports of events carry, whoever makes them.
inline constexpr char QEN_EVENT_FILE[] = "QENPlatform.cpp";
inline constexpr int QEN_EVENT_LINE = 1489;

struct QENHooks {
    // Writes the failure to the process's output log, after offering it to first-failure capture. While it
    // is null, failures go to the system log.
    void (*thread_failure)(const QENThreadFailure& failure) = nullptr;

    // Mirrors a serious message to the administrator's log: takes the text (element 21), escapes it, offers
    // it to first-failure capture and sends it on. No text: does nothing. The message stays the caller's.
    void (*report_event)(int logical_sev, uint32_t event_id, MsgStruct* msg_structp, const char* filep,
                         int line) = nullptr;

    // Dumps first-failure capture when a fatal signal ends the process. Runs in a signal handler, on an
    // alternate stack: async-signal-safe calls only, no lock, no allocation.
    void (*dump_first_failure)(int signal) = nullptr;
};

// Replaces the whole table. Other threads may report meanwhile, through the old entries: a function must stay
// callable after it was replaced.
void QENSetHooks(const QENHooks& hooks);

QENHooks QENGetHooks(); // async-signal-safe

} // namespace taq_1
