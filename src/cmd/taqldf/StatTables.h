// The tables of stat, made of what Statistics counted: names, numbers and texts, ready to be shown.
#pragma once

#include <string>
#include <vector>

#include "MessageTexts.h"
#include "Statistics.h"

struct StatTable {
    const char* name;                 // word of --by
    const char* title;                // of the page
    std::vector<const char*> columns; // the first is the name, the second the count
    std::vector<std::vector<std::string>> rows;
    bool is_exact = true;
};

struct StatSettings {
    bool utc = false;
    size_t top = 20;
    std::vector<std::string> by; // empty: all
};

std::vector<StatTable> make_stat_tables(const Statistics& counts, MessageTexts& texts,
                                        const StatSettings& settings);

// "%s" where the arguments go.
std::string open_text(const KnownMessage& message);

// The page, at most 300 KiB.
std::string make_stat_page(const Statistics& counts, const std::vector<StatTable>& tables, size_t damaged,
                           MessageTexts& texts, const StatSettings& settings);
