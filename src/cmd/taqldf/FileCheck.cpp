// Walks over a file as its header describes it, and judges each record. verify tells what was found.
#include "FileCheck.h"

#include <cstring>
#include <limits>

#include "RecordScan.h"
#include "VisibleText.h"

namespace {

// Keeps the header as it was read last, and the size that the file had then.
class WithHeader : public LdfBytes {
public:
    explicit WithHeader(LdfBytes& bytes) : _bytes(bytes) {}
    int64_t read(void* buffer, size_t n, int64_t offset) override {
        const int64_t got = _bytes.read(buffer, n, offset);
        if (offset < static_cast<int64_t>(LDF_HEADER_SIZE) && got > 0)
            std::memcpy(raw + offset, buffer,
                        std::min(static_cast<size_t>(got), LDF_HEADER_SIZE - static_cast<size_t>(offset)));
        return got;
    }
    int64_t size() override { return file_size = _bytes.size(); }

    // Whether the file has the same header now.
    bool is_unchanged() {
        unsigned char other[LDF_HEADER_SIZE];
        return _bytes.read(other, sizeof other, 0) == static_cast<int64_t>(sizeof other) &&
               std::memcmp(raw, other, sizeof other) == 0;
    }

    unsigned char raw[LDF_HEADER_SIZE] = {};
    int64_t file_size = 0;

private:
    LdfBytes& _bytes;
};

class Checker {
public:
    Checker(LdfBytes& bytes, int64_t now, MessageUse* use) : _bytes(bytes), _now(now), _use(use) {}

    FileVerdict check();

private:
    void _check_records();
    bool _check_run(const LdfRun& run);
    void _note(const unsigned char* record);
    void _check_end();
    void _end_of_stream();
    void _fail(FileVerdict::Kind kind, int64_t offset, std::string reason, int64_t record = -1) {
        _verdict.kind = kind;
        _verdict.damage_offset = offset;
        _verdict.damage_record = record;
        _verdict.reason = std::move(reason);
    }
    void _count_recoverable();

    WithHeader _bytes;
    const int64_t _now;
    MessageUse* const _use;
    LdfStream _stream;
    FileVerdict _verdict;
    RecordCounts _counts;
    LdfRecordView _view;
    int64_t _end = static_cast<int64_t>(LDF_HEADER_SIZE); // of the last sound record
    int32_t _last_time = std::numeric_limits<int32_t>::min();
    int64_t _last_seq = -1;
};

FileVerdict Checker::check() {
    const int rc = _stream.open(_bytes);
    const LdfDamage damage = _stream.damage();
    _verdict.size = _bytes.file_size;
    _verdict.header = _stream.header();
    _verdict.has_header = rc == LDF_OK;
    if (damage.kind == LdfDamage::READ_FAILED) {
        _fail(FileVerdict::UNREADABLE, 0, std::strerror(static_cast<int>(damage.value)));
        return _verdict;
    }
    if (rc == LDF_EVERSION) {
        _fail(FileVerdict::UNREADABLE, 0, damage.text());
        return _verdict;
    }
    _verdict.kind = FileVerdict::WHOLE;
    if (damage.kind == LdfDamage::HEADER_CUT) {
        _verdict.size = damage.value;
        _fail(FileVerdict::DAMAGED, 0, damage.text());
    } else if (const auto faults = check_header(_bytes.raw, _verdict.size); !faults.empty()) {
        _fail(FileVerdict::DAMAGED, static_cast<int64_t>(faults.front().offset), faults.front().text);
    } else if (_verdict.size > LARGEST_FILE) {
        _fail(FileVerdict::DAMAGED, LARGEST_FILE, "the file is larger than readers take");
    } else {
        _check_records();
        _check_end();
    }
    if (_verdict.kind == FileVerdict::DAMAGED) _count_recoverable();
    if (_verdict.has_header && !_bytes.is_unchanged()) _verdict.set_live();
    return _verdict;
}

// A clock that was set back leaves a header with such times on a whole file.
void Checker::_check_records() {
    const ldf_header_t& header = _verdict.header;
    _verdict.notes.header_times =
        header.datetime_create > header.datetime_modify || header.datetime_modify > _now + DAY;
    LdfRun run;
    while (_verdict.kind == FileVerdict::WHOLE && _stream.next(run))
        if (!_check_run(run)) return;
    if (_stream.damage()) _end_of_stream();
}

bool Checker::_check_run(const LdfRun& run) {
    size_t at = 0;
    for (int32_t i = 0; i < run.count; ++i) {
        const unsigned char* const record = run.bytes + at;
        const RecordFault fault = check_record(record, run.size - at, _view);
        if (fault != RecordFault::NONE) {
            _fail(FileVerdict::DAMAGED, run.offset + static_cast<int64_t>(at), fault_text(fault, record),
                  run.first + i);
            return false;
        }
        _counts.add(_view.header);
        _note(record);
        at += LDF_RECORD_HEADER_SIZE + _view.header.data_size;
        ++_verdict.records;
        _end = run.offset + static_cast<int64_t>(at);
    }
    return true;
}

void Checker::_note(const unsigned char* record) {
    const ldf_msg_header_t& header = _view.header;
    const auto* const text = reinterpret_cast<const char*>(record) + LDF_RECORD_HEADER_SIZE;
    if ((oddities_of_record(text, header.data_size) & ODD_BYTES) != 0) {
        bool is_utf8 = true;
        for (size_t i = 0; i < _view.piece_count; ++i)
            for (std::string_view rest = _view.pieces[i]; !rest.empty();)
                is_utf8 &= next_character(rest) != INVALID_UTF8;
        _verdict.notes.not_utf8 += !is_utf8;
    }
    _verdict.notes.outside_times += header.timestamp < _verdict.header.datetime_create - DAY ||
                                    header.timestamp > _verdict.header.datetime_modify + DAY;
    _verdict.notes.steps_back += header.timestamp < _last_time;
    _last_time = header.timestamp;
    if (header.seq != LDF_NO_SEQ) {
        _verdict.notes.seq_not_rising += header.seq <= _last_seq;
        _last_seq = header.seq;
    }
    if (_use != nullptr) _use->add(_view);
}

// The stream found no further record where the header promises one.
void Checker::_end_of_stream() {
    const LdfDamage& damage = _stream.damage();
    if (damage.kind == LdfDamage::READ_FAILED)
        return _fail(FileVerdict::UNREADABLE, 0, std::strerror(static_cast<int>(damage.value)));
    std::string reason = damage.text();
    if (const size_t colon = reason.find(": "); colon != reason.npos)
        reason.erase(0, colon + 2); // the place is told apart
    _fail(FileVerdict::DAMAGED, damage.offset, std::move(reason), damage.record);
}

// All records are sound: whether the header says the same.
void Checker::_check_end() {
    if (_verdict.kind != FileVerdict::WHOLE) return;
    const auto end = static_cast<int64_t>(_verdict.header.offset_end);
    if (HeaderFault fault; _counts.find_difference(_verdict.header, fault))
        return _fail(FileVerdict::DAMAGED, static_cast<int64_t>(fault.offset), fault.text);
    if (_end != end) {
        char text[80];
        (void)std::snprintf(text, sizeof text, "the records end here, for the header at 0x%llx",
                            static_cast<unsigned long long>(end));
        return _fail(FileVerdict::DAMAGED, _end, text, _verdict.records);
    }
    _verdict.tail_size = _verdict.size - end;
    if (_verdict.tail_size > 0) _verdict.tail_records = count_records(_bytes, end, /*is_in_step=*/true);
}

void Checker::_count_recoverable() {
    if (_verdict.size > LARGEST_OFFSET) return; // it never was a log data file
    const int64_t begin = _verdict.damage_record > 0 ? _verdict.damage_offset
                          : _verdict.has_header      ? begin_of_records(_bytes)
                                                     : 0;
    const bool is_in_step = _verdict.damage_record <= 0 && begin > 0;
    _verdict.recoverable = count_records(_bytes, begin, is_in_step);
}

} // namespace

// A header that was read while it was written may mix two, and then looks like damage. Damage counts when the
// header stays as it is, or when it is found again and again.
FileVerdict check_file(LdfBytes& bytes, int64_t now, MessageUse* use) {
    constexpr int ATTEMPTS = 5;
    FileVerdict verdict;
    for (int i = 0; i < ATTEMPTS; ++i) {
        verdict = Checker(bytes, now, use).check();
        if (verdict.kind != FileVerdict::DAMAGED || !verdict.is_live) break;
    }
    return verdict;
}

int64_t count_records(LdfBytes& bytes, int64_t from, bool is_in_step) {
    RecordScan scan(bytes, from, is_in_step);
    int64_t count = 0;
    for (ScanPiece piece; scan.next(piece);) count += piece.count;
    return count;
}
