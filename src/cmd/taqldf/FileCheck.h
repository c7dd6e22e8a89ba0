// Judges one log data file, which may be damaged or written at the same time. Reads only.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "RecordCheck.h"
#include "primitives/ldf/LdfStream.h"

// Oddities that no writer of ours makes, or a clock does. They damage nothing.
struct RecordNotes {
    int64_t not_utf8 = 0;       // texts
    int64_t outside_times = 0;  // a day or more before the file was made, or after it was written last
    int64_t steps_back = 0;     // earlier than the record before
    int64_t seq_not_rising = 0; // likewise by the sequence number
    int64_t header_times = 0;   // 1: the header was written before the file was made, or in the future
};

struct FileVerdict {
    enum Kind : uint8_t { WHOLE, DAMAGED, UNREADABLE };
    Kind kind = UNREADABLE;
    bool is_live = false;    // it is written now: judged as its header counted it at the start
    bool has_header = false; // `header` was read
    ldf_header_t header = {};
    int64_t size = 0;           // bytes, when the header was read
    int64_t records = 0;        // sound ones before any damage
    std::string reason;         // DAMAGED, UNREADABLE
    int64_t damage_offset = 0;  // DAMAGED
    int64_t damage_record = -1; // number of the record; -1: the damage is none of a record
    int64_t recoverable = 0; // DAMAGED: whole records from there on; of the whole file if it is in the header
    int64_t tail_size = 0;   // WHOLE: bytes behind the last record that the header counts,
    int64_t tail_records = 0; // and whole records in them: a writer died before it could count them
    RecordNotes notes;

    // What is behind its end are the next records.
    void set_live() {
        is_live = true;
        tail_size = tail_records = 0;
    }
};

// How many records have a message and a number of arguments. Bounded: others are left out.
class MessageUse {
public:
    void add(const LdfRecordView& record) {
        const uint64_t key = uint64_t{record.header.msgcat_id} << 8 | record.argc();
        if (const auto found = _counts.find(key); found != _counts.end())
            ++found->second;
        else if (_counts.size() < MOST)
            _counts.emplace(key, 1);
    }
    // Calls fn(message, number of arguments, records).
    template <class Fn>
    void for_each(const Fn& fn) const {
        for (const auto& [key, count] : _counts) fn(static_cast<uint32_t>(key >> 8), key & 0xFF, count);
    }

private:
    static constexpr size_t MOST = 65536;
    std::unordered_map<uint64_t, int64_t> _counts;
};

// `now`: seconds since 1970. use: counts the messages, or null.
FileVerdict check_file(LdfBytes& bytes, int64_t now, MessageUse* use = nullptr);

// Whole records from `from` to the end, where is_in_step says that a record begins. Reading errors end it.
int64_t count_records(LdfBytes& bytes, int64_t from, bool is_in_step);
