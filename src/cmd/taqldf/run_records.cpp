// Puts the parts together: sources, merge, filter, format, output.
#include "run_records.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>

#include "MergedRecords.h"
#include "Output.h"
#include "Progress.h"
#include "RecordFormat.h"
#include "RecordKeeper.h"
#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENStreams.h"

namespace {

constexpr size_t SMALL_WINDOW = 16 * 1024, LARGE_WINDOW = LDF_WINDOW_MAX;
constexpr size_t MOST_LARGE_WINDOWS = 64; // sources

// Hands records to the format; those that repeat the one before are only counted, if asked for.
class Writer {
public:
    Writer(RecordFormat& format, Output& output, bool collapse)
        : _format(format), _output(output), _collapse(collapse) {}

    // False: the output takes no more.
    bool put(const FoundRecord& record) {
        if (_collapse) {
            if (!_last.is_empty() && is_repeat(record, _last.record())) {
                ++_repeats;
                _last.keep(record);
                return true;
            }
            end_repeats();
            _last.keep(record);
        }
        _format.put(record, _output.lines());
        return _output.takes_more();
    }
    void end_repeats() {
        if (_repeats > 0) _format.put_repeats(_repeats, _last.record(), _output.lines());
        _repeats = 0;
    }

private:
    // Whether identity and arguments are equal, in one log.
    static bool is_repeat(const FoundRecord& a, const FoundRecord& b) {
        if (ldf_record_id(a.bytes) != ldf_record_id(b.bytes) || a.file->place != b.file->place) return false;
        LdfRecordView left, right;
        ldf_view_record(a.bytes, left);
        ldf_view_record(b.bytes, right);
        return std::equal(left.argv(), left.argv() + left.argc(), right.argv(),
                          right.argv() + right.argc()) &&
               left.rest == right.rest;
    }

    RecordFormat& _format;
    Output& _output;
    const bool _collapse;
    KeptRecord _last;
    int64_t _repeats = 0;
};

bool wants_colour(Colour colour) {
    if (colour != Colour::AUTO) return colour == Colour::ALWAYS;
    const char* const refused = std::getenv("NO_COLOR");
    return QENIsTerminal(stdout) && (refused == nullptr || *refused == '\0');
}

std::unique_ptr<RecordFormat> make_format(const Options& options, bool has_several_logs,
                                          MessageTexts& texts) {
    FormatSettings settings;
    settings.utc = options.utc;
    settings.has_colour = wants_colour(options.colour);
    settings.shows_place = has_several_logs;
    settings.csv_safe = options.csv_safe;
    settings.has_places = options.has_places.value_or(options.format == FormatName::JOURNAL);
    settings.lang = options.lang;
    switch (options.format) {
    case FormatName::LINE: return make_line_format(texts, settings);
    case FormatName::VERBOSE: return make_verbose_format(texts, settings);
    case FormatName::TAQMSG: return make_reader_format(settings);
    case FormatName::JSONL: return make_json_format(texts);
    case FormatName::CSV: return make_csv_format(texts, settings);
    case FormatName::JOURNAL: return make_journal_format(texts, settings);
    case FormatName::OTLP: return make_otlp_format(texts, settings);
    }
    return nullptr;
}

// The reader's display opens catalogs of its own. A language is tried in any case.
bool needs_texts(const Options& options) {
    const auto& clauses = options.filter.clauses;
    return options.format != FormatName::TAQMSG || !options.lang.empty() ||
           std::any_of(clauses.begin(), clauses.end(),
                       [](const FilterClause& clause) { return clause.kind == FilterClause::TEXT; });
}

// Null with the reason in `error`: an expression is wrong.
std::unique_ptr<RecordFilter> make_filter(Options& options, MessageTexts& texts, std::string& error) {
    std::vector<TextCondition> conditions;
    for (const FilterClause& clause : options.filter.clauses)
        if (clause.kind == FilterClause::TEXT) conditions.push_back({clause.texts, clause.is_negated});
    std::unique_ptr<TextSearch> search;
    if (!conditions.empty()) {
        search = TextSearch::make(conditions, options.search, texts, error);
        if (search == nullptr) return nullptr;
    }
    return std::make_unique<RecordFilter>(std::move(options.filter), std::move(search));
}

// Returns how many records were put out.
int64_t write_records(MergedRecords& records, size_t last_lines, Writer& writer) {
    int64_t count = 0;
    FoundRecord record;
    std::deque<KeptRecord> kept; // the last ones
    while (records.next(record)) {
        ++count;
        if (last_lines == 0) {
            if (!writer.put(record)) return count;
            continue;
        }
        if (kept.size() < last_lines) {
            kept.emplace_back(record);
            continue;
        }
        KeptRecord oldest = std::move(kept.front()); // its memory serves again
        kept.pop_front();
        oldest.keep(record);
        kept.push_back(std::move(oldest));
    }
    for (const KeptRecord& each : kept)
        if (!writer.put(each.record())) break;
    writer.end_repeats();
    return last_lines == 0 ? count : static_cast<int64_t>(kept.size());
}

void tell_stats(const ReadCounts& counts, int64_t shown) {
    (void)std::fprintf(stderr, "taqldf: %lld files, %lld records read, %lld shown, %lld bytes skipped\n",
                       static_cast<long long>(counts.files), static_cast<long long>(counts.records),
                       static_cast<long long>(shown), static_cast<long long>(counts.bytes_skipped));
}

} // namespace

int run_records(Options options) {
    Problems problems;
    MessageTexts texts;
    std::string error;
    if (needs_texts(options) && !texts.open(options.lang.empty() ? nullptr : options.lang.c_str())) {
        problems.failure("no catalogs in the language '" + options.lang + "'");
        return problems.status(false);
    }
    const std::unique_ptr<RecordFilter> filter = make_filter(options, texts, error);
    if (filter == nullptr) {
        problems.failure(error);
        return problems.status(false);
    }
    std::vector<LogInput> inputs;
    for (const std::string& word : options.inputs) find_input(word, inputs, problems);
    if (options.inputs.empty()) find_all_logs(inputs, problems);

    Output output(problems);
    if (!output.open(options.output)) return problems.status(false);
    Progress progress(options.output.empty());
    const size_t window = inputs.size() > MOST_LARGE_WINDOWS ? SMALL_WINDOW : LARGE_WINDOW;
    std::vector<std::unique_ptr<LogSource>> sources;
    sources.reserve(inputs.size());
    for (const LogInput& input : inputs)
        sources.push_back(std::make_unique<LogSource>(input, *filter, window, progress, problems));
    MergedRecords records(std::move(sources));
    const std::unique_ptr<RecordFormat> format = make_format(options, inputs.size() > 1, texts);
    format->begin(output.lines());
    Writer writer(*format, output, options.collapse);
    const int64_t shown = write_records(records, options.lines, writer);
    progress.end();
    output.finish();
    if (options.stats) tell_stats(progress.counts, shown);
    return problems.status(shown > 0);
}
