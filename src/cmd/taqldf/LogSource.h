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
#include "SourceFile.h"

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
