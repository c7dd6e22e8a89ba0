// Saves the whole records of a damaged file: what is copied, what is left out, and what looks strange.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "RecordScan.h"
#include "RecoveredFile.h"
#include "RepeatFinder.h"

struct RecoverySettings {
    int64_t now = 0;           // seconds since 1970
    std::string host;          // when the header has none; "": "unknown"
    bool keep_repeats = false; // keep a range of records that stands earlier in the file
};

// A part of the file. The ranges tile it.
struct RecoveredRange {
    enum Kind : uint8_t { HEADER, RECORDS, SKIPPED, REPEAT };
    Kind kind;
    int64_t from, to;      // file offsets
    int64_t count;         // RECORDS and REPEAT
    ScanPiece::Kind looks; // SKIPPED
};

// A record beside a gap that may not be what was written: bytes that are gone can make one of two.
struct SuspectRecord {
    enum Why : uint8_t {
        TIME = 1,   // not that of the file, or more than a day from the record before
        SOURCE = 2, // no other record comes from this place in the source
        TEXT = 4,   // no catalog has the message
    };
    int64_t offset;
    uint32_t msgcat_id;
    uint16_t source; // hash
    uint8_t why;
};

struct RecoveryResult {
    int64_t size = 0;         // bytes of the file
    std::string header_fault; // the first; "": none
    int64_t promised = -1;    // records that the header counts; -1: it cannot be believed
    int64_t records = 0;      // in the new file
    int64_t bytes_skipped = 0;
    int64_t repeats = 0;                 // records that were left out
    bool is_complete = false;            // everything the header promised is there
    std::vector<SuspectRecord> suspects; // the first 8,192
    int error = 0;                       // errno; 0: the output is complete
    bool has_read_failed = false;        // it was the input
};

class Recovery {
public:
    // on_range is called for every range, in order. All must outlive the recovery.
    Recovery(LdfBytes& input, const RecoverySettings& settings, RecoveredFile& output,
             std::function<void(const RecoveredRange&)> on_range);

    // Without a record the output gets no header.
    RecoveryResult run();

private:
    // Of the records of a range, until it is known to be none that repeats an earlier one.
    struct Sums {
        RecordCounts counts;
        int64_t output_size = 0;
        int32_t first_time = INT32_MAX, last_time = INT32_MIN;
        bool has_seq = false;
        size_t suspects = 0;
    };

    void _read_header();
    bool _copy(const ScanPiece& piece);
    void _end_records(int64_t to, bool is_before_gap);
    void _skip(ScanPiece piece);
    void _suspect_edge(const SuspectRecord& edge);
    SuspectRecord _edge_of(int64_t offset) const;
    void _judge_suspects();
    ldf_header_t _new_header() const;
    void _leave_out(int64_t from) { _is_left_out |= from < _promised_end; }

    LdfBytes& _input;
    const RecoverySettings& _settings;
    RecoveredFile& _output;
    const std::function<void(const RecoveredRange&)> _on_range;
    RepeatFinder _repeats;
    RecoveryResult _result;

    ldf_header_t _header = {};
    bool _has_layout = false; // signature and version are right: the header ends where it should
    bool _is_origin_sound = false;
    std::string _host;         // "": the header has none that can be believed
    int64_t _promised_end = 0; // what is left out before it is missed
    bool _is_left_out = false;

    Sums _sums, _before_range;
    bool _is_in_range = false, _is_behind_gap = false;
    int64_t _range_from = 0;
    LdfRecordView _view;           // the last record
    SuspectRecord _last = {};      // the last record, as a suspect
    std::vector<uint8_t> _sources; // records, at most 255, by hash of their source position
};
