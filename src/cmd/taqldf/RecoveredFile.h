// The new file that recover writes.
#pragma once

#include <cstdint>

#include "primitives/ldf/ldf_format.h"
#include "primitives/memory/RawRoom.h"

// Room is left for the header, which comes last: before that nobody takes it for a log data file.
class RecoveredFile {
public:
    // fd: an empty file, which the caller keeps open.
    explicit RecoveredFile(int fd) : _fd(fd), _buf(raw_room<unsigned char>(ROOM)) {}

    // Adds a record. False with errno set: writing failed; EFBIG also when readers would not take so large a
    // file.
    bool append(const unsigned char* record, size_t size);
    // Bytes, with the header.
    int64_t size() const { return _written + static_cast<int64_t>(_used); }
    // Forgets what stands behind so many bytes.
    void go_back(int64_t size);
    // Writes the rest and the header. False with errno set.
    bool finish(const ldf_header_t& header);

private:
    static constexpr size_t ROOM = 128 * 1024;

    bool _flush();

    const int _fd;
    RawRoom<unsigned char> _buf;
    size_t _used = 0;
    int64_t _written = LDF_HEADER_SIZE; // file offset of the buffer
};
