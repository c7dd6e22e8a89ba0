// Finds records that stand in a file twice because a page of it was left at a wrong place. recover asks.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "primitives/ldf/LdfStream.h"

// Remembers where records stand, in a bounded table: a repeat may be missed in a huge file, none is invented.
class RepeatFinder {
public:
    // Offsets are below 2^32.
    RepeatFinder(LdfBytes& bytes, int64_t file_size);

    // A range of records begins here.
    void begin(int64_t from);
    // Its next record.
    void add(const unsigned char* record, size_t size, int64_t offset);
    // Whether the range, which ends at `to`, has at least three different records and stands, byte for byte,
    // earlier in the file.
    bool is_repeat(int64_t to);

private:
    struct Place {
        uint32_t tag;
        uint32_t offset; // 0: none
    };
    static constexpr size_t DIFFERENT = 3, GUESSES = 8;

    bool _is_same(int64_t from, int64_t other, int64_t size);

    LdfBytes& _bytes;
    std::vector<Place> _places; // by hash of the record; a power of two
    int64_t _from = 0;
    std::array<size_t, DIFFERENT> _hashes = {}; // of the first different records
    size_t _different = 0;
    std::vector<int64_t> _guesses; // distances to an earlier place of one of the records
};
