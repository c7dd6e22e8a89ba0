// Puts the parts together: sources, merge, filter, format, output.
#include "run_records.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>

#include "LogSource.h"
#include "MergedRecords.h"
#include "Output.h"
#include "Progress.h"
#include "RecordFormat.h"
#include "StatTables.h"
#include "Writer.h"
#include "follow_records.h"
#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENStreams.h"

namespace {

constexpr size_t SMALL_WINDOW = 16 * 1024, LARGE_WINDOW = LDF_WINDOW_MAX;
constexpr size_t MOST_LARGE_WINDOWS = 64; // sources

bool wants_colour(Colour colour) {
    if (colour != Colour::AUTO) return colour == Colour::ALWAYS;
    const char* const refused = std::getenv("NO_COLOR");
    return QENIsTerminal(stdout) && (refused == nullptr || *refused == '\0');
}

std::unique_ptr<RecordFormat> make_format(const Options& options, bool has_several_logs, MessageTexts& texts,
                                          const Problems& problems) {
    FormatSettings settings;
    settings.utc = options.utc;
    settings.has_colour = wants_colour(options.colour);
    settings.shows_place = has_several_logs;
    settings.csv_safe = options.csv_safe;
    settings.has_places = options.has_places.value_or(options.format == FormatName::JOURNAL);
    settings.lang = options.lang;
    const auto stat = [&](StatForm form) {
        return make_stat_format(texts, form, {options.utc, options.top, options.by}, problems);
    };
    switch (options.format) {
    case FormatName::LINE: return make_line_format(texts, settings);
    case FormatName::VERBOSE: return make_verbose_format(texts, settings);
    case FormatName::TAQMSG: return make_reader_format(settings);
    case FormatName::JSONL: return make_json_format(texts);
    case FormatName::CSV: return make_csv_format(texts, settings);
    case FormatName::JOURNAL: return make_journal_format(texts, settings);
    case FormatName::OTLP: return make_otlp_format(texts, settings);
    case FormatName::TEXT: return stat(StatForm::TEXT);
    case FormatName::JSON: return stat(StatForm::JSON);
    case FormatName::COUNTS: return stat(StatForm::CSV);
    case FormatName::METRICS: return stat(StatForm::METRICS);
    case FormatName::PAGE: return stat(StatForm::PAGE);
    }
    return nullptr;
}

// Or may have: other logs may come to a directory that is followed.
bool has_several_logs(const Options& options, const std::vector<LogInput>& inputs) {
    return inputs.size() > 1 || (options.follow && !inputs.empty() && inputs.front().is_of_directory);
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
    for (const std::string& word : options.inputs) find_input(word, inputs, problems, options.follow);
    if (options.inputs.empty()) find_all_logs(inputs, problems);

    Output output(problems);
    if (!output.open(options.output)) return problems.status(false);
    Progress progress(options.output.empty());
    const size_t window = inputs.size() > MOST_LARGE_WINDOWS ? SMALL_WINDOW : LARGE_WINDOW;
    const std::unique_ptr<RecordFormat> format =
        make_format(options, has_several_logs(options, inputs), texts, problems);
    format->begin(output.lines());
    Writer writer(*format, output, options.collapse);
    int64_t shown;
    if (options.follow || !options.cursor_file.empty()) {
        shown = follow_records(options, std::move(inputs), *filter, progress, problems, writer, output);
    } else {
        std::deque<LogSource> sources;
        std::vector<LogSource*> pointers;
        pointers.reserve(inputs.size());
        for (const LogInput& input : inputs)
            pointers.push_back(&sources.emplace_back(input, *filter, window, progress, problems));
        MergedRecords records(std::move(pointers));
        shown = write_records(records, options.lines, writer);
    }
    progress.end();
    format->end(output.lines());
    output.finish();
    if (options.stats) tell_stats(progress.counts, shown);
    return problems.status(shown > 0);
}
