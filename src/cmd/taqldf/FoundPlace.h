// Where a record lies in a run of records.
#pragma once

#include <cstdint>

struct FoundPlace {
    uint32_t at;    // bytes from the start of the run
    int32_t number; // in the file, 0-based
    int32_t key;    // its time, or an earlier record's if that is later
};
