// Finds runs of whole records in what was read of a file. taqldf filters and shows them.
#include "primitives/ldf/LdfStream.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

#include "platform/unix/QENFileSystem.h"

inline namespace taq_1 {

static_assert(LDF_WINDOW_MAX >= 2 * LDF_RECORD_MAX);

int64_t LdfFileBytes::read(void* buffer, size_t n, int64_t offset) {
    return QENReadSome(_fd, buffer, n, offset);
}

int64_t LdfFileBytes::size() {
    QENFileState state;
    return QENStateOfOpen(_fd, state) ? state.size : 0;
}

int64_t LdfMemoryBytes::read(void* buffer, size_t n, int64_t offset) {
    const size_t from = std::min(static_cast<size_t>(offset), _bytes.size());
    n = std::min(n, _bytes.size() - from);
    if (n > 0) std::memcpy(buffer, _bytes.data() + from, n);
    return static_cast<int64_t>(n);
}

namespace {

constexpr size_t VERSION_OFFSET = 4; // of a record

constexpr struct {
    LdfDamage::Kind kind;
    bool is_of_record;
    const char* format; // takes the value
} damage_texts[] = {
    {LdfDamage::READ_FAILED, true, "cannot be read (error %lld)"},
    {LdfDamage::HEADER_CUT, false, "%lld bytes are too short for a log data file"},
    {LdfDamage::NO_SIGNATURE, false, "no log data file (signature %lld)"},
    {LdfDamage::NEWER_FILE, false, "written by another version (%lld)"},
    {LdfDamage::NEGATIVE_TOTAL, false, "the header counts %lld records"},
    {LdfDamage::BAD_TEXT_SIZE, true, "data_size %lld exceeds 4096"},
    {LdfDamage::BAD_VERSION, true, "record version %lld"},
    {LdfDamage::RECORD_CUT, true, "the file ends here, the header counts %lld records"},
    {LdfDamage::END_BEYOND, true, "the file ends here, the header ends at %lld"},
};
static_assert(LDF_TEXT_MAX == 4096, "is named in a text");

} // namespace

std::string LdfDamage::text() const {
    char out[160] = "";
    for (const auto& row : damage_texts) {
        if (row.kind != kind) continue;
        int used = 0;
        if (row.is_of_record)
            used = std::snprintf(out, sizeof out,
                                 "offset 0x%llx, record %d: ", static_cast<unsigned long long>(offset),
                                 static_cast<int>(record));
        std::snprintf(out + used, sizeof out - static_cast<size_t>(used), row.format,
                      static_cast<long long>(value));
    }
    return out;
}

int LdfStream::open(LdfBytes& bytes) {
    _bytes = &bytes;
    _header = {};
    _buf.reset(); // another file may want another size
    _record = 0;
    _pos = static_cast<int64_t>(LDF_HEADER_SIZE);
    return refresh();
}

// What was read behind the last record is forgotten: the writer may have put others there.
int LdfStream::refresh() {
    _at = _len = 0;
    _damage = {};
    ldf_header_t header;
    const int rc = _read_header(header);
    if (rc == LDF_OK) _header = header;
    if (rc == LDF_OK && _header.total_msgs < 0) (void)_fail(LdfDamage::NEGATIVE_TOTAL, _header.total_msgs);
    return rc;
}

void LdfStream::seek(int32_t record, int64_t offset) {
    _at = _len = 0;
    _damage = {};
    _record = record;
    _pos = offset;
}

// Beside a writer, a read may find the start of one header and the end of the next. When the parts do not fit
// together they are read again; after some attempts the header is taken as it is.
int LdfStream::_read_header(ldf_header_t& header) {
    constexpr int ATTEMPTS = 1 + 5;
    int rc = LDF_EFAIL;
    for (int i = 0; i < ATTEMPTS; ++i) {
        rc = _read_header_once(header);
        if (rc != LDF_OK || _size < 0 || ldf_adds_up(header)) break;
    }
    return rc;
}

// Asks for the size after the header was read: it then covers every record that the header counts.
int LdfStream::_read_header_once(ldf_header_t& header) {
    unsigned char in[LDF_HEADER_SIZE];
    size_t got = 0;
    while (got < sizeof in) {
        const int64_t n = _bytes->read(in + got, sizeof in - got, static_cast<int64_t>(got));
        if (n < 0) (void)_fail(LdfDamage::READ_FAILED, errno);
        if (n < 0) return LDF_EFAIL;
        if (n == 0) break;
        got += static_cast<size_t>(n);
    }
    if (got < sizeof in) (void)_fail(LdfDamage::HEADER_CUT, static_cast<int64_t>(got));
    if (got < sizeof in) return LDF_EFAIL;
    _size = _bytes->size();
    // A file that ends too early still has records, so its size is no reason to refuse the header.
    const int rc = ldf_decode_header(in, std::numeric_limits<int64_t>::max(), header);
    if (rc == LDF_EVERSION) (void)_fail(LdfDamage::NEWER_FILE, header.ver_major);
    if (rc == LDF_EFAIL) (void)_fail(LdfDamage::NO_SIGNATURE, header.signature);
    return rc;
}

bool LdfStream::next(LdfRun& run) {
    while (!_damage && _record < _header.total_msgs) {
        size_t whole = 0;
        const unsigned char* const from = _buf.get() + _at;
        const int32_t count = _walk(from, _len, whole);
        if (count == 0 && (_damage || !_load())) return false;
        if (count == 0) continue;
        run = {from, whole, _pos, _record, count};
        _record += count;
        _pos += static_cast<int64_t>(whole);
        _at += whole;
        _len -= whole;
        return true;
    }
    return _end();
}

// Counts the whole records in `size` bytes, `whole` bytes together. A fixed part that is not sound ends them;
// when it is that of the first, this is the damage.
int32_t LdfStream::_walk(const unsigned char* from, size_t size, size_t& whole) {
    const int32_t left = _header.total_msgs - _record;
    const auto is_sound = [](uint32_t data_size, const unsigned char* record) {
        return data_size <= LDF_TEXT_MAX && record[VERSION_OFFSET] == LDF_RECORD_VERSION;
    };
    size_t at = 0;
    int32_t count = 0;
    while (count < left && size - at >= LDF_RECORD_MAX) { // a whole record lies here
        const uint32_t data_size = get_be32(from + at);
        if (!is_sound(data_size, from + at)) break;
        at += LDF_RECORD_HEADER_SIZE + data_size;
        ++count;
    }
    while (count < left && size - at >= LDF_RECORD_HEADER_SIZE) {
        const uint32_t data_size = get_be32(from + at);
        if (!is_sound(data_size, from + at)) {
            if (count == 0 && data_size > LDF_TEXT_MAX) (void)_fail(LdfDamage::BAD_TEXT_SIZE, data_size);
            if (count == 0 && !_damage) (void)_fail(LdfDamage::BAD_VERSION, from[at + VERSION_OFFSET]);
            break;
        }
        if (size - at < LDF_RECORD_HEADER_SIZE + data_size) break;
        at += LDF_RECORD_HEADER_SIZE + data_size;
        ++count;
    }
    whole = at;
    return count;
}

// Reads on behind what is there. False: there is nothing more.
bool LdfStream::_load() {
    if (_buf == nullptr) {
        const int64_t size = _size < 0 ? std::numeric_limits<int64_t>::max() : _size;
        _capacity = std::min(_window, static_cast<size_t>(std::max<int64_t>(size, 2 * LDF_RECORD_MAX)));
        _buf = raw_room<unsigned char>(_capacity + LDF_SPLIT_SLACK);
    }
    if (_len > 0) std::memmove(_buf.get(), _buf.get() + _at, _len);
    _at = 0;
    const int64_t got = _bytes->read(_buf.get() + _len, _capacity - _len, _pos + static_cast<int64_t>(_len));
    if (got < 0) return _fail(LdfDamage::READ_FAILED, errno);
    if (got == 0) return _fail(LdfDamage::RECORD_CUT, _header.total_msgs);
    _len += static_cast<size_t>(got);
    std::memset(_buf.get() + _len, 0, LDF_SPLIT_SLACK); // ldf_split_text reads so far behind a text
    return true;
}

bool LdfStream::_fail(LdfDamage::Kind kind, int64_t value) {
    _damage = {kind, _record, _pos, value};
    return false;
}

bool LdfStream::_end() {
    if (!_damage && _size >= 0 && int64_t{_header.offset_end} > _size)
        (void)_fail(LdfDamage::END_BEYOND, _header.offset_end);
    return false;
}

int64_t LdfStream::skipped() const {
    return _damage ? std::max<int64_t>(_size - _damage.offset, 0) : 0;
}

} // namespace taq_1
