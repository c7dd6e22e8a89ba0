// The command line: one table of options for parsing, help and completion.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "RecordFilter.h"
#include "TextSearch.h"

enum class Subcommand { NONE, SHOW, EXPORT, VERIFY, RECOVER, STAT };
enum class FormatName { LINE, TAQMSG, VERBOSE, JSONL, CSV, JOURNAL, OTLP, TEXT, JSON, COUNTS, METRICS, PAGE };
enum class Colour { AUTO, ALWAYS, NEVER };

struct Options {
    Subcommand subcommand = Subcommand::NONE;
    bool help = false;
    bool version = false;

    FilterOptions filter;
    TextSearchOptions search;
    FormatName format = FormatName::LINE;
    size_t lines = 0; // only the last ones; 0: all
    bool collapse = false;
    bool utc = false;
    bool stats = false;
    bool follow = false;
    bool from_start = false;
    std::string cursor_file; // "": none
    bool csv_safe = false;
    std::optional<bool> has_places; // not set: as the format does by itself
    Colour colour = Colour::AUTO;
    std::string lang;
    std::string output; // "": standard output
    std::vector<std::string> inputs;

    // stat
    std::vector<std::string> by; // tables; none: all
    size_t top = 20;             // rows of a table

    // verify
    bool json = false;
    bool catalogs = false;
    bool quiet = false;
    // recover
    std::string report; // "": none
    std::string host;   // "": as the file says
    bool keep_repeats = false;
};

// False, after telling why on standard error, when the arguments are wrong. `now` is what relative times
// refer to.
bool parse_options(int argc, char** argv, time_t now, Options& options);

// What --help prints: of a subcommand, or of the command.
std::string help_text(Subcommand subcommand);
