// Debug tags of a log: which debug levels it writes, and which of them it flushes at once.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include "../message/severity.h"

inline namespace taq_1 {

// Bits of a debug level's flag word.
inline constexpr int LOG_DBG_ENABLED = 1;
inline constexpr int LOG_DBG_FLUSH = 2; // flush the stream after each message of the level

// Tags are the names of debug levels, with or without "DBG_", in any case. Any thread may call any function.
class LogDebugTags {
public:
    static int level_of(const char* tagp); // -1: no such level

    // A level outside the scale, -1 for instance, is ignored.
    void set(int level, int flag);
    void clear(int level, int flag);
    void reset(); // all levels
    bool has(int level, int flag) const {
        const auto ndx = static_cast<unsigned>(level);
        return ndx < DBG_LEV_END && (_debug[ndx].load(std::memory_order_relaxed) & flag) != 0;
    }

    // Appends the name of each enabled level and a blank to the string in `names`, `size` bytes.
    void append_enabled(char* names, size_t size) const;

private:
    std::array<std::atomic<int>, DBG_LEV_END> _debug = {}; // flag word per debug level
};

} // namespace taq_1
