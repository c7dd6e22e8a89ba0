// Steps from record to record, and over what lies between them.
#include "RecordScan.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr size_t WINDOW = 128 * 1024;
constexpr size_t LONGEST_CHAIN = 8; // records without text that may stand in a row, out of step
// So much behind a place that is judged must have been read, unless the file ends before.
constexpr size_t MARGIN = LONGEST_CHAIN * EMPTY_RECORD + 2 * LDF_RECORD_MAX;
constexpr size_t LONG_RUN = 16; // zeros
static_assert(WINDOW >= 4 * MARGIN);

// Index of the first byte in [at, end) that is not zero, or end.
size_t end_of_zeros(const unsigned char* bytes, size_t at, size_t end) {
    uint64_t words[8];
    while (end - at >= sizeof words) {
        std::memcpy(words, bytes + at, sizeof words);
        if ((words[0] | words[1] | words[2] | words[3] | words[4] | words[5] | words[6] | words[7]) != 0)
            break;
        at += sizeof words;
    }
    while (at < end && bytes[at] == 0) ++at;
    return at;
}

// Whether the first bytes of a gap are those of a record that goes wrong later.
bool is_fixed_part(const unsigned char* bytes, size_t size) {
    LdfRecordView view;
    if (size < LDF_RECORD_HEADER_SIZE) return size > 1 && get_be16(bytes) == 0;
    const RecordFault fault = check_record(bytes, LDF_RECORD_HEADER_SIZE, view);
    return fault == RecordFault::CUT || fault == RecordFault::NONE;
}

} // namespace

std::string_view name_of(ScanPiece::Kind kind) {
    switch (kind) {
    case ScanPiece::RECORDS: return "records";
    case ScanPiece::ZEROS: return "zeros";
    case ScanPiece::CUT_RECORD: return "cut record";
    case ScanPiece::RANDOM: return "random";
    }
    return "";
}

RecordScan::RecordScan(LdfBytes& bytes, int64_t from, bool is_in_step)
    : _bytes(bytes), _buf(raw_room<unsigned char>(WINDOW + LDF_SPLIT_SLACK)), _base(from),
      _is_in_step(is_in_step) {}

bool RecordScan::next(ScanPiece& piece) {
    if (!_load()) return false;
    return (_is_in_step && _take_records(piece)) || _skip(piece);
}

size_t RecordScan::_judged() const {
    if (_is_end) return _len;
    return _len > MARGIN ? std::max(_len - MARGIN, _next) : _next;
}

// Reads on when the bytes at hand do not suffice to judge the next one. False: reading failed.
bool RecordScan::_load() {
    if (_is_end || _judged() > _next) return true;
    std::memmove(_buf.get(), _at(_next), _len - _next);
    _base += static_cast<int64_t>(_next);
    _len -= _next;
    _next = 0;
    while (!_is_end && _len < WINDOW) {
        const int64_t got = _bytes.read(_buf.get() + _len, WINDOW - _len, _base + static_cast<int64_t>(_len));
        if (got < 0) _error = errno;
        if (got < 0) return false;
        _is_end = got == 0;
        _len += static_cast<size_t>(got);
    }
    std::memset(_buf.get() + _len, 0, LDF_SPLIT_SLACK);
    return true;
}

bool RecordScan::_take_records(ScanPiece& piece) {
    const size_t limit = _judged(), first = _next;
    int32_t count = 0;
    while (_next < limit && check_record(_at(_next), _len - _next, _view) == RecordFault::NONE) {
        _next += LDF_RECORD_HEADER_SIZE + _view.header.data_size;
        ++count;
    }
    _is_in_step = count > 0;
    if (count == 0) return false;
    piece = {ScanPiece::RECORDS, _base + static_cast<int64_t>(first), _base + static_cast<int64_t>(_next),
             count, _at(first)};
    return true;
}

// Goes on to the next record. What lies before it is one piece, however long it is.
bool RecordScan::_skip(ScanPiece& piece) {
    const int64_t from = _base + static_cast<int64_t>(_next);
    _zeros = 0;
    _begins_like_record = is_fixed_part(_at(_next), _len - _next);
    _ends_like_record = false;
    while (!_is_in_step && _load()) {
        const size_t limit = _judged(), before = _next;
        if (_next == limit) break; // the end
        _next = _find_start(limit);
        if (_next - before >= 2)
            _ends_like_record = _at(_next)[-2] == LDF_SEPARATOR && _at(_next)[-1] == '\0';
        _is_in_step = _next < limit;
    }
    if (_error != 0) return false;
    const int64_t to = _base + static_cast<int64_t>(_next);
    if (from == to) return _is_in_step && _take_records(piece);
    piece = {_kind_of_gap(to - from), from, to, 0, nullptr};
    return true;
}

// Index of the first record in front of `limit`, or limit. A record begins with two or three zeros, the last
// of a row of zeros: its size is another number in the third or fourth byte.
size_t RecordScan::_find_start(size_t limit) {
    for (size_t at = _next; at < limit;) {
        const void* const zero = std::memchr(_at(at), 0, limit - at);
        if (zero == nullptr) return limit;
        at = static_cast<size_t>(static_cast<const unsigned char*>(zero) - _buf.get());
        const size_t end = end_of_zeros(_buf.get(), at, _len);
        const size_t within = std::min(end, limit); // the rest of a row is seen again
        if (within - at >= LONG_RUN) _zeros += static_cast<int64_t>(within - at);
        for (const size_t zeros : {size_t{3}, size_t{2}}) {
            if (end - at < zeros) continue;
            const size_t start = end - zeros;
            if (start >= limit) return limit;
            if (_is_start(start)) return start;
        }
        at = end;
    }
    return limit;
}

bool RecordScan::_is_start(size_t at) {
    if (_len - at < EMPTY_RECORD || _at(at)[4] != LDF_RECORD_VERSION) return false; // most places end here
    for (size_t in_chain = 0; in_chain <= LONGEST_CHAIN; ++in_chain) {
        if (in_chain > 0 && _is_end && at == _len) return true;
        if (check_record(_at(at), _len - at, _view) != RecordFault::NONE) return false;
        if (_view.header.data_size > 1) return true;
        at += EMPTY_RECORD;
    }
    return false;
}

ScanPiece::Kind RecordScan::_kind_of_gap(int64_t size) const {
    if (_zeros > size / 2) return ScanPiece::ZEROS;
    const bool is_part = _begins_like_record || _ends_like_record;
    return is_part && size < static_cast<int64_t>(2 * LDF_RECORD_MAX) ? ScanPiece::CUT_RECORD
                                                                      : ScanPiece::RANDOM;
}

int64_t begin_of_records(LdfBytes& bytes) {
    RecordScan scan(bytes, LDF_HEADER_SIZE, /*is_in_step=*/true);
    ScanPiece piece;
    return scan.next(piece) && piece.kind == ScanPiece::RECORDS ? int64_t{LDF_HEADER_SIZE} : 0;
}
