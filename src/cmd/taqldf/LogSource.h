// The records of one log that pass the filter, from its oldest file to its newest.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Inputs.h"
#include "Problems.h"
#include "Progress.h"
#include "RecordFilter.h"
#include "primitives/ldf/LdfStream.h"

// What the records of one file have in common.
struct SourceFile {
    std::string host; // label of the user, or the one in the header
    std::string log;
    std::string place;      // "host/log", for lines
    std::string uid_prefix; // "host/log/6afdb1a2-9c41d07e/": the offset makes it the identity of a record
    unsigned oddities = 0;  // of all these
    char generation = '\0'; // 'A', 'B', 'C' or NUL
};

// A record that passed the filter, valid until the next one of its source is asked for.
struct FoundRecord {
    const unsigned char* bytes; // fixed part and text; LDF_SPLIT_SLACK bytes behind them are addressable
    const SourceFile* file;     // lives as long as its source
    int64_t offset;             // in the file
    int32_t number;             // 0-based, in the file
};

// Opens one file at a time. Damage ends a file, is told, and the next file goes on.
class LogSource {
public:
    // All must outlive the source. window: bytes to read at once.
    LogSource(const LogInput& input, RecordFilter& filter, size_t window, Progress& progress,
              Problems& problems);
    ~LogSource();
    LogSource(const LogSource&) = delete;
    LogSource& operator=(const LogSource&) = delete;

    // Goes on to the next record. False: there are no more.
    bool next() { return ++_current < _found.size() || _find_more(); }
    FoundRecord record() const {
        const FoundPlace& place = _found[_current];
        return {_run.bytes + place.at, _files.back().get(), _run.offset + place.at, place.number};
    }
    // The time of the current record, or of an earlier one of this log if that is later: it never falls, so
    // records keep their order although a clock was set back.
    int32_t key() const { return _found[_current].key; }

private:
    bool _find_more();
    bool _open_next();
    void _begin_file(const LdfRun& run);
    void _end_file();
    int _open_file(LogFile& file);

    const LogInput& _input;
    RecordFilter& _filter;
    Progress& _progress;
    Problems& _problems;
    LdfStream _stream;
    std::unique_ptr<LdfBytes> _bytes; // of the open file
    int _fd = -1;                     // likewise; -1 for standard input
    bool _is_open = false;
    size_t _next_file = 0;
    std::vector<std::unique_ptr<SourceFile>> _files; // the last is the open one
    int32_t _key;
    LdfRun _run = {};
    std::vector<FoundPlace> _found; // in _run
    size_t _current = 0;
};
