// The way in which every message of the system is logged: it is offered to first-failure capture when that
// is on, then written to a log, with the place in the source that issued it.
#pragma once

#include "ILog.h"

inline namespace taq_1 {

// Logs one message. logp may be null (capture only). flags: write flags; the message is handed over anyway.
// fmtp and the arguments: the English text, with any conversion of printf; PackedMessage.h tells the few
// things that differ. Each conversion but "%n" and "%%" is one argument of the message. Texts of catalogs use
// six arguments: with a seventh the English text is shown, and a record keeps the first six. Text and
// arguments that together exceed 4 KiB show in a catalog's text as "???".
void write_message(ILog* logp, ulog_app_sev sev, const char* whop, const char* filep, int line, int flags,
                   int cat, int id, const char* fmtp, ...) __attribute__((format(printf, 9, 10)));

// One debug message of a level, which the caller has found enabled. flags: write flags beside the debug bit.
void write_debug_message(ILog* logp, ulog_dbg_lev lev, const char* whop, const char* filep, int line,
                         int flags, int cat, int id, const char* fmtp, ...)
    __attribute__((format(printf, 9, 10)));

// The same with function, file and line of the caller, e.g.
//     QEN_MESSAGE(_unified_logerr_function__, SEV_WARN, 0, ULOG_CAT_COMMAND, 30001, "No file %s", namep);
#define QEN_MESSAGE(logp, sev, flags, cat, id, ...)                                                          \
    write_message((logp), (sev), __func__, __FILE__, __LINE__, (flags), (cat), (id), __VA_ARGS__)

// Logs a debug message when its level is enabled on the log, which must exist. A disabled one costs one test:
// nothing is formatted or captured, and its arguments are not evaluated. logp and lev are evaluated twice.
#define QEN_DEBUG(logp, lev, flags, cat, id, ...)                                                            \
    ((logp)->is_enabled(lev) == 0 ? void()                                                                   \
                                  : write_debug_message((logp), (lev), __func__, __FILE__, __LINE__,         \
                                                        (flags), (cat), (id), __VA_ARGS__))

} // namespace taq_1
