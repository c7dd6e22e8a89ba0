// The names of severities and debug levels.
#include "primitives/message/severity.h"

inline namespace taq_1 {

const char* const ulog_app_sev_names[SEV_APP_END] = {"CRITICAL", "ERROR", "WARNING", "NOTICE", "INFO"};

const char* const ulog_dbg_lev_names[DBG_LEV_END] = {
    "DBG_1",        "DBG_2",      "DBG_3",        "DBG_4",        "DBG_5",        "DBG_6",
    "DBG_7",        "DBG_8",      "DBG_9",        "DBG_10",       "DBG_11",       "DBG_12",
    "DBG_13",       "DBG_14",     "DBG_15",       "DBG_16",       "DBG_17",       "DBG_18",
    "DBG_19",       "DBG_20",     "DBG_21",       "DBG_AGTRACE",  "DBG_AGDEBUG",  "DBG_AGINFO",
    "DBG_HBTRACE",  "DBG_HBINFO", "DBG_AGENT",    "DBG_CFM",      "DBG_CFMATTR",  "DBG_CTEAM",
    "DBG_MSG",      "DBG_TIMER",  "DBG_INTERNAL", "DBG_IPM",      "DBG_JOIN",     "DBG_SPARE",
    "DBG_NT_EVENT", "DBG_POLICY", "DBG_RES",      "DBG_TPC",      "DBG_TRACE",    "DBG_SECURITY",
    "DBG_PING",     "DBG_ATTR",   "DBG_NETWORK1", "DBG_NETWORK2", "DBG_NETWORK3", "DBG_LOCK",
    "DBG_THREAD",   "DBG_CVN",    "DBG_OHR",      "DBG_VAR",      "DBG_RES2"};

static_assert(DBG_AGENT + 1 == DBG_CFM && DBG_INTERNAL + 1 == DBG_IPM && DBG_RES + 1 == DBG_TPC);
static_assert(DBG_ATTR + 1 == DBG_NETWORK1 && DBG_THREAD + 1 == DBG_CVN && DBG_RES2 + 1 == DBG_LEV_END);

const char* ulog_app_sev_name(int sev) {
    return sev >= 0 && sev < SEV_APP_END ? ulog_app_sev_names[sev] : "";
}

const char* ulog_dbg_lev_name(int lev) {
    return lev >= 0 && lev < DBG_LEV_END ? ulog_dbg_lev_names[lev] : "";
}

} // namespace taq_1
