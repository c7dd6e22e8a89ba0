// Finds the whole records in bytes that may be anything: a damaged log data file, the middle of one, a
// program. recover copies them, verify counts them.
#pragma once

#include <cstdint>
#include <string_view>

#include "RecordCheck.h"
#include "primitives/ldf/LdfStream.h"
#include "primitives/memory/RawRoom.h"

// What comes next in a file.
struct ScanPiece {
    enum Kind : uint8_t {
        RECORDS,
        // Skipped, by what the bytes look like:
        ZEROS,      // more than half of them
        CUT_RECORD, // the first or the last part of a record
        RANDOM,     // anything else
    };
    Kind kind;
    int64_t from, to; // file offsets
    int32_t count;    // RECORDS: how many, at least 1
    const unsigned char*
        bytes; // RECORDS: the first, the others behind it; LDF_SPLIT_SLACK more are addressable
};

std::string_view name_of(ScanPiece::Kind kind); // "cut record"

// The pieces tile the file from the first byte to the last. After a record the next one must begin where it
// ended. Elsewhere a record is looked for, and it is found wherever it begins: a fixed part begins with two
// zeros, and no text holds a NUL, so no record lies inside the text of another, whatever the texts say. A
// record without text is too small to be sure of: out of step it counts when records with a text follow, or
// when the file ends there. Memory: one window.
class RecordScan {
public:
    // From the file offset `from`, where a record begins if is_in_step, to the end of the file.
    RecordScan(LdfBytes& bytes, int64_t from, bool is_in_step);

    // The next piece; its bytes are valid until the next call. False: the end, or reading failed.
    bool next(ScanPiece& piece);

    int error() const { return _error; } // errno of a reading that failed; 0: none

private:
    bool _load();
    bool _take_records(ScanPiece& piece);
    bool _skip(ScanPiece& piece);
    size_t _find_start(size_t limit);
    bool _is_start(size_t at);
    ScanPiece::Kind _kind_of_gap(int64_t size) const;
    size_t _judged() const; // records that begin in front of it can be judged
    const unsigned char* _at(size_t index) const { return _buf.get() + index; }

    LdfBytes& _bytes;
    RawRoom<unsigned char> _buf;
    int64_t _base;              // file offset of the buffer
    size_t _next = 0, _len = 0; // index of the next byte, and of the end of what was read
    bool _is_in_step;
    bool _is_end = false; // nothing is behind what was read
    int _error = 0;
    LdfRecordView _view; // used for each record

    // Of the gap at hand:
    int64_t _zeros = 0; // bytes in long runs of zeros
    bool _begins_like_record = false, _ends_like_record = false;
};

// Where the records of a file begin, if anywhere: behind the header when one stands there, else 0, for a scan
// that looks for them. Bytes that are gone from a header bring its first record nearer.
int64_t begin_of_records(LdfBytes& bytes);
