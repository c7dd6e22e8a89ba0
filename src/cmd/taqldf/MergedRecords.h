// All records of several logs in the order of time.
#pragma once

#include <memory>
#include <vector>

#include "LogSource.h"

// Records of one log keep their order, whatever their times. Equal times go by the order of the logs.
class MergedRecords {
public:
    explicit MergedRecords(std::vector<std::unique_ptr<LogSource>> sources);

    // The next record, valid until the next call. False: there are no more.
    bool next(FoundRecord& record);

private:
    // A heap: no entry comes before its parent. The first is the one to give next.
    struct Entry {
        int32_t key;
        uint32_t source; // index of _sources
        bool comes_before(const Entry& other) const {
            return key != other.key ? key < other.key : source < other.source;
        }
    };
    void _sink(size_t at);

    std::vector<std::unique_ptr<LogSource>> _sources;
    std::vector<Entry> _heap;
    bool _has_begun = false; // the first entry's record was given
};
