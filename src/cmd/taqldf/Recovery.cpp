// Copies what the scan finds, and rebuilds the header from it.
#include "Recovery.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr size_t MOST_SUSPECTS = 8192;

} // namespace

Recovery::Recovery(LdfBytes& input, const RecoverySettings& settings, RecoveredFile& output,
                   std::function<void(const RecoveredRange&)> on_range)
    : _input(input), _settings(settings), _output(output), _on_range(std::move(on_range)),
      _repeats(input, std::max<int64_t>(input.size(), 0)), _sources(size_t{1} << 16) {
    _result.size = input.size();
    _sums.output_size = output.size();
}

RecoveryResult Recovery::run() {
    _result.error = _result.size < 0 ? ESPIPE : _result.size > LARGEST_OFFSET ? EFBIG : 0;
    _result.has_read_failed = _result.error != 0;
    if (_result.error == 0) _read_header();
    if (_result.error != 0) return std::move(_result);
    int64_t end = _has_layout ? begin_of_records(_input) : 0;
    if (end > 0) _on_range({RecoveredRange::HEADER, 0, end, 0, ScanPiece::RECORDS});
    RecordScan scan(_input, end, /*is_in_step=*/end > 0);
    for (ScanPiece piece; _result.error == 0 && scan.next(piece); end = piece.to) {
        if (piece.kind != ScanPiece::RECORDS)
            _skip(piece);
        else if (!_copy(piece))
            _result.error = errno;
    }
    _result.has_read_failed = scan.error() != 0;
    if (_result.error == 0) _result.error = scan.error();
    if (_result.error != 0) return std::move(_result);
    _end_records(end, /*is_before_gap=*/false);
    _judge_suspects();
    _result.records = _sums.counts.total();
    _result.is_complete = _result.promised >= 0 && !_is_left_out && _result.records >= _result.promised;
    if (_result.records > 0 && !_output.finish(_new_header())) _result.error = errno;
    return std::move(_result);
}

void Recovery::_read_header() {
    unsigned char raw[LDF_HEADER_SIZE] = {};
    size_t got = 0;
    for (int64_t more = 1; got < sizeof raw && more > 0;
         got += static_cast<size_t>(std::max<int64_t>(more, 0))) {
        more = _input.read(raw + got, sizeof raw - got, static_cast<int64_t>(got));
        if (more >= 0) continue;
        _result.error = errno;
        _result.has_read_failed = true;
        return;
    }
    const std::vector<HeaderFault> faults = check_header(raw, _result.size);
    if (!faults.empty()) _result.header_fault = faults.front().text;
    _has_layout = got == sizeof raw && ldf_decode_header(raw, INT64_MAX, _header) == LDF_OK;
    if (got < sizeof raw) _result.header_fault = std::to_string(got) + " bytes are too short for a header";
    _is_origin_sound = _has_layout && is_origin_sound(faults);
    if (_has_layout && is_host_sound(faults)) _host = _header.system;
    if (!_is_origin_sound || _header.total_msgs < 0) return;
    _result.promised = _header.total_msgs;
    _promised_end = _header.offset_end;
}

bool Recovery::_copy(const ScanPiece& piece) {
    if (!_is_in_range) {
        _is_in_range = true;
        _range_from = piece.from;
        _before_range = _sums;
        _before_range.output_size = _output.size();
        _before_range.suspects = _result.suspects.size();
        _repeats.begin(piece.from);
    }
    size_t at = 0;
    for (int32_t i = 0; i < piece.count; ++i) {
        const unsigned char* const record = piece.bytes + at;
        const size_t size = ldf_record_size(record);
        const int64_t offset = piece.from + static_cast<int64_t>(at);
        ldf_view_record(record, _view);
        _sums.counts.add(_view.header);
        _sums.first_time = std::min(_sums.first_time, _view.header.timestamp);
        _sums.last_time = std::max(_sums.last_time, _view.header.timestamp);
        _sums.has_seq |= _view.header.seq != LDF_NO_SEQ;
        _repeats.add(record, size, offset);
        if (!_output.append(record, size)) return false;
        const SuspectRecord edge = _edge_of(offset);
        uint8_t& records = _sources[edge.source];
        if (records < UINT8_MAX) ++records;
        if (_is_behind_gap && i == 0 && offset == _range_from) _suspect_edge(edge);
        _last = edge;
        at += size;
    }
    return true;
}

SuspectRecord Recovery::_edge_of(int64_t offset) const {
    const ldf_msg_header_t& header = _view.header;
    const size_t hash =
        std::hash<std::string_view>()(_view.filename()) + header.line_no * size_t{0x9E3779B97F4A7C15};
    const bool is_time_right = _is_origin_sound && header.timestamp >= _header.datetime_create - DAY &&
                               header.timestamp <= _header.datetime_modify + DAY;
    return {offset, header.msgcat_id, static_cast<uint16_t>(hash >> 48 ^ hash >> 20),
            static_cast<uint8_t>(_is_origin_sound && !is_time_right ? SuspectRecord::TIME : 0)};
}

void Recovery::_suspect_edge(const SuspectRecord& edge) {
    auto& suspects = _result.suspects;
    if (suspects.size() >= MOST_SUSPECTS || (!suspects.empty() && suspects.back().offset == edge.offset))
        return;
    suspects.push_back(edge);
}

void Recovery::_skip(ScanPiece piece) {
    if (_has_layout && piece.from == 0) {
        piece.from = std::min(piece.to, int64_t{LDF_HEADER_SIZE});
        _on_range({RecoveredRange::HEADER, 0, piece.from, 0, ScanPiece::RECORDS});
        if (piece.from == piece.to) return;
    }
    _end_records(piece.from, /*is_before_gap=*/true);
    _result.bytes_skipped += piece.to - piece.from;
    _leave_out(piece.from);
    _is_behind_gap = true;
    _on_range({RecoveredRange::SKIPPED, piece.from, piece.to, 0, piece.kind});
}

// A page that was never written holds what stood in its place, or what was meant for another: records that
// are in the file already, with half a record before and behind them.
void Recovery::_end_records(int64_t to, bool is_before_gap) {
    if (!_is_in_range) return;
    _is_in_range = false;
    const int64_t count = _sums.counts.total() - _before_range.counts.total();
    const bool is_repeat =
        is_before_gap && _is_behind_gap && !_settings.keep_repeats && _repeats.is_repeat(to);
    if (is_repeat) {
        _output.go_back(_before_range.output_size);
        _result.suspects.resize(_before_range.suspects);
        _result.repeats += count;
        _sums = _before_range;
        _leave_out(_range_from);
    } else if (is_before_gap) {
        _suspect_edge(_last);
    }
    _on_range({is_repeat ? RecoveredRange::REPEAT : RecoveredRange::RECORDS, _range_from, to, count,
               ScanPiece::RECORDS});
}

// Now that all records are known.
void Recovery::_judge_suspects() {
    for (SuspectRecord& suspect : _result.suspects)
        if (_sources[suspect.source] == 1) suspect.why |= SuspectRecord::SOURCE;
}

// What the old header says of the file's origin, if it can be believed, and what was counted.
ldf_header_t Recovery::_new_header() const {
    ldf_header_t header = _header;
    if (!_is_origin_sound) {
        const auto now = static_cast<int32_t>(std::min<int64_t>(_settings.now, INT32_MAX));
        header = {};
        header.platform = LDF_PLATFORM_LINUX;
        header.datetime_create = std::clamp(_sums.first_time, 0, now);
        header.datetime_modify = std::clamp(_sums.last_time, header.datetime_create, now);
        const std::string& told = _settings.host;
        const std::string host = !_host.empty() ? _host : !told.empty() ? told : "unknown";
        host.copy(header.system, LDF_SYSTEM_SIZE - 1);
    }
    header.signature = LDF_SIGNATURE;
    header.ver_major = LDF_VER_MAJOR;
    header.ver_minor = LDF_VER_MINOR;
    if (!_is_origin_sound || (header.flags & ~LDF_HEADER_FLAG_SEQ) != 0)
        header.flags = _sums.has_seq ? LDF_HEADER_FLAG_SEQ : 0;
    _sums.counts.put_into(header);
    header.offset_end = static_cast<uint32_t>(_output.size());
    return header;
}
