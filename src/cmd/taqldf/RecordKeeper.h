// Copies of records that must outlive the file they were read from: the last N of them, or the one before.
#pragma once

#include <deque>
#include <string>

#include "LogSource.h"

class KeptRecord {
public:
    KeptRecord() = default;
    explicit KeptRecord(const FoundRecord& record) { keep(record); }

    void keep(const FoundRecord& record) {
        const auto* const bytes = reinterpret_cast<const char*>(record.bytes);
        _bytes.assign(bytes, ldf_record_size(record.bytes));
        _bytes.append(LDF_SPLIT_SLACK, '\0');
        _record = record;
    }
    bool is_empty() const { return _bytes.empty(); }
    void forget() { _bytes.clear(); }

    // Valid as long as the object.
    FoundRecord record() const {
        FoundRecord record = _record;
        record.bytes = reinterpret_cast<const unsigned char*>(_bytes.data());
        return record;
    }

private:
    std::string _bytes;
    FoundRecord _record = {};
};
