// A record that was found, and what all records of its file have in common.
#pragma once

#include <cstdint>
#include <string>

#include "primitives/ldf/LdfStream.h"

struct SourceFile {
    std::string host; // label of the user, or the one in the header
    std::string log;
    std::string place;      // "host/log", for lines
    std::string uid_prefix; // "host/log/6afdb1a2-9c41d07e/": the offset makes it the identity of a record
    unsigned oddities = 0;  // of all these
    char generation = '\0'; // 'A', 'B', 'C' or NUL
    uint64_t serial = 0;    // another one for each file that was described

    // Names the file by its header and its first record, which tells generations of a log apart that were
    // made in one second. host "": the header's.
    void describe(const std::string& host_label, const std::string& log_name, const ldf_header_t& header,
                  const unsigned char* first_record);
};

// A record that passed the filter, valid until the next one of its source is asked for.
struct FoundRecord {
    const unsigned char* bytes; // fixed part and text; LDF_SPLIT_SLACK bytes behind them are addressable
    const SourceFile* file;     // lives as long as its source
    int64_t offset;             // in the file
    int32_t number;             // 0-based, in the file
};

// FNV-1a of a record's bytes.
uint64_t hash_of_record(const unsigned char* record);
