// The way in which every message of the system is logged: it is offered to first-failure capture when that
// is on, then written to a log, with the place in the source that issued it.
#pragma once

#include "primitives/log/ILog.h"

// Logs one message. logp may be null (capture only). flags: write flags; the message is handed over anyway.
// fmtp and the arguments: the English text, with conversions that QENUtils::msgargs_to_msgstruct knows.
void write_message(ILog* logp, ulog_app_sev sev, const char* whop, const char* filep, int line, int flags,
                   int cat, int id, const char* fmtp, ...) __attribute__((format(printf, 9, 10)));

// The same with function, file and line of the caller, e.g.
//     QEN_MESSAGE(_unified_logerr_function__, SEV_WARN, 0, ULOG_CAT_COMMAND, 30001, "No file %s", namep);
#define QEN_MESSAGE(logp, sev, flags, cat, id, ...)                                                          \
    write_message((logp), (sev), __func__, __FILE__, __LINE__, (flags), (cat), (id), __VA_ARGS__)
