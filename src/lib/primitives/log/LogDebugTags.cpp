// Debug tags: which debug levels a log writes, and which of them it flushes at once.
#include <cstdio>
#include <cstring>

#include "primitives/log/Log.h"
#include "primitives/strings/QENString.h"

namespace {

constexpr char TAG_PREFIX[] = "DBG_";
constexpr size_t TAG_SIZE = 255;

bool is_level(int dbg) {
    return dbg >= 0 && dbg < DBG_LEV_END;
}

} // namespace

int Log::get_dbgtag_ndx(const char* tagp) {
    if (tagp == nullptr) return -1;
    char name[TAG_SIZE];
    if (strncasecmp(tagp, TAG_PREFIX, sizeof TAG_PREFIX - 1) != 0) {
        snprintf(name, sizeof name, "%s%s", TAG_PREFIX, tagp);
        tagp = name;
    }
    for (int dbg = 0; dbg < DBG_LEV_END; ++dbg)
        if (strcasecmp(ulog_dbg_lev_names[dbg], tagp) == 0) return dbg;
    return -1;
}

// The index of an unknown tag is -1, which the next two ignore.
void Log::enable_debug(const char* tagp) {
    set_debug_flag(get_dbgtag_ndx(tagp), LOG_DBG_ENABLED);
}

void Log::disable_debug(const char* tagp) {
    clear_debug_flag(get_dbgtag_ndx(tagp), LOG_DBG_ENABLED);
}

void Log::set_flush_debug(const char* tagp) {
    set_debug_flag(get_dbgtag_ndx(tagp), LOG_DBG_FLUSH);
}

void Log::clear_flush_debug(const char* tagp) {
    clear_debug_flag(get_dbgtag_ndx(tagp), LOG_DBG_FLUSH);
}

void Log::set_debug_flag(int dbg, int flag) {
    if (is_level(dbg)) _debug[static_cast<size_t>(dbg)].fetch_or(flag, std::memory_order_relaxed);
}

void Log::clear_debug_flag(int dbg, int flag) {
    if (is_level(dbg)) _debug[static_cast<size_t>(dbg)].fetch_and(~flag, std::memory_order_relaxed);
}

void Log::reset_debug_tags() {
    for (auto& flags : _debug) flags.store(0, std::memory_order_relaxed);
}

void Log::get_all_set_dbg_tags(char* set_dbgtag, int size_setdbgtag) {
    if (set_dbgtag == nullptr || size_setdbgtag <= 0) return;
    const auto size = static_cast<size_t>(size_setdbgtag);
    for (int dbg = 0; dbg < DBG_LEV_END; ++dbg) {
        if (is_enabled(static_cast<ulog_dbg_lev>(dbg)) == 0) continue;
        qenstrlcat(set_dbgtag, ulog_dbg_lev_names[dbg], size);
        qenstrlcat(set_dbgtag, " ", size);
    }
}
