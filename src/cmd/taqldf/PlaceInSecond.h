// Records have whole seconds. Receivers that sort by time keep the order of a log when the place of a record
// within its second stands behind the second, in the receiver's smallest unit: an order, not a measured time.
#pragma once

#include <cstdint>

#include "LogSource.h"

class PlaceInSecond {
public:
    // 0 for the first record of a file and second in a row, and 1 more for each that follows, below `end`.
    int64_t next(const SourceFile* file, int32_t second, int64_t end) {
        const bool goes_on = file->serial == _serial && second == _second;
        _place = !goes_on ? 0 : _place + 1 < end ? _place + 1 : _place;
        _serial = file->serial;
        _second = second;
        return _place;
    }

private:
    uint64_t _serial = 0; // of the file
    int32_t _second = 0;
    int64_t _place = 0;
};
