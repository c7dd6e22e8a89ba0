// Reads a log data file from its first record to its last, many records at a time: for programs that look at
// whole files, damaged ones among them. LdfReader reads one record at a time, by position.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "primitives/ldf/LdfRecordView.h"
#include "primitives/ldf/LdfWindow.h"
#include "primitives/ldf/ldf_format.h"
#include "primitives/memory/RawRoom.h"

inline namespace taq_1 {

// Where the bytes of a log data file come from.
class LdfBytes {
public:
    virtual ~LdfBytes() = default;
    // Reads up to n bytes at file offset `offset`. The bytes read, 0 at the end of the file; -1 with errno
    // set. A stream asks for the header first and then for one place after the other.
    virtual int64_t read(void* buffer, size_t n, int64_t offset) = 0;
    // Size of the file in bytes at this moment; -1: it is read once and forwards, as a pipe is.
    virtual int64_t size() = 0;
};

// An open file, which the caller keeps open.
class LdfFileBytes : public LdfBytes {
public:
    explicit LdfFileBytes(int fd) : _fd(fd) {}
    int64_t read(void* buffer, size_t n, int64_t offset) override;
    int64_t size() override;

private:
    const int _fd;
};

// Bytes in memory, which the caller keeps.
class LdfMemoryBytes : public LdfBytes {
public:
    explicit LdfMemoryBytes(std::span<const unsigned char> bytes) : _bytes(bytes) {}
    int64_t read(void* buffer, size_t n, int64_t offset) override;
    int64_t size() override { return static_cast<int64_t>(_bytes.size()); }

private:
    const std::span<const unsigned char> _bytes;
};

// Why a stream ended before its last record, or could not begin.
struct LdfDamage {
    enum Kind : uint8_t {
        NONE,
        READ_FAILED,    // value: errno
        HEADER_CUT,     // value: bytes of the file
        NO_SIGNATURE,   // value: what stands there
        NEWER_FILE,     // value: its major version
        NEGATIVE_TOTAL, // value: total_msgs
        BAD_TEXT_SIZE,  // value: data_size
        BAD_VERSION,    // value: version of the record
        RECORD_CUT, // the file ends within a record, or before one. value: records that the header promises
        END_BEYOND, // all records are there, but the header promises more bytes. value: offset_end
    };
    Kind kind = NONE;
    int32_t record = 0; // 0-based number of the record
    int64_t offset = 0; // bytes
    int64_t value = 0;

    explicit operator bool() const { return kind != NONE; }
    std::string text() const; // "offset 0x1f3a0, record 871: data_size 7340032 exceeds 4096"
};

// Records that follow each other, whole and with a sound fixed part, in memory.
struct LdfRun {
    const unsigned char* bytes; // of the first record; LDF_SPLIT_SLACK bytes behind the last are addressable
    size_t size;                // bytes of all records
    int64_t offset;             // file offset of the first
    int32_t first;              // 0-based number of the first
    int32_t count;              // at least 1
};

// Bytes of a record of a run.
inline size_t ldf_record_size(const unsigned char* record) {
    return LDF_RECORD_HEADER_SIZE + get_be32(record);
}

// Fields of its fixed part.
inline uint8_t ldf_record_severity(const unsigned char* record) {
    return record[5];
}
inline int32_t ldf_record_time(const unsigned char* record) {
    return static_cast<int32_t>(get_be32(record + 6));
}
inline uint32_t ldf_record_id(const unsigned char* record) {
    return get_be32(record + 10);
}
inline uint8_t ldf_record_object_type(const unsigned char* record) {
    return record[14];
}

// Splits a record of a run.
inline void ldf_view_record(const unsigned char* record, LdfRecordView& view) {
    ldf_decode_record(record, view.header);
    ldf_split_text(reinterpret_cast<const char*>(record) + LDF_RECORD_HEADER_SIZE, view.header.data_size,
                   view);
}

// Reads only. It keeps no registry and removes nothing, so any number of streams may read one file, beside
// its writer. A damaged file gives every record before the damage. A stream is used by one thread.
class LdfStream {
public:
    // window: bytes that are read at once, at least 2 * LDF_RECORD_MAX.
    explicit LdfStream(size_t window = LDF_WINDOW_MAX) : _window(window) {}

    // Begins with the first record of these bytes, which must outlive the stream or the next open. LDF_OK;
    // LDF_EFAIL: no header that can be read, LDF_EVERSION: that of a newer version; damage() tells more.
    int open(LdfBytes& bytes);

    // Reads the header again; records that were added since follow those that next() gave. Results as for
    // open; on failure the former header stays.
    int refresh();

    const ldf_header_t& header() const { return _header; }

    // Goes to a record: its number and where it begins. A place that no record of the file has shows as
    // damage, or as a record that never was.
    void seek(int32_t record, int64_t offset);

    // The next records, valid until the next call. False: there are no more; damage() tells whether there
    // should be.
    bool next(LdfRun& run);

    const LdfDamage& damage() const { return _damage; }
    // Bytes behind the damage; 0 when there is none and when the size is not known.
    int64_t skipped() const;

private:
    int _read_header(ldf_header_t& header);
    int _read_header_once(ldf_header_t& header);
    int32_t _walk(const unsigned char* from, size_t size, size_t& whole);
    bool _load();
    bool _fail(LdfDamage::Kind kind, int64_t value);
    bool _end();

    LdfBytes* _bytes = nullptr;
    const size_t _window;
    ldf_header_t _header = {};
    LdfDamage _damage;
    int64_t _size = -1; // of the file after the header was read

    // The next record is number _record and begins at _pos. The buffer holds _len bytes from _pos on, at
    // _buf + _at.
    int32_t _record = 0;
    int64_t _pos = 0;
    size_t _at = 0;
    size_t _len = 0;
    RawRoom<unsigned char> _buf; // _capacity + LDF_SPLIT_SLACK bytes, or null
    size_t _capacity = 0;
};

} // namespace taq_1
