// From the merged records to the output.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <utility>

#include "MergedRecords.h"
#include "Output.h"
#include "RecordFormat.h"
#include "RecordKeeper.h"

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

// Returns how many records were put out.
template <class Source>
int64_t write_records(MergedRecords<Source>& records, size_t last_lines, Writer& writer) {
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
