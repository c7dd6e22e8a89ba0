// Finds debug levels by name and switches them. A log asks for the level of each debug message.
#include "primitives/log/LogDebugTags.h"

#include <cstdio>
#include <cstring>

#include "primitives/strings/QENString.h"

inline namespace taq_1 {

namespace {

constexpr char TAG_PREFIX[] = "DBG_";
constexpr size_t TAG_SIZE = 255;

bool is_level(int dbg) {
    return dbg >= 0 && dbg < DBG_LEV_END;
}

} // namespace

int LogDebugTags::level_of(const char* tagp) {
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

void LogDebugTags::set(int level, int flag) {
    if (is_level(level)) _debug[static_cast<size_t>(level)].fetch_or(flag, std::memory_order_relaxed);
}

void LogDebugTags::clear(int level, int flag) {
    if (is_level(level)) _debug[static_cast<size_t>(level)].fetch_and(~flag, std::memory_order_relaxed);
}

void LogDebugTags::reset() {
    for (auto& flags : _debug) flags.store(0, std::memory_order_relaxed);
}

void LogDebugTags::append_enabled(char* names, size_t size) const {
    for (int dbg = 0; dbg < DBG_LEV_END; ++dbg) {
        if (!has(dbg, LOG_DBG_ENABLED)) continue;
        qenstrlcat(names, ulog_dbg_lev_names[dbg], size);
        qenstrlcat(names, " ", size);
    }
}

} // namespace taq_1
