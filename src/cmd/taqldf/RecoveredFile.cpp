// Gathers records and writes many with one call.
#include "RecoveredFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "RecordCheck.h"
#include "platform/unix/QENFileSystem.h"

bool RecoveredFile::append(const unsigned char* record, size_t size) {
    if (LARGEST_FILE - this->size() < static_cast<int64_t>(size)) {
        errno = EFBIG;
        return false;
    }
    if (ROOM - _used < size && !_flush()) return false;
    std::memcpy(_buf.get() + _used, record, size);
    _used += size;
    return true;
}

bool RecoveredFile::_flush() {
    if (!QENWriteAllAt(_fd, _buf.get(), _used, _written)) return false;
    _written += static_cast<int64_t>(_used);
    _used = 0;
    return true;
}

void RecoveredFile::go_back(int64_t size) {
    _used = static_cast<size_t>(std::max<int64_t>(size - _written, 0));
    _written = std::min(_written, size);
}

bool RecoveredFile::finish(const ldf_header_t& header) {
    unsigned char bytes[LDF_HEADER_SIZE];
    ldf_encode_header(header, bytes);
    return _flush() && QENTruncateFile(_fd, _written) && QENWriteAllAt(_fd, bytes, sizeof bytes, 0);
}
