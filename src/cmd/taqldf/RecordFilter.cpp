// Decides on records as they lie in memory, cheapest conditions first.
#include "RecordFilter.h"

#include <algorithm>

#include "platform/unix/QENNoCase.h"

namespace {

bool field_fits(const FilterClause& clause, const unsigned char* record) {
    switch (clause.kind) {
    case FilterClause::SEVERITY: return clause.codes[ldf_record_severity(record)];
    case FilterClause::OBJECT_TYPE: return clause.codes[ldf_record_object_type(record)];
    default:
        const uint32_t id = ldf_record_id(record);
        return std::any_of(clause.identities.begin(), clause.identities.end(),
                           [id](const auto& wanted) { return (id & wanted.mask) == wanted.value; });
    }
}

// Whether the argument, or a piece of it between colons, is one of the names.
bool is_named(const std::vector<std::string>& names, std::string_view arg) {
    const auto is_one = [&](std::string_view piece) {
        return std::any_of(names.begin(), names.end(),
                           [&](const std::string& name) { return QENEqualNoCase(name, piece); });
    };
    if (is_one(arg)) return true;
    for (size_t colon = arg.find(':'); colon != arg.npos; colon = arg.find(':')) {
        if (is_one(arg.substr(0, colon))) return true;
        arg.remove_prefix(colon + 1);
        if (arg.find(':') == arg.npos && is_one(arg)) return true;
    }
    return false;
}

bool name_fits(const FilterClause& clause, const LdfRecordView& view) {
    if (clause.kind == FilterClause::SOURCE)
        return std::any_of(clause.positions.begin(), clause.positions.end(), [&](const auto& position) {
            return position.file == view.filename() &&
                   (position.line < 0 || position.line == int64_t{view.header.line_no});
        });
    bool found = false;
    view.for_each_arg([&](std::string_view arg) { found = found || is_named(clause.names, arg); });
    return found;
}

void keep(const std::bitset<256>& codes, std::array<bool, 256>& wanted) {
    for (size_t i = 0; i < wanted.size(); ++i) wanted[i] = wanted[i] && codes[i];
}

// Cut to the times that a record can have, and the one behind them.
int64_t within_record_times(int64_t time) {
    constexpr int64_t FIRST = std::numeric_limits<int32_t>::min(), LAST = std::numeric_limits<int32_t>::max();
    return std::clamp(time, FIRST, LAST + 1);
}

} // namespace

RecordFilter::RecordFilter(FilterOptions options, std::unique_ptr<TextSearch> search)
    : _options(std::move(options)), _since(within_record_times(_options.since)),
      _seconds(static_cast<uint64_t>(std::max<int64_t>(within_record_times(_options.until) - _since, 0))),
      _search(std::move(search)) {
    _severities.fill(true);
    _object_types.fill(true);
    for (const FilterClause& clause : _options.clauses) {
        const auto codes = clause.is_negated ? ~clause.codes : clause.codes;
        if (clause.kind == FilterClause::TEXT) continue;
        if (clause.kind == FilterClause::OBJECT || clause.kind == FilterClause::SOURCE)
            _name_clauses.push_back(&clause);
        else if (!_options.any && clause.kind == FilterClause::SEVERITY)
            keep(codes, _severities);
        else if (!_options.any && clause.kind == FilterClause::OBJECT_TYPE)
            keep(codes, _object_types);
        else
            _field_clauses.push_back(&clause);
    }
}

// All but the two codes, which find() has looked at.
inline RecordFilter::Verdict RecordFilter::_judge_fields(const unsigned char* record) const {
    if (_options.any) return _judge_some_field(record);
    for (const FilterClause* clause : _field_clauses)
        if (field_fits(*clause, record) == clause->is_negated) return Verdict::NO;
    return _name_clauses.empty() && _search == nullptr ? Verdict::YES : Verdict::ASK;
}

RecordFilter::Verdict RecordFilter::_judge_some_field(const unsigned char* record) const {
    for (const FilterClause* clause : _field_clauses)
        if (field_fits(*clause, record) != clause->is_negated) return Verdict::YES;
    if (_options.clauses.empty()) return Verdict::YES;
    return _name_clauses.empty() && _search == nullptr ? Verdict::NO : Verdict::ASK;
}

RecordFilter::Verdict RecordFilter::_judge_names(const unsigned char* record) const {
    if (_name_clauses.empty()) return Verdict::ASK;
    LdfRecordView view;
    ldf_view_record(record, view);
    for (const FilterClause* clause : _name_clauses) {
        const bool holds = name_fits(*clause, view) != clause->is_negated;
        if (holds == _options.any) return holds ? Verdict::YES : Verdict::NO;
    }
    return Verdict::ASK;
}

// Puts the record to those that are wanted, unless another condition speaks against it.
void RecordFilter::_take(const unsigned char* record, FoundPlace place, std::vector<FoundPlace>& found) {
    Verdict verdict = _judge_fields(record);
    if (verdict == Verdict::ASK) verdict = _judge_names(record);
    if (verdict == Verdict::ASK && _search == nullptr) verdict = _options.any ? Verdict::NO : Verdict::YES;
    if (verdict == Verdict::NO) return;
    if (verdict == Verdict::ASK && !_search->may_match(record, found.size())) return;
    found.push_back(place);
}

// What rules most records out stands in local variables: a call per found record would have them read again.
void RecordFilter::find(const LdfRun& run, int32_t& key, std::vector<FoundPlace>& found) {
    if (_search != nullptr) _search->begin(run);
    const int64_t since = _since;
    const uint64_t seconds = _seconds;
    const bool* const severities = _severities.data();
    const bool* const object_types = _object_types.data();
    const unsigned char* record = run.bytes;
    int32_t latest = key;
    for (int32_t i = 0; i < run.count; ++i) {
        const unsigned char* const next = record + ldf_record_size(record);
        const int32_t time = ldf_record_time(record);
        latest = std::max(latest, time);
        if (static_cast<uint64_t>(time - since) < seconds && severities[ldf_record_severity(record)] &&
            object_types[ldf_record_object_type(record)])
            _take(record, {static_cast<uint32_t>(record - run.bytes), run.first + i, latest}, found);
        record = next;
    }
    key = latest;
    if (_search != nullptr) _search->end(found);
}
