// Parses the command line into Options. main runs what they ask for.
#include "Options.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <getopt.h>
#include <iterator>

#include "FilterWords.h"
#include "TimeText.h"
#include "VisibleText.h"
#include "primitives/ldf/ldf_format.h"

namespace {

constexpr unsigned SHOW = 1, EXPORT = 2, ALL = SHOW | EXPORT, VERIFY = 4, RECOVER = 8, STAT = 16,
                   READ = ALL | STAT;
constexpr size_t MOST_LINES = 1000000, MOST_ROWS = 1000;

enum Code : int {
    SINCE = 'S',
    UNTIL = 'U',
    SEVERITY = 'p',
    GREP = 'g',
    FIXED = 'F',
    IGNORE_CASE = 'i',
    LINES = 'n',
    FOLLOW = 'f',
    OUTPUT = 'o',
    QUIET = 'q',
    HELP = 'h',
    ID = 256,
    CATEGORY,
    OBJECT,
    OBJECT_TYPE,
    SOURCE,
    NOT,
    ANY,
    FORMAT,
    COLLAPSE,
    LANG,
    UTC,
    COLOR,
    STATS,
    CSV_SAFE,
    SUBSECOND,
    CURSOR_FILE,
    FROM_START,
    BY,
    TOP,
    JSON,
    CATALOGS,
    REPORT,
    KEEP_REPEATS,
    HOST,
};

constexpr struct OptionRow {
    Code code; // the letter of the short form, or a number beyond letters
    const char* name;
    const char* value; // null: takes none; "[": it may be left out
    unsigned subcommands;
    const char* help;
} option_rows[] = {
    {SINCE, "since", "TIME", READ,
     "records of TIME and later: 2026-11-16[ 18:18[:26]], 18:18, today, yesterday, -2h, @EPOCH"},
    {UNTIL, "until", "TIME", READ, "records before TIME"},
    {SEVERITY, "severity", "LIST", READ, "severities: error, E, critical,error, error..critical, ..warning"},
    {ID, "id", "ID", READ, "message 30523, 25-30523 or K-16-25-30523"},
    {CATEGORY, "category", "N", READ, "messages of a category"},
    {OBJECT, "object", "NAME", READ, "an argument, or a piece of one between colons, ignoring case"},
    {OBJECT_TYPE, "object-type", "TYPE", READ, "QEN, HMX, CLU, GRP, SYS, AGT or RES"},
    {SOURCE, "source", "FILE[:LINE]", READ, "place in the program's source"},
    {GREP, "grep", "RE", READ, "regular expression (RE2) in the text"},
    {FIXED, "fixed-strings", nullptr, READ, "RE is a text to be found as it is"},
    {IGNORE_CASE, "ignore-case", nullptr, READ, "RE ignores case"},
    {NOT, "not", nullptr, READ, "turn the next filter round"},
    {ANY, "any", nullptr, READ, "one filter suffices, within the times"},
    {LINES, "lines", "N", READ, "the last N of what passed the filters"},
    {FOLLOW, "follow", nullptr, ALL, "go on with the records that come, over rotations"},
    {FROM_START, "from-start", nullptr, ALL, "follow from the oldest record on, not from now on"},
    {CURSOR_FILE, "cursor-file", "FILE", ALL,
     "go on behind the last run's records, and keep the place in FILE"},
    {FORMAT, "format", "FORMAT", SHOW, "line (default), taqmsg (the reader's lines) or verbose"},
    {FORMAT, "format", "FORMAT", EXPORT, "jsonl (default), csv, journal or otlp"},
    {COLLAPSE, "collapse", nullptr, SHOW, "show equal records in a row once"},
    {OUTPUT, "output", "FILE", EXPORT | STAT, "write to FILE, which appears when it is complete"},
    {CSV_SAFE, "csv-safe", nullptr, EXPORT,
     "put ' before values that a spreadsheet would take for a formula"},
    {SUBSECOND, "subsecond", "none|order", EXPORT,
     "whether times of journal (default) and otlp show the order within a second"},
    {LANG, "lang", "LANG", READ, "language of the texts"},
    {UTC, "utc", nullptr, READ, "show and read times in UTC"},
    {COLOR, "color", "[auto|always|never", SHOW, "colour of the severities"},
    {STATS, "stats", nullptr, READ, "tell on standard error what was read"},
    {JSON, "json", nullptr, VERIFY, "one JSON object a line"},
    {CATALOGS, "catalogs", nullptr, VERIFY, "also whether every language has the records' messages"},
    {QUIET, "quiet", nullptr, VERIFY, "only files that are not whole"},
    {OUTPUT, "output", "NEW", RECOVER, "file for the records; there must be none"},
    {REPORT, "report", "FILE", RECOVER, "write the report as JSON to FILE"},
    {KEEP_REPEATS, "keep-repeats", nullptr, RECOVER, "keep records that stand in front of the damage, too"},
    {HOST, "host", "NAME", RECOVER, "name of the host, where the header has none"},
    {FORMAT, "format", "FORMAT", STAT, "text (default), json, csv, prometheus or html"},
    {BY, "by", "LIST", STAT, "tables: severity,id,object,source,host,log,hour,burst,new; all by default"},
    {TOP, "top", "N", STAT, "rows of a table, 1 to 1000; 20 by default"},
    {HELP, "help", nullptr, READ | VERIFY | RECOVER, "show this help"},
};

constexpr struct {
    FormatName format;
    const char* name;
    Subcommand subcommand;
} format_rows[] = {{FormatName::LINE, "line", Subcommand::SHOW},
                   {FormatName::TAQMSG, "taqmsg", Subcommand::SHOW},
                   {FormatName::VERBOSE, "verbose", Subcommand::SHOW},
                   {FormatName::JSONL, "jsonl", Subcommand::EXPORT},
                   {FormatName::CSV, "csv", Subcommand::EXPORT},
                   {FormatName::JOURNAL, "journal", Subcommand::EXPORT},
                   {FormatName::OTLP, "otlp", Subcommand::EXPORT},
                   {FormatName::TEXT, "text", Subcommand::STAT},
                   {FormatName::JSON, "json", Subcommand::STAT},
                   {FormatName::COUNTS, "csv", Subcommand::STAT},
                   {FormatName::METRICS, "prometheus", Subcommand::STAT},
                   {FormatName::PAGE, "html", Subcommand::STAT}};

constexpr struct {
    Subcommand subcommand;
    const char* name;
    unsigned bit;
    const char* help;
} subcommand_rows[] = {{Subcommand::SHOW, "show", SHOW, "show records as lines"},
                       {Subcommand::EXPORT, "export", EXPORT, "write records for other programs"},
                       {Subcommand::VERIFY, "verify", VERIFY, "tell whether files are whole"},
                       {Subcommand::RECOVER, "recover", RECOVER, "save the records of a damaged file"},
                       {Subcommand::STAT, "stat", STAT, "count records"}};

const char* name_of(Subcommand subcommand) {
    for (const auto& row : subcommand_rows)
        if (row.subcommand == subcommand) return row.name;
    return "";
}

unsigned bit_of(Subcommand subcommand) {
    for (const auto& row : subcommand_rows)
        if (row.subcommand == subcommand) return row.bit;
    return 0;
}

// As much as a header has room for, printable.
bool is_host_label(std::string_view host) {
    return !host.empty() && host.size() < LDF_SYSTEM_SIZE &&
           std::all_of(host.begin(), host.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

bool is_filter(int code) {
    switch (code) {
    case SEVERITY:
    case ID:
    case CATEGORY:
    case OBJECT:
    case OBJECT_TYPE:
    case SOURCE:
    case GREP: return true;
    default: return false;
    }
}

class Parser {
public:
    Parser(time_t now, Options& options) : _now(now), _options(options) {}

    bool parse(int argc, char** argv);

private:
    bool _parse_options(int argc, char** argv);
    bool _take(int code);
    bool _take_filter(int code, std::string_view value);
    bool _take_other(int code, std::string_view value);
    bool _take_time(std::string_view value, Repeated which, int64_t& time);
    bool _take_lines(std::string_view value);
    bool _take_tables(std::string_view value);
    bool _take_top(std::string_view value);
    bool _take_format(std::string_view value);
    bool _take_colour(std::string_view value);
    bool _finish();
    FilterClause& _clause(FilterClause::Kind kind);
    bool _refuse(const std::string& reason) const;
    bool _refuse_value(const char* what, std::string_view value) const {
        return _refuse(std::string("wrong ") + what + " '" + std::string(value) + "'");
    }

    const time_t _now;
    Options& _options;
    bool _negated = false; // by --not, for the next filter
    std::string_view _since, _until;
};

bool Parser::_refuse(const std::string& reason) const {
    const char* const name = name_of(_options.subcommand);
    (void)std::fprintf(stderr, "taqldf: %s\nTry 'taqldf %s%s--help'.\n", visible_text(reason).c_str(), name,
                       *name == '\0' ? "" : " ");
    return false;
}

bool Parser::parse(int argc, char** argv) {
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (first == "--help" || first == "-h") return _options.help = true;
    if (first == "--version") return _options.version = true;
    for (const auto& row : subcommand_rows)
        if (first == row.name) _options.subcommand = row.subcommand;
    if (_options.subcommand == Subcommand::NONE)
        return _refuse(first.empty() ? "no subcommand" : "unknown subcommand '" + std::string(first) + "'");
    if (_options.subcommand == Subcommand::EXPORT) _options.format = FormatName::JSONL;
    if (_options.subcommand == Subcommand::STAT) _options.format = FormatName::TEXT;
    argv[1] = argv[0]; // getopt names it in its messages
    return _parse_options(argc - 1, argv + 1) && _finish();
}

bool Parser::_parse_options(int argc, char** argv) {
    std::vector<option> long_options;
    std::string letters;
    for (const OptionRow& row : option_rows) {
        if ((row.subcommands & bit_of(_options.subcommand)) == 0) continue;
        const int takes = row.value == nullptr ? no_argument
                          : *row.value == '['  ? optional_argument
                                               : required_argument;
        long_options.push_back({row.name, takes, nullptr, row.code});
        if (row.code >= ID) continue;
        letters.push_back(static_cast<char>(row.code));
        if (takes == required_argument) letters.push_back(':');
    }
    long_options.push_back({nullptr, 0, nullptr, 0});
    for (int code; (code = getopt_long(argc, argv, letters.c_str(), long_options.data(), nullptr)) != -1;)
        if (code == '?' ? !_refuse("wrong options") : !_take(code)) return false;
    _options.inputs.assign(argv + optind, argv + argc);
    return true;
}

bool Parser::_take(int code) {
    const std::string_view value = optarg != nullptr ? optarg : "";
    if (is_filter(code)) return _take_filter(code, value);
    if (_negated && code != NOT) return _refuse("--not stands before a filter");
    return _take_other(code, value);
}

// Values of one kind belong to one condition, unless they are turned round.
FilterClause& Parser::_clause(FilterClause::Kind kind) {
    std::vector<FilterClause>& clauses = _options.filter.clauses;
    if (!_negated)
        for (FilterClause& clause : clauses)
            if (clause.kind == kind && !clause.is_negated) return clause;
    clauses.push_back({kind, _negated, {}, {}, {}, {}, {}});
    _negated = false;
    return clauses.back();
}

bool Parser::_take_filter(int code, std::string_view value) {
    switch (code) {
    case SEVERITY:
        return add_severities(value, _clause(FilterClause::SEVERITY)) || _refuse_value("severity", value);
    case ID: return add_identity(value, _clause(FilterClause::ID)) || _refuse_value("message", value);
    case CATEGORY:
        return add_category(value, _clause(FilterClause::CATEGORY)) || _refuse_value("category", value);
    case OBJECT_TYPE:
        return add_object_type(value, _clause(FilterClause::OBJECT_TYPE)) ||
               _refuse_value("object type", value);
    case SOURCE: return add_position(value, _clause(FilterClause::SOURCE)) || _refuse_value("source", value);
    case OBJECT: _clause(FilterClause::OBJECT).names.emplace_back(value); return true;
    default: _clause(FilterClause::TEXT).texts.emplace_back(value); return true;
    }
}

bool Parser::_take_other(int code, std::string_view value) {
    switch (code) {
    case SINCE: _since = value; return true;
    case UNTIL: _until = value; return true;
    case FIXED: return _options.search.is_literal = true;
    case IGNORE_CASE: return _options.search.ignores_case = true;
    case NOT: _negated = !_negated; return true;
    case ANY: return _options.filter.any = _options.search.any = true;
    case LINES: return _take_lines(value);
    case BY: return _take_tables(value);
    case TOP: return _take_top(value);
    case FORMAT: return _take_format(value);
    case COLLAPSE: return _options.collapse = true;
    case OUTPUT: _options.output = value; return !value.empty() || _refuse("no name of an output file");
    case CSV_SAFE: return _options.csv_safe = true;
    case FOLLOW: return _options.follow = true;
    case FROM_START: return _options.from_start = true;
    case CURSOR_FILE:
        _options.cursor_file = value;
        return !value.empty() || _refuse("no name of a cursor's file");
    case SUBSECOND:
        _options.has_places = value == "order";
        return value == "order" || value == "none" || _refuse_value("subsecond", value);
    case LANG: _options.lang = value; return true;
    case UTC: return _options.utc = true;
    case COLOR: return _take_colour(value);
    case STATS: return _options.stats = true;
    case JSON: return _options.json = true;
    case CATALOGS: return _options.catalogs = true;
    case QUIET: return _options.quiet = true;
    case REPORT: _options.report = value; return !value.empty() || _refuse("no name of a report");
    case KEEP_REPEATS: return _options.keep_repeats = true;
    case HOST: _options.host = value; return is_host_label(value) || _refuse_value("host", value);
    default: return _options.help = true;
    }
}

// Times are read when all options are known: --utc may come behind them.
bool Parser::_take_time(std::string_view value, Repeated which, int64_t& time) {
    if (value.data() == nullptr) return true;
    const std::optional<int64_t> parsed = parse_time(value, _now, _options.utc, which);
    if (!parsed) return _refuse_value("time", value);
    time = *parsed;
    return true;
}

bool Parser::_take_tables(std::string_view value) {
    static constexpr std::string_view NAMES[] = {"severity", "id",   "object", "source", "host",
                                                 "log",      "hour", "burst",  "new"};
    while (true) {
        const std::string_view name = value.substr(0, value.find(','));
        if (std::find(std::begin(NAMES), std::end(NAMES), name) == std::end(NAMES))
            return _refuse_value("table", name);
        _options.by.emplace_back(name);
        if (name.size() == value.size()) return true;
        value.remove_prefix(name.size() + 1);
    }
}

bool Parser::_take_top(std::string_view value) {
    const auto [rest, error] = std::from_chars(value.data(), value.data() + value.size(), _options.top);
    return (error == std::errc() && rest == value.data() + value.size() && _options.top >= 1 &&
            _options.top <= MOST_ROWS) ||
           _refuse_value("number of rows", value);
}

bool Parser::_take_lines(std::string_view value) {
    size_t lines = 0;
    const auto [rest, error] = std::from_chars(value.data(), value.data() + value.size(), lines);
    if (error != std::errc() || rest != value.data() + value.size() || lines < 1 || lines > MOST_LINES)
        return _refuse_value("number of lines", value);
    _options.lines = lines;
    return true;
}

bool Parser::_take_format(std::string_view value) {
    for (const auto& row : format_rows) {
        if (row.subcommand != _options.subcommand || value != row.name) continue;
        _options.format = row.format;
        return true;
    }
    return _refuse_value("format", value);
}

bool Parser::_take_colour(std::string_view value) {
    if (value == "auto")
        _options.colour = Colour::AUTO;
    else if (value == "never")
        _options.colour = Colour::NEVER;
    else if (value.empty() || value == "always")
        _options.colour = Colour::ALWAYS;
    else
        return _refuse_value("colour", value);
    return true;
}

bool Parser::_finish() {
    if (_options.help) return true;
    if (_negated) return _refuse("--not stands before a filter");
    if (_options.subcommand == Subcommand::RECOVER && _options.inputs.size() != 1)
        return _refuse("recover takes one file");
    if (_options.subcommand == Subcommand::RECOVER && _options.output.empty())
        return _refuse("recover needs a new file (-o)");
    if (_options.collapse && _options.format == FormatName::TAQMSG)
        return _refuse("--collapse does not go with the reader's lines");
    if (_options.csv_safe && _options.format != FormatName::CSV) return _refuse("--csv-safe goes with csv");
    if (_options.follow && _options.collapse) return _refuse("--collapse does not go with --follow");
    if (_options.follow && !_options.output.empty()) return _refuse("--output does not go with --follow");
    if (_options.from_start && !_options.follow) return _refuse("--from-start goes with --follow");
    const bool has_fraction = _options.format == FormatName::JOURNAL || _options.format == FormatName::OTLP;
    if (_options.has_places && !has_fraction) return _refuse("--subsecond goes with journal and otlp");
    return _take_time(_since, Repeated::FIRST, _options.filter.since) &&
           _take_time(_until, Repeated::SECOND, _options.filter.until);
}

} // namespace

bool parse_options(int argc, char** argv, time_t now, Options& options) {
    return Parser(now, options).parse(argc, argv);
}

namespace {

void add_help_row(std::string row, const char* help, std::string& text) {
    constexpr size_t COLUMN = 30;
    row.resize(std::max(row.size() + 2, COLUMN), ' ');
    text.append(row).append(help).append("\n");
}

// "  -S, --since=TIME"
std::string words_of(const OptionRow& row) {
    std::string words = "      --";
    if (row.code < ID) {
        words = "  -";
        words.push_back(static_cast<char>(row.code));
        words.append(", --");
    }
    words.append(row.name);
    if (row.value == nullptr) return words;
    if (*row.value == '[') return words.append("[=").append(row.value + 1).append("]");
    return words.append("=").append(row.value);
}

} // namespace

std::string help_text(Subcommand subcommand) {
    std::string text("Usage: taqldf ");
    text.append(subcommand == Subcommand::NONE ? "SUBCOMMAND" : name_of(subcommand));
    text.append(" [OPTION]... [INPUT]...\n\n");
    if (subcommand == Subcommand::NONE) {
        for (const auto& row : subcommand_rows)
            add_help_row(std::string("  ").append(row.name), row.help, text);
        add_help_row("  SUBCOMMAND --help", "show the options of a subcommand", text);
        add_help_row("  --version", "show the version", text);
    }
    for (const OptionRow& row : option_rows)
        if ((row.subcommands & bit_of(subcommand)) != 0) add_help_row(words_of(row), row.help, text);
    if (subcommand == Subcommand::RECOVER)
        return text.append("\nINPUT: one file, which stays as it is. See taqldf(1).\n");
    return text.append(
        "\nINPUT: the name of a log, NAME_A for one of its files, a file or directory, HOST=PATH, or - for\n"
        "standard input; without one, all logs. See taqldf(1).\n");
}
