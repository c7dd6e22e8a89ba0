// The two severity scales of the system and their names. They stand on this floor because the builders of log
// messages store a severity by its name.
#pragma once

#include <cstdint>

inline namespace taq_1 {

// How serious an application message is.
enum ulog_app_sev : int32_t {
    SEV_CRIT = 0,
    SEV_ERR = 1,
    SEV_WARN = 2,
    SEV_NOTE = 3,
    SEV_INFO = 4,
    SEV_APP_END = 5 // number of application severities; no severity itself
};

// Debug levels; they are also the debug tags that a log can switch on one by one.
enum ulog_dbg_lev : int32_t {
    DBG_1 = 0,
    DBG_2,
    DBG_3,
    DBG_4,
    DBG_5,
    DBG_6,
    DBG_7,
    DBG_8,
    DBG_9,
    DBG_10,
    DBG_11,
    DBG_12,
    DBG_13,
    DBG_14,
    DBG_15,
    DBG_16,
    DBG_17,
    DBG_18,
    DBG_19,
    DBG_20,
    DBG_21,
    DBG_AGTRACE = 21,
    DBG_AGDEBUG,
    DBG_AGINFO,
    DBG_HBTRACE,
    DBG_HBINFO,
    DBG_AGENT,
    DBG_CFM = 27,
    DBG_CFMATTR,
    DBG_CTEAM,
    DBG_MSG,
    DBG_TIMER,
    DBG_INTERNAL,
    DBG_IPM = 33,
    DBG_JOIN,
    DBG_SPARE,
    DBG_NTEVENT, // the one level whose name differs: "DBG_NT_EVENT"
    DBG_POLICY,
    DBG_RES,
    DBG_TPC = 39,
    DBG_TRACE,
    DBG_SECURITY,
    DBG_PING,
    DBG_ATTR,
    DBG_NETWORK1 = 44,
    DBG_NETWORK2,
    DBG_NETWORK3,
    DBG_LOCK,
    DBG_THREAD,
    DBG_CVN = 49,
    DBG_OHR,
    DBG_VAR,
    DBG_RES2,
    DBG_LEV_END = 53 // number of debug levels; no level itself
};

// Indexed by severity and by level. Static storage.
extern const char* const ulog_app_sev_names[SEV_APP_END];
extern const char* const ulog_dbg_lev_names[DBG_LEV_END];

// The name of a severity ("CRITICAL" ...) or level ("DBG_1" ...); the empty string for any number outside
// its scale. The argument is a plain int because it may come from a file or a caller's arithmetic.
const char* ulog_app_sev_name(int sev);
const char* ulog_dbg_lev_name(int lev);

} // namespace taq_1
