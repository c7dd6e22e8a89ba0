// What a whole header and a whole record look like: stricter than a reader, which shows what it can. verify
// and recover stand on it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "primitives/ldf/LdfRecordView.h"
#include "primitives/ldf/ldf_format.h"

inline constexpr int64_t DAY = 24 * 60 * 60;          // seconds
inline constexpr int64_t LARGEST_FILE = 0x7FFFFFFF;   // bytes: what the readers take
inline constexpr int64_t LARGEST_OFFSET = 0xFFFFFFFF; // that the format can tell
inline constexpr size_t HEADER_COUNTERS = 13;         // total_msgs and those behind it
inline constexpr size_t HEADER_COUNTERS_OFFSET = 57;  // of the first
inline constexpr size_t LDF_END_OFFSET = 113;         // of offset_end
inline constexpr size_t SEVERITIES_COUNTED = 5, TYPES_COUNTED = 7;
inline constexpr size_t EMPTY_RECORD =
    LDF_RECORD_HEADER_SIZE + 1; // bytes, of one whose text is the NUL alone

// A field of a header that cannot be right.
struct HeaderFault {
    size_t offset; // of the field
    std::string text;
};

// The faults of the 117 bytes at `raw` in the order of the fields; none: the header is sound. With a wrong
// signature or version nothing else is looked at. filesize: bytes of the file, -1 if not known.
std::vector<HeaderFault> check_header(const unsigned char* raw, int64_t filesize);

// Whether the fields in front of the counters are sound: which file it is, when it was written.
bool is_origin_sound(const std::vector<HeaderFault>& faults);
bool is_host_sound(const std::vector<HeaderFault>& faults);

enum class RecordFault : uint8_t {
    NONE,
    CUT, // it does not end within the bytes
    TEXT_SIZE,
    VERSION,
    SEVERITY,
    OBJECT_TYPE,
    NO_END, // the last byte is no NUL
    NUL_WITHIN,
    PIECES,   // not 2 to 8, an empty one, or the last without end
    POSITION, // file or function is not printable
};

// Judges the record at `bytes`, of which `size` bytes can be read, and LDF_SPLIT_SLACK more without meaning.
// NONE: the view is filled.
RecordFault check_record(const unsigned char* bytes, size_t size, LdfRecordView& view);

// "severity 77", of a record that check_record refused and whose fixed part can be read.
std::string fault_text(RecordFault fault, const unsigned char* bytes);

// The counters of a header, counted.
class RecordCounts {
public:
    void add(const ldf_msg_header_t& record) {
        ++_counts[0];
        const auto sev = static_cast<uint8_t>(record.sev), type = static_cast<uint8_t>(record.obj_type);
        if (sev < SEVERITIES_COUNTED) ++_counts[1u + sev];
        if (type < TYPES_COUNTED) ++_counts[TYPE_INDEX[type]]; // the header has them the other way round
    }
    int32_t total() const { return _counts[0]; }
    void put_into(ldf_header_t& header) const;
    // The first counter that differs from the header's, as a fault; false: none does.
    bool find_difference(const ldf_header_t& header, HeaderFault& fault) const;

private:
    static constexpr uint8_t TYPE_INDEX[TYPES_COUNTED] = {12, 11, 10, 8, 9, 7, 6};

    int32_t _counts[HEADER_COUNTERS] = {}; // in the order of the header
};
