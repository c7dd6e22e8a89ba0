// Writes ranges, sums and suspects.
#include "RecoveryReport.h"

#include <algorithm>
#include <cstdio>

#include "GroupedNumber.h"
#include "VisibleText.h"

namespace {

constexpr const char* KINDS[] = {"header", "records", "skipped", "repeat"};
constexpr struct {
    SuspectRecord::Why why;
    const char* name;
} reasons[] = {
    {SuspectRecord::TIME, "time"}, {SuspectRecord::SOURCE, "source"}, {SuspectRecord::TEXT, "text"}};

std::string hex(int64_t offset) {
    char text[24];
    (void)std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(offset));
    return text;
}

std::string text_of(const RecoveredRange& range) {
    std::string text = hex(range.from) + "-" + hex(range.to) + " ";
    switch (range.kind) {
    case RecoveredRange::HEADER: return text.append("header");
    case RecoveredRange::RECORDS: return text.append(counted(range.count, "record"));
    case RecoveredRange::REPEAT:
        return text.append(counted(range.count, "record")).append(" left out (repeat)");
    case RecoveredRange::SKIPPED: break;
    }
    return text.append(counted(range.to - range.from, "byte"))
        .append(" skipped (")
        .append(name_of(range.looks))
        .append(")");
}

} // namespace

RecoveryReport::RecoveryReport(const std::string& input, const Options& options, Problems& problems)
    : _input(input), _options(options), _text(problems), _file(problems), _has_file(!options.report.empty()),
      _progress(/*to_stdout=*/true) {}

bool RecoveryReport::open() {
    return _text.open("") && (!_has_file || _file.open(_options.report));
}

void RecoveryReport::begin(int64_t size) {
    ++_progress.counts.files;
    _line(visible_text(_input) + ": " + counted(size, "byte"));
    if (!_has_file) return;
    _json.begin();
    _json->StartObject();
    _json.name("input"), _json.text(_input, ODD_BYTES);
    _json.name("size"), _json->Int64(size);
    _json.name("ranges"), _json->StartArray();
}

void RecoveryReport::put(const RecoveredRange& range) {
    _progress.counts.records += range.kind == RecoveredRange::RECORDS ? range.count : 0;
    _progress.counts.bytes_skipped += range.kind == RecoveredRange::SKIPPED ? range.to - range.from : 0;
    _progress.step();
    if (++_ranges <= MOST_LINES) _line("  " + text_of(range));
    if (!_has_file) return;
    _json->StartObject();
    _json.name("from"), _json->Int64(range.from);
    _json.name("to"), _json->Int64(range.to);
    _json.name("kind"), _json->String(KINDS[range.kind]);
    const bool has_records = range.kind == RecoveredRange::RECORDS || range.kind == RecoveredRange::REPEAT;
    if (has_records)
        _json.name("count"), _json->Int64(range.count);
    else
        _json.name("bytes"), _json->Int64(range.to - range.from);
    if (range.kind == RecoveredRange::SKIPPED)
        _json.name("looks"), _json.text(name_of(range.looks), NO_ODDITIES);
    _json->EndObject();
    _pass_json_on();
}

void RecoveryReport::_pass_json_on() {
    _file.lines().append(_json.bytes());
    _json.clear_bytes();
}

void RecoveryReport::end(const RecoveryResult& result) {
    _progress.end();
    _end_text(result);
    _text.finish();
    if (!_has_file) return;
    _end_json(result);
    _file.finish();
}

void RecoveryReport::_end_text(const RecoveryResult& result) {
    if (_ranges > MOST_LINES) _line("  and " + counted(_ranges - MOST_LINES, "more range"));
    _line("header: " + (result.header_fault.empty() ? "sound" : result.header_fault));
    std::string sum = counted(result.records, "record") + " recovered";
    if (result.promised >= 0)
        sum.append(" of ").append(grouped(result.promised)).append(" that the header counts");
    sum.append(", ").append(counted(result.bytes_skipped, "byte")).append(" skipped");
    if (result.repeats > 0) sum.append(", ").append(counted(result.repeats, "repeat")).append(" left out");
    _line(sum);
    int64_t lines = 0;
    for (const SuspectRecord& suspect : result.suspects) {
        if (suspect.why == 0 || ++lines > MOST_LINES) continue;
        std::string line = "suspect: offset " + hex(suspect.offset);
        for (const auto& reason : reasons)
            if ((suspect.why & reason.why) != 0) line.append(" ").append(reason.name);
        _line(line);
    }
    if (lines > MOST_LINES) _line("and " + counted(lines - MOST_LINES, "more suspect"));
}

void RecoveryReport::_end_json(const RecoveryResult& result) {
    _json->EndArray();
    _json.name("header"), _json->StartObject();
    _json.name("sound"), _json->Bool(result.header_fault.empty());
    _json.name("reason"), _json.text(result.header_fault, ODD_BYTES);
    _json->EndObject();
    _json.name("promised"), result.promised >= 0 ? _json->Int64(result.promised) : _json->Null();
    _json.name("recovered"), _json->Int64(result.records);
    _json.name("bytes_skipped"), _json->Int64(result.bytes_skipped);
    _json.name("repeats"), _json->Int64(result.repeats);
    _json.name("complete"), _json->Bool(result.is_complete);
    _json.name("output");
    result.records > 0 ? (void)_json.text(_options.output, ODD_BYTES) : (void)_json->Null();
    _json.name("suspects"), _json->StartArray();
    for (const SuspectRecord& suspect : result.suspects) {
        if (suspect.why == 0) continue;
        _json->StartObject();
        _json.name("offset"), _json->Int64(suspect.offset);
        _json.name("why"), _json->StartArray();
        for (const auto& reason : reasons)
            if ((suspect.why & reason.why) != 0) _json->String(reason.name);
        _json->EndArray();
        _json->EndObject();
    }
    _json->EndArray();
    _json->EndObject();
    _pass_json_on();
    _file.lines().append('\n');
}
